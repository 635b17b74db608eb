#pragma once

#include <string>
#include <vector>

#include "model/definitions.h"

namespace importkcd {

/// A level of a cube as one of its partitions has it.
struct PartitionLevelView {
  std::string name;
  /// Whether the cube does not use the level; such a level is never sliced by a document.
  bool disabled = false;
  /// The cube's key column, unless the partition has one of its own.
  std::string member_key_column;
  /// The member that the partition is limited to at this level; empty when it is not sliced.
  std::string slice_value;

  bool operator==(const PartitionLevelView&) const = default;
};

/// A dimension of a cube as one of its partitions has it.
struct PartitionDimensionView {
  std::string name;
  std::vector<PartitionLevelView> levels;

  bool operator==(const PartitionDimensionView&) const = default;
};

/// The dimensions of a cube's partition: those of the cube, with all their levels, in the cube's
/// order. What the partition recorded about a dimension or level that the cube does not have (any
/// more) is left out.
std::vector<PartitionDimensionView> partition_dimensions(const OlapCube& cube,
                                                         const OlapPartition& partition);

}  // namespace importkcd
