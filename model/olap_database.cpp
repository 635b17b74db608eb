#include "model/olap_database.h"

#include <tuple>
#include <utility>

namespace importkcd {
namespace {

template <class T>
void remove_first_of(NamedCollection<T>& collection) {
  if (!collection.empty()) {
    collection.remove_first();
  }
}

/// Every regular cube has a partition of its own name, which follows the cube until it is written.
OlapPartition own_partition(const std::string& cube_name) {
  OlapPartition partition;
  partition.name = cube_name;
  partition.follows_cube = true;
  return partition;
}

/// What a partition that follows its cube takes over from it.
template <class CubeOrPartition>
auto own_settings(CubeOrPartition& object) {
  return std::tie(object.fact_table, object.aggregation_prefix, object.from_clause,
                  object.join_clause, object.data_source, object.olap_mode);
}

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

OlapDatabase::OlapDatabase(std::string name, std::string stored_description,
                           DatabaseSources sources)
    : description(std::move(stored_description)),
      name_(std::move(name)),
      data_sources_(std::move(sources.data_sources)),
      dimensions_(std::move(sources.dimensions)),
      roles_(std::move(sources.roles)),
      cubes_(std::move(sources.cubes)) {}

std::string OlapDatabase::data_source_name(std::string_view name) {
  const auto* data_source = data_sources_.find(name);
  if (data_source == nullptr) {
    throw ImportError("data source '" + std::string(name) + "' not found",
                      error_source::olap_server);
  }
  return data_source->name;
}

OlapCube& OlapDatabase::add_cube(const std::string& name, OlapCubeKind kind) {
  check_new_name(name, false);
  if (OlapCube* replaced = cubes_.contains(name) ? cubes_.edit(name) : nullptr) {
    while (!replaced->dimensions.empty()) {
      remove_first(*replaced, OlapCubeContent::dimensions);
    }
  }
  OlapCube cube;
  cube.name = name;
  cube.kind = kind;
  restore_own_partition(cube);
  return cubes_.put(std::move(cube));
}

std::vector<std::string> OlapDatabase::remove_cube(const std::string& name) {
  auto* cube = cubes_.edit(name);
  if (cube == nullptr) {
    return {};
  }
  while (!cube->dimensions.empty()) {
    remove_first(*cube, OlapCubeContent::dimensions);
  }
  auto released = take_released_dimensions(*cube);
  cubes_.remove(name);
  return released;
}

OlapCubeDimension& OlapDatabase::add_cube_dimension(OlapCube& cube, const std::string& name) {
  const auto* dimension = dimensions_.find(name);
  if (dimension == nullptr) {
    throw ImportError("dimension '" + name + "' not found", error_source::olap_server);
  }
  return cube.dimensions.add(OlapCubeDimension{dimension->name, dimension->levels});
}

void OlapDatabase::remove_first(OlapCube& cube, OlapCubeContent content) {
  switch (content) {
    case OlapCubeContent::dimensions:
      if (!cube.dimensions.empty()) {
        release_private_dimension(cube, cube.dimensions[0].name);
        cube.dimensions.remove_first();
      }
      break;
    case OlapCubeContent::measures:
      remove_first_of(cube.measures);
      break;
    case OlapCubeContent::calculated_members:
      remove_first_of(cube.calculated_members);
      break;
    case OlapCubeContent::roles:
      remove_first_of(cube.roles);
      break;
    case OlapCubeContent::data_sources:
      cube.data_source.clear();
      break;
    case OlapCubeContent::partitions:
      remove_first_of(cube.partitions);
      break;
  }
}

std::vector<std::string> OlapDatabase::take_released_dimensions(const OlapCube& cube) {
  const auto released = released_.extract(lower_cased(cube.name));
  return released.empty() ? std::vector<std::string>{} : std::move(released.mapped());
}

void OlapDatabase::release_private_dimension(const OlapCube& cube, const std::string& dimension) {
  const auto* found = dimensions_.find(dimension);
  if (found != nullptr && found->kind == OlapDimensionKind::is_private &&
      same_name(found->owner_cube, cube.name)) {
    released_[lower_cased(cube.name)].push_back(found->name);
    dimensions_.remove(dimension);
  }
}

void restore_own_partition(OlapCube& cube) {
  if (cube.kind == OlapCubeKind::regular && cube.partitions.empty()) {
    cube.partitions.add(own_partition(cube.name));
  }
}

void refresh_following_partitions(OlapCube& cube) {
  for (std::size_t i = 0; i < cube.partitions.size(); ++i) {
    const auto& partition = cube.partitions[i];
    if (partition.follows_cube && own_settings(partition) != own_settings(cube)) {
      own_settings(cube.partitions.edit_at(i)) = own_settings(cube);
    }
  }
}

std::size_t count_of(const OlapCube& cube, OlapCubeContent content) {
  switch (content) {
    case OlapCubeContent::dimensions:
      return cube.dimensions.size();
    case OlapCubeContent::measures:
      return cube.measures.size();
    case OlapCubeContent::calculated_members:
      return cube.calculated_members.size();
    case OlapCubeContent::roles:
      return cube.roles.size();
    case OlapCubeContent::data_sources:
      return cube.data_source.empty() ? 0 : 1;
    case OlapCubeContent::partitions:
      return cube.partitions.size();
  }
  return 0;
}

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
