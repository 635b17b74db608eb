#include "servers/catalogue/catalogue_schema.h"

#include <SQLiteCpp/Savepoint.h>
#include <sqlite3.h>

#include <string>

namespace importkcd {
namespace {

/// "KCDO" in the file's header.
constexpr int application_id = 0x4B43444F;
constexpr int schema_version = 1;

/// Objects under a database have ids; their parts are clustered by the object's id and their
/// positions, so that an object is read and removed in one sweep per table and needs no other
/// index. Codes are those of the object model (codes.h).
constexpr const char* object_tables_sql = R"sql(
-- Databases are listed by id: a new one gets the highest. A row with kept_since is no longer one
-- of them but the kept copy of a database that was removed or changed at that time (UTC); a name has
-- one copy at most.
CREATE TABLE databases (
  id INTEGER PRIMARY KEY,
  name TEXT NOT NULL,
  folded_name TEXT NOT NULL,
  description TEXT NOT NULL DEFAULT '',
  kept_since TEXT
) STRICT;

CREATE UNIQUE INDEX live_databases ON databases (folded_name) WHERE kept_since IS NULL;

CREATE TABLE data_sources (
  id INTEGER PRIMARY KEY,
  database_id INTEGER NOT NULL REFERENCES databases (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  folded_name TEXT NOT NULL,
  connection_string TEXT NOT NULL,
  description TEXT NOT NULL,
  UNIQUE (database_id, folded_name),
  UNIQUE (database_id, position)
) STRICT;

CREATE TABLE dimensions (
  id INTEGER PRIMARY KEY,
  database_id INTEGER NOT NULL REFERENCES databases (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  folded_name TEXT NOT NULL,
  kind INTEGER NOT NULL,
  owner_cube TEXT NOT NULL,
  description TEXT NOT NULL,
  type INTEGER NOT NULL,
  data_source TEXT NOT NULL,
  from_clause TEXT NOT NULL,
  join_clause TEXT NOT NULL,
  allow_siblings_with_same_name INTEGER NOT NULL,
  UNIQUE (database_id, folded_name),
  UNIQUE (database_id, position)
) STRICT;

CREATE TABLE roles (
  id INTEGER PRIMARY KEY,
  database_id INTEGER NOT NULL REFERENCES databases (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  folded_name TEXT NOT NULL,
  description TEXT NOT NULL,
  user_list TEXT NOT NULL,
  UNIQUE (database_id, folded_name),
  UNIQUE (database_id, position)
) STRICT;

-- estimated_rows is a number; a REAL column would forget the sign of zero.
CREATE TABLE cubes (
  id INTEGER PRIMARY KEY,
  database_id INTEGER NOT NULL REFERENCES databases (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  folded_name TEXT NOT NULL,
  kind INTEGER NOT NULL,
  description TEXT NOT NULL,
  data_source TEXT NOT NULL,
  fact_table TEXT NOT NULL,
  aggregation_prefix TEXT NOT NULL,
  from_clause TEXT NOT NULL,
  join_clause TEXT NOT NULL,
  olap_mode INTEGER NOT NULL,
  estimated_rows ANY NOT NULL,
  UNIQUE (database_id, folded_name),
  UNIQUE (database_id, position)
) STRICT;
)sql";

constexpr const char* dimension_and_role_parts_sql = R"sql(
CREATE TABLE dimension_properties (
  dimension_id INTEGER NOT NULL REFERENCES dimensions (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (dimension_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE levels (
  dimension_id INTEGER NOT NULL REFERENCES dimensions (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  type INTEGER NOT NULL,
  column_size INTEGER NOT NULL,
  column_type INTEGER NOT NULL,
  description TEXT NOT NULL,
  estimated_size INTEGER NOT NULL,
  member_key_column TEXT NOT NULL,
  member_name_column TEXT NOT NULL,
  ordering INTEGER NOT NULL,
  unique_items INTEGER NOT NULL,
  disabled INTEGER NOT NULL,
  PRIMARY KEY (dimension_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE member_properties (
  dimension_id INTEGER NOT NULL,
  level_position INTEGER NOT NULL,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  description TEXT NOT NULL,
  caption TEXT NOT NULL,
  source_column TEXT NOT NULL,
  PRIMARY KEY (dimension_id, level_position, position),
  FOREIGN KEY (dimension_id, level_position)
    REFERENCES levels (dimension_id, position) ON DELETE CASCADE
) STRICT, WITHOUT ROWID;

CREATE TABLE role_permissions (
  role_id INTEGER NOT NULL REFERENCES roles (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (role_id, position)
) STRICT, WITHOUT ROWID;
)sql";

constexpr const char* cube_dimensions_sql = R"sql(
CREATE TABLE cube_properties (
  cube_id INTEGER NOT NULL REFERENCES cubes (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (cube_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE cube_dimensions (
  cube_id INTEGER NOT NULL REFERENCES cubes (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  PRIMARY KEY (cube_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE cube_levels (
  cube_id INTEGER NOT NULL,
  dimension_position INTEGER NOT NULL,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  type INTEGER NOT NULL,
  column_size INTEGER NOT NULL,
  column_type INTEGER NOT NULL,
  description TEXT NOT NULL,
  estimated_size INTEGER NOT NULL,
  member_key_column TEXT NOT NULL,
  member_name_column TEXT NOT NULL,
  ordering INTEGER NOT NULL,
  unique_items INTEGER NOT NULL,
  disabled INTEGER NOT NULL,
  PRIMARY KEY (cube_id, dimension_position, position),
  FOREIGN KEY (cube_id, dimension_position)
    REFERENCES cube_dimensions (cube_id, position) ON DELETE CASCADE
) STRICT, WITHOUT ROWID;

CREATE TABLE cube_member_properties (
  cube_id INTEGER NOT NULL,
  dimension_position INTEGER NOT NULL,
  level_position INTEGER NOT NULL,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  description TEXT NOT NULL,
  caption TEXT NOT NULL,
  source_column TEXT NOT NULL,
  PRIMARY KEY (cube_id, dimension_position, level_position, position),
  FOREIGN KEY (cube_id, dimension_position, level_position)
    REFERENCES cube_levels (cube_id, dimension_position, position) ON DELETE CASCADE
) STRICT, WITHOUT ROWID;
)sql";

constexpr const char* cube_content_sql = R"sql(
CREATE TABLE measures (
  cube_id INTEGER NOT NULL REFERENCES cubes (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  description TEXT NOT NULL,
  format TEXT NOT NULL,
  source_column TEXT NOT NULL,
  internal INTEGER NOT NULL,
  aggregate_function INTEGER NOT NULL,
  PRIMARY KEY (cube_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE calculated_members (
  cube_id INTEGER NOT NULL REFERENCES cubes (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  statement TEXT NOT NULL,
  PRIMARY KEY (cube_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE cube_roles (
  cube_id INTEGER NOT NULL REFERENCES cubes (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  description TEXT NOT NULL,
  user_list TEXT NOT NULL,
  PRIMARY KEY (cube_id, position)
) STRICT, WITHOUT ROWID;

CREATE TABLE cube_role_permissions (
  cube_id INTEGER NOT NULL,
  role_position INTEGER NOT NULL,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (cube_id, role_position, position),
  FOREIGN KEY (cube_id, role_position)
    REFERENCES cube_roles (cube_id, position) ON DELETE CASCADE
) STRICT, WITHOUT ROWID;
)sql";

constexpr const char* partitions_sql = R"sql(
CREATE TABLE partitions (
  cube_id INTEGER NOT NULL REFERENCES cubes (id) ON DELETE CASCADE,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  fact_table TEXT NOT NULL,
  aggregation_prefix TEXT NOT NULL,
  from_clause TEXT NOT NULL,
  join_clause TEXT NOT NULL,
  data_source TEXT NOT NULL,
  olap_mode INTEGER NOT NULL,
  read_write INTEGER NOT NULL,
  follows_cube INTEGER NOT NULL,
  PRIMARY KEY (cube_id, position)
) STRICT, WITHOUT ROWID;

-- Only the dimensions and levels that a partition slices have rows.
CREATE TABLE partition_dimensions (
  cube_id INTEGER NOT NULL,
  partition_position INTEGER NOT NULL,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  PRIMARY KEY (cube_id, partition_position, position),
  FOREIGN KEY (cube_id, partition_position)
    REFERENCES partitions (cube_id, position) ON DELETE CASCADE
) STRICT, WITHOUT ROWID;

CREATE TABLE partition_levels (
  cube_id INTEGER NOT NULL,
  partition_position INTEGER NOT NULL,
  dimension_position INTEGER NOT NULL,
  position INTEGER NOT NULL,
  name TEXT NOT NULL,
  member_key_column TEXT NOT NULL,
  slice_value TEXT NOT NULL,
  PRIMARY KEY (cube_id, partition_position, dimension_position, position),
  FOREIGN KEY (cube_id, partition_position, dimension_position)
    REFERENCES partition_dimensions (cube_id, partition_position, position) ON DELETE CASCADE
) STRICT, WITHOUT ROWID;
)sql";

int number(SQLite::Database& database, const char* query) {
  return database.execAndGet(query).getInt();
}

void set_pragma(SQLite::Database& database, const std::string& name, int value) {
  database.exec("PRAGMA " + name + " = " + std::to_string(value));
}

CatalogueFormat format_of_database(SQLite::Database& database) {
  const int id = number(database, "PRAGMA application_id");
  const int version = number(database, "PRAGMA user_version");
  if (id == 0 && version == 0 && number(database, "SELECT count(*) FROM sqlite_schema") == 0) {
    return CatalogueFormat::empty;
  }
  if (id != application_id || version < schema_version) {
    return CatalogueFormat::foreign;
  }
  return version == schema_version ? CatalogueFormat::current : CatalogueFormat::newer;
}

}  // namespace

CatalogueFormat catalogue_format(SQLite::Database& database) {
  try {
    // One state for all that is looked at: another run may be making the tables right now.
    SQLite::Savepoint state(database, "catalogue_format");
    const auto format = format_of_database(database);
    state.release();
    return format;
  } catch (const SQLite::Exception& error) {
    if (error.getErrorCode() == SQLITE_NOTADB) {
      return CatalogueFormat::foreign;
    }
    throw;
  }
}

void create_schema(SQLite::Database& database) {
  for (const auto* sql : {object_tables_sql, dimension_and_role_parts_sql, cube_dimensions_sql,
                          cube_content_sql, partitions_sql}) {
    database.exec(sql);
  }
  set_pragma(database, "application_id", application_id);
  set_pragma(database, "user_version", schema_version);
}

}  // namespace importkcd
