#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <string_view>

#include "model/definitions.h"

namespace importkcd {

/// What an SQLite file is to this program.
enum class CatalogueFormat {
  /// Nothing was ever stored in it.
  empty,
  current,
  /// Made by a later version of this program.
  newer,
  /// Somebody else's database, or no database at all.
  foreign,
};

/// Recognizes a file; throws SQLite::Exception when it cannot be read.
CatalogueFormat catalogue_format(SQLite::Database& database);

/// Makes all tables in an empty file; to be called inside a transaction.
void create_schema(SQLite::Database& database);

/// A table whose rows are parts of an object: found by the object's id, in the order of the key.
struct PartTable {
  constexpr PartTable(std::string_view table, std::string_view key)
      : name(table),
        key_columns(key),
        key_size(1 + static_cast<int>(std::count(key.begin(), key.end(), ','))) {}

  std::string_view name;
  /// The columns of the primary key, the object's id first, the position in the collection last.
  std::string_view key_columns;
  int key_size;
};

namespace part_tables {
constexpr PartTable dimension_properties{"dimension_properties", "dimension_id, position"};
constexpr PartTable levels{"levels", "dimension_id, position"};
constexpr PartTable member_properties{"member_properties",
                                      "dimension_id, level_position, position"};
constexpr PartTable role_permissions{"role_permissions", "role_id, position"};
constexpr PartTable cube_properties{"cube_properties", "cube_id, position"};
constexpr PartTable cube_dimensions{"cube_dimensions", "cube_id, position"};
constexpr PartTable cube_levels{"cube_levels", "cube_id, dimension_position, position"};
constexpr PartTable cube_member_properties{"cube_member_properties",
                                           "cube_id, dimension_position, level_position, position"};
constexpr PartTable measures{"measures", "cube_id, position"};
constexpr PartTable calculated_members{"calculated_members", "cube_id, position"};
constexpr PartTable cube_roles{"cube_roles", "cube_id, position"};
constexpr PartTable cube_role_permissions{"cube_role_permissions",
                                          "cube_id, role_position, position"};
constexpr PartTable partitions{"partitions", "cube_id, position"};
constexpr PartTable partition_dimensions{"partition_dimensions",
                                         "cube_id, partition_position, position"};
constexpr PartTable partition_levels{"partition_levels",
                                     "cube_id, partition_position, dimension_position, position"};
}  // namespace part_tables

/// The table of the objects directly under a database. Its rows have an id, the database's id, the
/// position in the collection, and the lower-cased name that they are found by.
template <class Object>
constexpr std::string_view object_table;
template <>
inline constexpr std::string_view object_table<OlapDataSource> = "data_sources";
template <>
inline constexpr std::string_view object_table<OlapDimension> = "dimensions";
template <>
inline constexpr std::string_view object_table<OlapRole> = "roles";
template <>
inline constexpr std::string_view object_table<OlapCube> = "cubes";

}  // namespace importkcd
