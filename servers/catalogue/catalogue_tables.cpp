#include "servers/catalogue/catalogue_tables.h"

#include <unordered_set>

#include "base/name_folding.h"

namespace importkcd {

std::vector<std::string> CatalogueTables::dimensions_in_use(std::int64_t database_id,
                                                            OlapCubeKind kind) {
  SQLite::Statement query(database_,
                          "SELECT DISTINCT cube_dimensions.name"
                          " FROM cubes JOIN cube_dimensions ON cube_dimensions.cube_id = cubes.id"
                          " WHERE cubes.database_id = ? AND cubes.kind = ?");
  ValueBinder(query).bind(database_id).bind(kind);
  auto result = read_texts(query);
  std::unordered_set<std::string> seen;
  std::erase_if(result, [&](const auto& name) { return !seen.insert(lower_cased(name)).second; });
  return result;
}

void CatalogueTables::apply(const DatabaseChanges& changes) {
  const auto folded_name = lower_cased(changes.name);
  if (changes.removes_stored) {
    databases_.keep(folded_name);
  }
  if (!changes.exists_afterwards) {
    return;
  }
  const auto stored = databases_.find(folded_name);
  if (stored && changes.keeps_former) {
    keep_copy(*stored);
  }
  const auto id = stored ? *stored : databases_.add(changes.name, folded_name);
  if (changes.description) {
    databases_.describe(id, *changes.description);
  }
  std::apply([&](auto&... objects_of_kind) { (objects_of_kind.begin(id, !stored), ...); },
             objects_);
  objects<OlapDataSource>().remove(changes.removed_data_sources, changes.data_sources);
  objects<OlapDimension>().remove(changes.removed_dimensions, changes.dimensions);
  objects<OlapRole>().remove(changes.removed_roles, changes.roles);
  objects<OlapCube>().remove(changes.removed_cubes, changes.cubes);
  write_all(changes.data_sources);
  write_all(changes.dimensions);
  write_all(changes.roles);
  write_all(changes.cubes);
}

/// A row is copied after the row that it belongs to.
void CatalogueTables::keep_copy(std::int64_t id) {
  const auto copy = databases_.add_kept_copy(id);
  std::apply([&](auto&... objects_of_kind) { (objects_of_kind.copy(id, copy), ...); }, objects_);
  const auto copy_parts = [&](std::string_view object_table, auto&... parts) {
    (parts.copy(object_table, id, copy), ...);
  };
  copy_parts(object_table<OlapDimension>, dimension_properties_, levels_, member_properties_);
  copy_parts(object_table<OlapRole>, role_permissions_);
  copy_parts(object_table<OlapCube>, cube_properties_, cube_dimensions_, cube_levels_,
             cube_member_properties_, measures_, calculated_members_, cube_roles_,
             cube_role_permissions_, partitions_, partition_dimensions_, partition_levels_);
}

template <class Object>
void CatalogueTables::write_all(const NamedCollection<Object>& objects_to_write) {
  for (const auto& object : objects_to_write) {
    write_parts(objects<Object>().put(object), object);
  }
}

// A row is read and written after the row that it belongs to.

void CatalogueTables::read_parts(std::int64_t id, OlapRole& role) {
  role_permissions_.read_into(id, role.permissions);
}

void CatalogueTables::write_parts(const WrittenObject& row, const OlapRole& role) {
  role_permissions_.write(row, role, &OlapRole::permissions);
}

void CatalogueTables::read_parts(std::int64_t id, OlapDimension& dimension) {
  dimension_properties_.read_into(id, dimension.custom_properties);
  levels_.read_into(id, dimension.levels);
  member_properties_.read(
      id, [&](Positions at) -> auto& {
        return part_at(dimension.levels, at[0]).member_properties;
      });
}

void CatalogueTables::write_parts(const WrittenObject& row, const OlapDimension& dimension) {
  dimension_properties_.write(row, dimension, &OlapDimension::custom_properties);
  levels_.write(row, dimension, &OlapDimension::levels);
  member_properties_.write(row, dimension, &OlapDimension::levels, &OlapLevel::member_properties);
}

void CatalogueTables::read_parts(std::int64_t id, OlapCube& cube) {
  cube_properties_.read_into(id, cube.custom_properties);
  read_cube_dimensions(id, cube.dimensions);
  measures_.read_into(id, cube.measures);
  calculated_members_.read_into(id, cube.calculated_members);
  cube_roles_.read_into(id, cube.roles);
  cube_role_permissions_.read(
      id, [&](Positions at) -> auto& { return part_at(cube.roles, at[0]).permissions; });
  read_partitions(id, cube.partitions);
}

void CatalogueTables::read_cube_dimensions(std::int64_t id,
                                           NamedCollection<OlapCubeDimension>& dimensions) {
  cube_dimensions_.read_into(id, dimensions);
  cube_levels_.read(
      id, [&](Positions at) -> auto& { return part_at(dimensions, at[0]).levels; });
  cube_member_properties_.read(
      id, [&](Positions at) -> auto& {
        return part_at(part_at(dimensions, at[0]).levels, at[1]).member_properties;
      });
}

void CatalogueTables::read_partitions(std::int64_t id, NamedCollection<OlapPartition>& partitions) {
  partitions_.read_into(id, partitions);
  partition_dimensions_.read(
      id, [&](Positions at) -> auto& { return part_at(partitions, at[0]).slices; });
  partition_levels_.read(
      id, [&](Positions at) -> auto& {
        return part_at(part_at(partitions, at[0]).slices, at[1]).levels;
      });
}

void CatalogueTables::write_parts(const WrittenObject& row, const OlapCube& cube) {
  cube_properties_.write(row, cube, &OlapCube::custom_properties);
  cube_dimensions_.write(row, cube, &OlapCube::dimensions);
  cube_levels_.write(row, cube, &OlapCube::dimensions, &OlapCubeDimension::levels);
  cube_member_properties_.write(row, cube, &OlapCube::dimensions, &OlapCubeDimension::levels,
                                &OlapLevel::member_properties);
  measures_.write(row, cube, &OlapCube::measures);
  calculated_members_.write(row, cube, &OlapCube::calculated_members);
  cube_roles_.write(row, cube, &OlapCube::roles);
  cube_role_permissions_.write(row, cube, &OlapCube::roles, &OlapRole::permissions);
  partitions_.write(row, cube, &OlapCube::partitions);
  partition_dimensions_.write(row, cube, &OlapCube::partitions, &OlapPartition::slices);
  partition_levels_.write(row, cube, &OlapCube::partitions, &OlapPartition::slices,
                          &OlapPartitionDimension::levels);
}

}  // namespace importkcd
