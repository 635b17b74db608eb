#include "servers/catalogue/catalogue_reader.h"

#include <string>
#include <tuple>
#include <unordered_set>

#include "servers/catalogue/catalogue_schema.h"
#include "servers/catalogue/object_finder.h"
#include "servers/catalogue/part_reader.h"

namespace importkcd {

class CatalogueReader::Statements {
 public:
  explicit Statements(SQLite::Database& database) : database_(database) {}

  SQLite::Database& database() { return database_; }

  template <class Object>
  ObjectFinder<Object>& finder() {
    return std::get<ObjectFinder<Object>>(finders_);
  }

  void read_parts(std::int64_t, OlapDataSource&) {}

  void read_parts(std::int64_t id, OlapRole& role) {
    role_permissions_.read_into(id, role.permissions);
  }

  void read_parts(std::int64_t id, OlapDimension& dimension) {
    dimension_properties_.read_into(id, dimension.custom_properties);
    levels_.read_into(id, dimension.levels);
    member_properties_.read(
        id, [&](Positions at) -> auto& {
          return part_at(dimension.levels, at[0]).member_properties;
        });
  }

  void read_parts(std::int64_t id, OlapCube& cube) {
    cube_properties_.read_into(id, cube.custom_properties);
    read_cube_dimensions(id, cube.dimensions);
    measures_.read_into(id, cube.measures);
    calculated_members_.read_into(id, cube.calculated_members);
    cube_roles_.read_into(id, cube.roles);
    cube_role_permissions_.read(
        id, [&](Positions at) -> auto& { return part_at(cube.roles, at[0]).permissions; });
    read_partitions(id, cube.partitions);
  }

 private:
  void read_cube_dimensions(std::int64_t id, NamedCollection<OlapCubeDimension>& dimensions) {
    cube_dimensions_.read_into(id, dimensions);
    cube_levels_.read(
        id, [&](Positions at) -> auto& { return part_at(dimensions, at[0]).levels; });
    cube_member_properties_.read(
        id, [&](Positions at) -> auto& {
          return part_at(part_at(dimensions, at[0]).levels, at[1]).member_properties;
        });
  }

  void read_partitions(std::int64_t id, NamedCollection<OlapPartition>& partitions) {
    partitions_.read_into(id, partitions);
    partition_dimensions_.read(
        id, [&](Positions at) -> auto& { return part_at(partitions, at[0]).slices; });
    partition_levels_.read(
        id, [&](Positions at) -> auto& {
          return part_at(part_at(partitions, at[0]).slices, at[1]).levels;
        });
  }

  SQLite::Database& database_;
  std::tuple<ObjectFinder<OlapDataSource>, ObjectFinder<OlapDimension>, ObjectFinder<OlapRole>,
             ObjectFinder<OlapCube>>
      finders_{database_, database_, database_, database_};
  PartReader<OlapProperty> dimension_properties_{database_, part_tables::dimension_properties};
  PartReader<OlapLevel> levels_{database_, part_tables::levels};
  PartReader<OlapMemberProperty> member_properties_{database_, part_tables::member_properties};
  PartReader<OlapProperty> role_permissions_{database_, part_tables::role_permissions};
  PartReader<OlapProperty> cube_properties_{database_, part_tables::cube_properties};
  PartReader<OlapCubeDimension> cube_dimensions_{database_, part_tables::cube_dimensions};
  PartReader<OlapLevel> cube_levels_{database_, part_tables::cube_levels};
  PartReader<OlapMemberProperty> cube_member_properties_{database_,
                                                         part_tables::cube_member_properties};
  PartReader<OlapMeasure> measures_{database_, part_tables::measures};
  PartReader<OlapCalculatedMember> calculated_members_{database_, part_tables::calculated_members};
  PartReader<OlapRole> cube_roles_{database_, part_tables::cube_roles};
  PartReader<OlapProperty> cube_role_permissions_{database_, part_tables::cube_role_permissions};
  PartReader<OlapPartition> partitions_{database_, part_tables::partitions};
  PartReader<OlapPartitionDimension> partition_dimensions_{database_,
                                                           part_tables::partition_dimensions};
  PartReader<OlapPartitionLevel> partition_levels_{database_, part_tables::partition_levels};
};

CatalogueReader::CatalogueReader(SQLite::Database& database)
    : statements_(std::make_unique<Statements>(database)) {}

CatalogueReader::~CatalogueReader() = default;

std::vector<std::string> CatalogueReader::dimensions_in_use(std::int64_t database_id,
                                                            OlapCubeKind kind) {
  SQLite::Statement query(statements_->database(),
                          "SELECT DISTINCT cube_dimensions.name"
                          " FROM cubes JOIN cube_dimensions ON cube_dimensions.cube_id = cubes.id"
                          " WHERE cubes.database_id = ? AND cubes.kind = ?");
  ValueBinder(query).bind(database_id).bind(kind);
  auto result = read_texts(query);
  std::unordered_set<std::string> seen;
  std::erase_if(result, [&](const auto& name) { return !seen.insert(lower_cased(name)).second; });
  return result;
}

template <class Object>
bool CatalogueReader::contains(std::int64_t database_id, std::string_view name) {
  return statements_->finder<Object>().contains(database_id, name);
}

template <class Object>
std::optional<Object> CatalogueReader::load(std::int64_t database_id, std::string_view name) {
  auto found = statements_->finder<Object>().load(database_id, name);
  if (!found) {
    return std::nullopt;
  }
  auto& [id, object] = *found;
  statements_->read_parts(id, object);
  return std::move(object);
}

template <class Object>
std::vector<std::string> CatalogueReader::names(std::int64_t database_id) {
  return statements_->finder<Object>().names(database_id);
}

template bool CatalogueReader::contains<OlapDataSource>(std::int64_t, std::string_view);
template bool CatalogueReader::contains<OlapDimension>(std::int64_t, std::string_view);
template bool CatalogueReader::contains<OlapRole>(std::int64_t, std::string_view);
template bool CatalogueReader::contains<OlapCube>(std::int64_t, std::string_view);
template std::optional<OlapDataSource> CatalogueReader::load(std::int64_t, std::string_view);
template std::optional<OlapDimension> CatalogueReader::load(std::int64_t, std::string_view);
template std::optional<OlapRole> CatalogueReader::load(std::int64_t, std::string_view);
template std::optional<OlapCube> CatalogueReader::load(std::int64_t, std::string_view);
template std::vector<std::string> CatalogueReader::names<OlapDataSource>(std::int64_t);
template std::vector<std::string> CatalogueReader::names<OlapDimension>(std::int64_t);
template std::vector<std::string> CatalogueReader::names<OlapRole>(std::int64_t);
template std::vector<std::string> CatalogueReader::names<OlapCube>(std::int64_t);

}  // namespace importkcd
