#pragma once

#include <cstdint>
#include <string>

#include "model/codes.h"
#include "model/named_collection.h"

namespace importkcd {

/// The definitions that an OLAP database consists of: plain values, all text UTF-8. The values
/// given here are those of a newly added object.

/// A named text: a custom property of a dimension or cube, or a permission of a role.
struct OlapProperty {
  std::string name;
  std::string value;
};

struct OlapDataSource {
  std::string name;
  std::string connection_string;
  std::string description;
};

struct OlapMemberProperty {
  std::string name;
  std::string description;
  std::string caption;
  std::string source_column;
};

struct OlapLevel {
  std::string name;
  OlapLevelType type = OlapLevelType::regular;
  /// Size of the key column, in the units of its data type.
  std::int16_t column_size = 0;
  /// Data type code of the key column.
  std::int16_t column_type = 0;
  std::string description;
  /// Estimated number of members.
  std::int32_t estimated_size = 0;
  std::string member_key_column;
  std::string member_name_column;
  OlapOrdering ordering = OlapOrdering::name;
  bool unique_items = false;
  /// A disabled level is not used in the cube that the level belongs to.
  bool disabled = false;
  NamedCollection<OlapMemberProperty> member_properties;
};

/// A dimension of a database.
struct OlapDimension {
  std::string name;
  OlapDimensionKind kind = OlapDimensionKind::shared;
  /// The cube that a private dimension belongs to; empty for the other kinds.
  std::string owner_cube;
  std::string description;
  OlapDimensionType type = OlapDimensionType::regular;
  /// Name of a data source of the same database; empty when none was set.
  std::string data_source;
  std::string from_clause;
  std::string join_clause;
  NamedCollection<OlapProperty> custom_properties;
  /// The flag that only servers of version "8.0" have.
  bool allow_siblings_with_same_name = false;
  NamedCollection<OlapLevel> levels;
};

/// The place of a database dimension in a cube, with the cube's own copy of the levels.
struct OlapCubeDimension {
  std::string name;
  NamedCollection<OlapLevel> levels;
};

struct OlapMeasure {
  std::string name;
  std::string description;
  std::string format;
  std::string source_column;
  /// An internal measure is not shown to users.
  bool internal = false;
  OlapAggregateFunction aggregate_function = OlapAggregateFunction::sum;
};

struct OlapCalculatedMember {
  std::string name;
  std::string statement;
};

/// A role of a database (description and user list) or of a cube (permissions).
struct OlapRole {
  std::string name;
  std::string description;
  std::string user_list;
  NamedCollection<OlapProperty> permissions;
};

/// What a partition says about one level of its cube.
struct OlapPartitionLevel {
  std::string name;
  std::string member_key_column;
  std::string slice_value;
};

/// The levels of one dimension of the cube that a partition says something about.
struct OlapPartitionDimension {
  std::string name;
  NamedCollection<OlapPartitionLevel> levels;
};

struct OlapPartition {
  std::string name;
  std::string fact_table;
  std::string aggregation_prefix;
  std::string from_clause;
  std::string join_clause;
  /// Name of a data source of the same database.
  std::string data_source;
  OlapMode olap_mode = OlapMode::molap;
  bool read_write = false;
  /// Such a partition takes over the cube's own source settings at every write back of the cube.
  bool follows_cube = false;
  /// The dimensions and levels of a partition are those of its cube (partition_dimensions); only
  /// the sliced ones are recorded here. A slice of a level that the cube does not have has no
  /// effect.
  NamedCollection<OlapPartitionDimension> slices;
};

struct OlapCube {
  std::string name;
  OlapCubeKind kind = OlapCubeKind::regular;
  std::string description;
  /// Name of a data source of the same database; empty when none was set.
  std::string data_source;
  std::string fact_table;
  std::string aggregation_prefix;
  std::string from_clause;
  std::string join_clause;
  OlapMode olap_mode = OlapMode::molap;
  /// Estimated number of rows of the fact table.
  double estimated_rows = 0;
  NamedCollection<OlapProperty> custom_properties;
  NamedCollection<OlapCubeDimension> dimensions;
  NamedCollection<OlapMeasure> measures;
  NamedCollection<OlapCalculatedMember> calculated_members;
  NamedCollection<OlapRole> roles;
  /// The first one of a regular cube is made with the cube and has its name.
  NamedCollection<OlapPartition> partitions;

  std::int32_t state_code() const { return static_cast<std::int32_t>(kind); }
};

}  // namespace importkcd
