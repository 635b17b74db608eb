#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "document/kcd_document.h"

namespace importkcd {

/// What a cube definition document consists of: one description, which the check of documents
/// reads, the schema for editors is made of, and the tables of docs/kcd-format.md are compared
/// with.

/// The kinds of elements. A collection's kind is named after its tag.
enum class ElementKind : std::uint8_t {
  database,
  library,
  data_sources,
  data_source,
  shared_dimensions,
  shared_dimension,
  levels,
  level,
  member_properties,
  member_property,
  virtual_dimensions,
  virtual_dimension,
  virtual_levels,
  virtual_level,
  roles,
  role,
  cubes,
  cube,
  cube_dimensions,
  cube_dimension,
  cube_levels,
  cube_level,
  cube_dimension_reference,
  cube_levels_reference,
  cube_level_reference,
  cube_measures,
  cube_measure,
  cube_calculated_members,
  cube_calculated_member,
  cube_roles,
  cube_role,
  cube_partitions,
  cube_partition,
  partition_dimensions,
  partition_dimension,
  partition_levels,
  partition_level,
  virtual_cubes,
  virtual_cube,
  measure_references,
  measure_reference,
  dimension_references,
  dimension_reference,
};

/// How an attribute's text is understood.
enum class ValueKind : std::uint8_t {
  raw,
  decoded,
  statement,
  version,
  permissions,
  int16,
  int32,
  decimal,
  boolean,
  dimension_type,
  level_type,
  level_ordering,
  aggregate_function,
  olap_mode,
};

/// The words that a value may be; empty for kinds that are no choice of words.
const std::vector<std::string_view>& words_of(ValueKind kind);

/// Whether letter case counts in the words of a kind.
bool words_are_exact(ValueKind kind);

/// When an attribute has to be there.
enum class Presence : std::uint8_t {
  required,
  optional,
  /// Of a level, unless its type is `all`; else it is not read.
  unless_all_level,
  /// Of a level of type `regular`; else it is not read.
  of_regular_level,
  /// Of an element whose name is not "(All)"; else it is not read.
  unless_named_all,
  /// Of a level whose `member_key_column` is not "All"; else it is not read.
  unless_keyed_all,
  optional_unless_keyed_all,
};

struct AttributeFormat {
  std::string_view name;
  ValueKind value = ValueKind::raw;
  Presence presence = Presence::required;
};

struct ChildFormat {
  ElementKind kind = ElementKind::database;
  bool is_required = false;
};

struct ElementFormat {
  ElementKind kind = ElementKind::database;
  /// The tag that it has by convention.
  std::string_view tag;
  /// What a path of names calls it, with its name behind; empty for what a path leaves out.
  std::string_view noun;
  std::vector<AttributeFormat> attributes = {};
  /// Children that are told by their tags; of each the first one is read, unless `repeats`.
  std::vector<ChildFormat> children = {};
  /// What every child counts as, whatever its tag. There are no `children` then.
  std::optional<ElementKind> every_child = std::nullopt;
  /// Whether any number of `children` is read, and the letter case of their tags does not matter.
  bool repeats = false;
};

const ElementFormat& format_of(ElementKind kind);

/// The formats of all kinds, in their order.
std::span<const ElementFormat> all_formats();

/// As what a child of an element of format `parent` is read, by its tag; null when it is not read.
const ElementFormat* format_of_child(const ElementFormat& parent, const KcdElement& child);

/// The child that is read under that kind; null when there is none.
const KcdElement* child_of_kind(const KcdElement& element, ElementKind kind);

/// An element's path in the document's own terms, such as "cube 'Orders' > measure 'Revenue'";
/// empty for the root and for an element that is not part of `document`. Names are decoded; an
/// element without one has its number instead.
std::string path_of(const KcdDocument& document, const KcdElement& element);

/// One part of such a path; `number` counts the element's siblings, itself included.
std::string path_part(const ElementFormat& format, const KcdElement& element, std::size_t number);

/// The schema of documents, in XML Schema 1.0. It accepts those in which a check finds nothing, if
/// they have the tags that are usual; what a schema cannot say (names that have to be different,
/// references, attributes that only some levels need) is left to the check.
std::string kcd_schema();

}  // namespace importkcd
