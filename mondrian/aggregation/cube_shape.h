#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/published_partitions.h"

namespace importkcd {

// What a published cube says about its tables, for those who aggregate them.

/// A table of the warehouse, or an SQL view that the schema holds.
struct ShapeRelation {
  /// How the schema's columns call it.
  std::string alias;
  /// Empty for the login's own.
  std::string schema;
  /// Empty for a view.
  std::string table;
  /// The view's text.
  std::string sql;
};

/// A table of a dimension that is reached from one before it.
struct ShapeJoin {
  std::string left_alias;
  std::string left_column;
  std::string right_alias;
  std::string right_column;
};

struct ShapeLevel {
  std::string name;
  /// The relation of its columns; empty for the facts.
  std::string alias;
  std::string key;
  /// Empty when members are shown by their key.
  std::string label;
  /// Empty when they are sorted by their key.
  std::string ordinal;
  /// Names and columns.
  std::vector<std::pair<std::string, std::string>> properties;
  /// How many members there are expected to be; 0 when nothing is known.
  double size = 0;
};

struct ShapeDimension {
  std::string name;
  bool has_all = true;
  /// The name of the member of the "all" level, where the schema gives one.
  std::string all_member;
  /// The column of the facts that ties it; empty for one whose values are with the facts.
  std::string foreign_key;
  /// The column that it equals, of the first relation.
  std::string primary_key;
  std::vector<ShapeRelation> relations;
  std::vector<ShapeJoin> joins;
  /// From the top down. Those from the first one on whose values are no plain columns are missing:
  /// no aggregate can hold them.
  std::vector<ShapeLevel> levels;
};

struct ShapeMeasure {
  std::string name;
  std::string aggregator;
  /// A column of the facts, or else an SQL expression over them.
  std::string column;
  std::string expression;
};

struct CubeShape {
  std::string name;
  ShapeRelation facts;
  std::vector<ShapeDimension> dimensions;
  /// Those that can be added up from aggregates: sums, counts, smallest and largest values.
  std::vector<ShapeMeasure> measures;
  /// Where the facts are several partitions, and some have slices; otherwise none.
  std::vector<PublishedPartition> partitions;
};

/// The shape of a cube of a published schema. Nothing, with the reason in `reason`, when no
/// aggregate could answer anything about it: a dimension that each question is about has no level
/// that an aggregate can hold, or no measure can be added up.
std::optional<CubeShape> cube_shape(const XmlElement& schema, const XmlElement& cube,
                                    std::string& reason);

/// The regular cube of that name, letter case aside; null when the schema has none.
const XmlElement* cube_named(const XmlElement& schema, std::string_view name);

/// What holds a cube's facts: a Table or a View.
const XmlElement* facts_of(const XmlElement& cube);

/// The SQL text of a View or of another element around one.
std::string sql_of(const XmlElement& element);

}  // namespace importkcd
