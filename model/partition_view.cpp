#include "model/partition_view.h"

namespace importkcd {
namespace {

PartitionLevelView level_view(const OlapLevel& level, const OlapPartitionLevel* slice) {
  PartitionLevelView view{level.name, level.disabled, level.member_key_column, {}};
  if (slice != nullptr) {
    view.member_key_column = slice->member_key_column;
    view.slice_value = slice->slice_value;
  }
  return view;
}

PartitionDimensionView dimension_view(const OlapCubeDimension& dimension,
                                      const OlapPartitionDimension* slices) {
  PartitionDimensionView view{dimension.name, {}};
  view.levels.reserve(dimension.levels.size());
  for (const auto& level : dimension.levels) {
    view.levels.push_back(
        level_view(level, slices == nullptr ? nullptr : slices->levels.find(level.name)));
  }
  return view;
}

}  // namespace

std::vector<PartitionDimensionView> partition_dimensions(const OlapCube& cube,
                                                         const OlapPartition& partition) {
  std::vector<PartitionDimensionView> views;
  views.reserve(cube.dimensions.size());
  for (const auto& dimension : cube.dimensions) {
    views.push_back(dimension_view(dimension, partition.slices.find(dimension.name)));
  }
  return views;
}

}  // namespace importkcd
