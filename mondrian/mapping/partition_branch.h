#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/olap_database.h"
#include "mondrian/mapping/cube_source.h"
#include "mondrian/mapping/dimension_plan.h"
#include "mondrian/mapping/level_mapping.h"
#include "mondrian/published_partitions.h"

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

/// The rows of one partition as an SQL query: the columns, taken from the partition's own tables,
/// under its slices. Throws NotExpressible, with the partition named, when it cannot be expressed.
PublishedPartition partition_branch(const CubeSource& of_cube, const OlapCube& cube,
                                    const OlapPartition& partition,
                                    const std::vector<FactColumn>& columns,
                                    const std::vector<PublishedLevel>& levels);

}  // namespace importkcd
