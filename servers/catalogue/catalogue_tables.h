#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "servers/catalogue/catalogue_schema.h"
#include "servers/catalogue/database_rows.h"
#include "servers/catalogue/object_rows.h"
#include "servers/catalogue/part_rows.h"
#include "servers/olap_store.h"

namespace importkcd {

/// All tables of a catalogue. Operations throw SQLite::Exception when they fail; those that change
/// something belong inside a transaction.
class CatalogueTables {
 public:
  /// `database` must outlive this object.
  explicit CatalogueTables(SQLite::Database& database) : database_(database) {}

  DatabaseRows& databases() { return databases_; }

  /// The objects of one kind directly under a database, without their parts.
  template <class Object>
  ObjectRows<Object>& objects() {
    return std::get<ObjectRows<Object>>(objects_);
  }

  /// The whole object of that name; nothing when there is none.
  template <class Object>
  std::optional<Object> load(std::int64_t database_id, std::string_view name) {
    auto found = objects<Object>().load(database_id, name);
    if (!found) {
      return std::nullopt;
    }
    auto& [id, object] = *found;
    read_parts(id, object);
    return std::move(object);
  }

  /// The names of the dimensions that the cubes of a kind use, each once.
  std::vector<std::string> dimensions_in_use(std::int64_t database_id, OlapCubeKind kind);

  /// Stores what a run changes in one database.
  void apply(const DatabaseChanges& changes);

 private:
  void keep_copy(std::int64_t id);
  void read_parts(std::int64_t, OlapDataSource&) {}
  void read_parts(std::int64_t id, OlapRole& role);
  void read_parts(std::int64_t id, OlapDimension& dimension);
  void read_parts(std::int64_t id, OlapCube& cube);
  void read_cube_dimensions(std::int64_t id, NamedCollection<OlapCubeDimension>& dimensions);
  void read_partitions(std::int64_t id, NamedCollection<OlapPartition>& partitions);
  void write_parts(const WrittenObject&, const OlapDataSource&) {}
  void write_parts(const WrittenObject& row, const OlapDimension& dimension);
  void write_parts(const WrittenObject& row, const OlapRole& role);
  void write_parts(const WrittenObject& row, const OlapCube& cube);
  template <class Object>
  void write_all(const NamedCollection<Object>& objects_to_write);

  SQLite::Database& database_;
  DatabaseRows databases_{database_};
  std::tuple<ObjectRows<OlapDataSource>, ObjectRows<OlapDimension>, ObjectRows<OlapRole>,
             ObjectRows<OlapCube>>
      objects_{database_, database_, database_, database_};
  PartRows<OlapProperty> dimension_properties_{database_, part_tables::dimension_properties};
  PartRows<OlapLevel> levels_{database_, part_tables::levels};
  PartRows<OlapMemberProperty> member_properties_{database_, part_tables::member_properties};
  PartRows<OlapProperty> role_permissions_{database_, part_tables::role_permissions};
  PartRows<OlapProperty> cube_properties_{database_, part_tables::cube_properties};
  PartRows<OlapCubeDimension> cube_dimensions_{database_, part_tables::cube_dimensions};
  PartRows<OlapLevel> cube_levels_{database_, part_tables::cube_levels};
  PartRows<OlapMemberProperty> cube_member_properties_{database_,
                                                       part_tables::cube_member_properties};
  PartRows<OlapMeasure> measures_{database_, part_tables::measures};
  PartRows<OlapCalculatedMember> calculated_members_{database_, part_tables::calculated_members};
  PartRows<OlapRole> cube_roles_{database_, part_tables::cube_roles};
  PartRows<OlapProperty> cube_role_permissions_{database_, part_tables::cube_role_permissions};
  PartRows<OlapPartition> partitions_{database_, part_tables::partitions};
  PartRows<OlapPartitionDimension> partition_dimensions_{database_,
                                                         part_tables::partition_dimensions};
  PartRows<OlapPartitionLevel> partition_levels_{database_, part_tables::partition_levels};
};

}  // namespace importkcd
