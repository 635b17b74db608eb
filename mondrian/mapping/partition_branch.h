#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/olap_database.h"
#include "mondrian/mapping/cube_source.h"
#include "mondrian/mapping/dimension_plan.h"
#include "mondrian/mapping/level_mapping.h"

namespace importkcd {

/// Names a level of a cube; empty names mean none.
struct LevelName {
  std::string dimension;
  std::string level;
};

/// A column of the view that holds a cube's figures.
struct FactColumn {
  std::string name;
  /// As the cube defines it.
  SqlText expression;
  /// A column of a dimension's table that it equals. A partition's join clause may say of which
  /// column of its own fact table that is true.
  std::optional<SourceColumn> equal_to;
  /// The level whose key it is. A partition may have a key of its own for it.
  LevelName level;
};

/// Where the schema has the values of a level of a cube. The plans outlive it.
struct PublishedLevel {
  const DimensionPlan* dimension = nullptr;
  const LevelPlan* level = nullptr;
  /// The relation of its columns, as the engine's SQL calls it: that of the facts for a level whose
  /// values are with them.
  std::string relation;
  LevelValues values;
};

/// A column of the schema that has the same value for all facts of a partition.
struct PublishedSlice {
  /// As the engine's SQL calls it.
  std::string table;
  std::string column;
  std::string value;
  /// Whether the value is a number there, and otherwise a text.
  bool is_number = false;
};

/// The rows of one partition.
struct PublishedPartition {
  std::string name;
  std::string query;
  /// Those of the partition's slices that are surely true of a column of the schema. A slice by an
  /// expression, or over other tables than the engine joins, is none of them.
  std::vector<PublishedSlice> slices;
};

/// The rows of one partition as an SQL query: the columns, taken from the partition's own tables,
/// under its slices. Throws NotExpressible, with the partition named, when it cannot be expressed.
PublishedPartition partition_branch(const CubeSource& of_cube, const OlapCube& cube,
                                    const OlapPartition& partition,
                                    const std::vector<FactColumn>& columns,
                                    const std::vector<PublishedLevel>& levels);

/// The branches as a compact JSON text for those who read the schema: an array of objects with
/// "name", "query" and "slices", and in these "table", "column", "value" and "number". Empty when
/// there is nothing to tell: for a single partition, or when none has a slice.
std::string partitions_text(const std::vector<PublishedPartition>& branches);

}  // namespace importkcd
