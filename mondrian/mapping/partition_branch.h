#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/olap_database.h"
#include "mondrian/mapping/cube_source.h"

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

/// The rows of one partition as an SQL query: the columns, taken from the partition's own tables,
/// under its slices. Throws NotExpressible, with the partition named, when it cannot be expressed.
std::string partition_branch(const CubeSource& of_cube, const OlapCube& cube,
                             const OlapPartition& partition,
                             const std::vector<FactColumn>& columns);

}  // namespace importkcd
