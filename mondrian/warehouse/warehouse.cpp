#include "mondrian/warehouse/warehouse.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "mondrian/aggregation/aggregate_table.h"
#include "mondrian/not_expressible.h"
#include "mondrian/warehouse/warehouse_login.h"

namespace importkcd {
namespace {

std::string old_name_of(const std::string& table) { return table + "_old"; }

std::string rename_statement(DatabaseKind kind, const std::string& from, const std::string& to) {
  switch (kind) {
    case DatabaseKind::mariadb:
      return "rename table " + quoted_name(kind, from) + " to " + quoted_name(kind, to);
    case DatabaseKind::sql_server:
      return "exec sp_rename " + sql_string(quoted_name(kind, from)) + ", " + sql_string(to);
    default:
      return "alter table " + quoted_name(kind, from) + " rename to " + quoted_name(kind, to);
  }
}

std::string tables_query(DatabaseKind kind) {
  const std::string schema = kind == DatabaseKind::postgresql ? "current_schema()"
                             : kind == DatabaseKind::mariadb  ? "database()"
                                                              : "schema_name()";
  return "select table_name from information_schema.tables where table_schema = " + schema +
         " order by table_name";
}

JdbcConnection connection_of_login(const std::string& login) {
  try {
    return jdbc_connection(login);
  } catch (const NotExpressible& error) {
    throw ImportError("the connection of --connect-string-file: " + error.description(),
                      error_source::warehouse, FailureCause::command_line);
  }
}

}  // namespace

std::string new_name_of(const std::string& table) { return table + "_new"; }

std::string drop_statement(DatabaseKind kind, const std::string& table, bool is_view) {
  return std::string("drop ") + (is_view ? "view" : "table") + " if exists " +
         quoted_name(kind, table);
}

std::vector<std::string> building_statements(DatabaseKind kind, const WarehouseTable& table) {
  const auto name = new_name_of(table.name);
  return {drop_statement(kind, name, false), create_table_statement(kind, name, table.query)};
}

std::vector<std::string> placing_statements(DatabaseKind kind, const std::string& table,
                                            bool replaces_one) {
  if (kind != DatabaseKind::mariadb) {
    return {drop_statement(kind, table, false), rename_statement(kind, new_name_of(table), table)};
  }
  // Both names change at once: no question finds the table missing.
  std::vector<std::string> statements{drop_statement(kind, old_name_of(table), false)};
  if (!replaces_one) {
    statements.push_back(rename_statement(kind, new_name_of(table), table));
    return statements;
  }
  statements.push_back(rename_statement(kind, table, old_name_of(table)) + ", " +
                       quoted_name(kind, new_name_of(table)) + " to " + quoted_name(kind, table));
  statements.push_back(drop_statement(kind, old_name_of(table), false));
  return statements;
}

std::vector<std::string> view_statements(DatabaseKind kind, const std::string& view,
                                         const std::string& query) {
  if (kind == DatabaseKind::mariadb) {
    return {"create or replace view " + quoted_name(kind, view) + " as\n" + query};
  }
  // PostgreSQL replaces a view only by one with the same columns.
  return {drop_statement(kind, view, true),
          "create view " + quoted_name(kind, view) + " as\n" + query};
}

Warehouse::Warehouse(const JdbcConnection& engine, const std::string& login) : kind_(engine.kind) {
  if (!can_be_aggregated_in(kind_)) {
    throw ImportError(
        "aggregate tables are made in PostgreSQL, MariaDB and SQL Server; the data source is "
        "another kind of database",
        error_source::warehouse);
  }
  auto own = engine;
  if (!login.empty()) {
    own = connection_of_login(login);
    if (own.kind != engine.kind) {
      throw ImportError(
          "the connection of --connect-string-file leads to another kind of database than the "
          "data source",
          error_source::warehouse, FailureCause::command_line);
    }
    reader_ = own.user == engine.user ? "" : engine.user;
  }
  OdbcTimeouts timeouts;
  timeouts.answering = std::chrono::seconds(0);
  try {
    connection_ = open_odbc(odbc_connection_text(own), timeouts, error_source::warehouse);
  } catch (const ImportError& error) {
    throw ImportError(
        "the data warehouse cannot be reached: " + mask_passwords(error.description()),
        error_source::warehouse, FailureCause::server);
  }
}

void Warehouse::execute(const std::string& statement) {
  const auto rows = connection_->execute(statement);
  while (rows->next()) {
  }
}

void Warehouse::run(const std::vector<std::string>& statements) {
  for (const auto& statement : statements) {
    execute(statement);
  }
}

std::vector<std::string> Warehouse::tables() {
  const auto rows = connection_->execute(tables_query(kind_));
  std::vector<std::string> names;
  while (rows->next()) {
    names.push_back(rows->text(0).value_or(""));
  }
  return names;
}

bool Warehouse::has(const std::string& table) {
  const auto names = tables();
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return same_known_name(kind_, name, table); });
}

std::vector<std::string> Warehouse::row(const std::string& query, std::size_t columns) {
  const auto rows = connection_->execute(query);
  if (!rows->next()) {
    throw ImportError("the data warehouse gave no answer", error_source::warehouse);
  }
  std::vector<std::string> values;
  for (std::size_t i = 0; i < columns; ++i) {
    values.push_back(rows->text(i).value_or(""));
  }
  while (rows->next()) {
  }
  return values;
}

std::string Warehouse::fingerprint(const std::string& query) {
  if (const auto known = fingerprints_.find(query); known != fingerprints_.end()) {
    return known->second;
  }
  // Times are hashed as texts: in one zone for all who compare, whatever the session's is.
  const bool is_zoned = kind_ == DatabaseKind::postgresql;
  const auto set_zone = [&](const char* statement) {
    if (is_zoned) {
      execute(statement);
    }
  };
  set_zone("set time zone 'UTC'");
  try {
    auto value = row(query, 1).front();
    set_zone("reset time zone");
    return fingerprints_.emplace(query, std::move(value)).first->second;
  } catch (const ImportError&) {
    set_zone("reset time zone");
    throw;
  }
}

void Warehouse::begin_replacing(const WarehouseTable& table, std::vector<std::string>& remarks) {
  if (has_transactions_for_tables()) {
    connection_->begin();
  }
  try {
    build(table, remarks);
  } catch (...) {
    give_up_replacing(table.name);
    throw;
  }
}

void Warehouse::build(const WarehouseTable& table, std::vector<std::string>& remarks) {
  run(building_statements(kind_, table));
  for (const auto& index : table.indexes) {
    // In PostgreSQL a failed statement would be the end of the transaction.
    const bool is_postgresql = kind_ == DatabaseKind::postgresql;
    try {
      run(is_postgresql ? std::vector<std::string>{"savepoint before_index", index}
                        : std::vector<std::string>{index});
    } catch (const ImportError& error) {
      if (is_postgresql) {
        execute("rollback to savepoint before_index");
      }
      remarks.push_back("Table '" + table.name +
                        "' is without one of its indexes: " + error.description());
    }
  }
}

void Warehouse::finish_replacing(const std::string& table) {
  run(placing_statements(kind_, table, !has_transactions_for_tables() && has(table)));
  let_engine_read(table);
  if (has_transactions_for_tables()) {
    connection_->commit();
  }
  analyze(table);
}

void Warehouse::analyze(const std::string& table) {
  if (kind_ != DatabaseKind::sql_server) {
    execute((kind_ == DatabaseKind::mariadb ? "analyze table " : "analyze ") +
            quoted_name(kind_, table));
  }
}

bool Warehouse::has_transactions_for_rows(const std::string& table) {
  if (kind_ != DatabaseKind::mariadb) {
    return true;
  }
  return row("select count(*) from information_schema.tables where table_schema = database() and "
             "engine = 'InnoDB' and table_name = " +
                 sql_string(table),
             1)
             .front() == "1";
}

void Warehouse::begin_changing() {
  if (kind_ == DatabaseKind::mariadb) {
    // Values that a column has no room for would be cut off without it.
    execute(
        "set @kcd_sql_mode = @@session.sql_mode, session sql_mode = concat(@@session.sql_mode, "
        "',STRICT_ALL_TABLES')");
  }
  connection_->begin();
}

void Warehouse::commit_changes() {
  connection_->commit();
  if (kind_ == DatabaseKind::mariadb) {
    execute("set session sql_mode = @kcd_sql_mode");
  }
}

void Warehouse::undo_changes() noexcept {
  try {
    connection_->roll_back();
    if (kind_ == DatabaseKind::mariadb) {
      execute("set session sql_mode = @kcd_sql_mode");
    }
  } catch (const std::exception&) {
    // What made it give up is told; a connection that is gone has undone it by itself.
  }
}

void Warehouse::give_up_replacing(const std::string& table) noexcept {
  try {
    if (has_transactions_for_tables()) {
      connection_->roll_back();
    } else {
      execute(drop_statement(kind_, new_name_of(table), false));
    }
  } catch (const std::exception&) {
    // What made it give up is told; what is left is found by its record.
  }
}

void Warehouse::let_engine_read(const std::string& table) {
  if (!reader_.empty() && kind_ != DatabaseKind::mariadb) {
    execute("grant select on " + quoted_name(kind_, table) + " to " + quoted_name(kind_, reader_));
  }
}

bool Warehouse::has_view_of(const std::string& view, const std::string& query) {
  if (kind_ != DatabaseKind::postgresql || !has(view)) {
    return has(view);
  }
  // A view of PostgreSQL stays with a table that is renamed, when a load puts another in its place.
  const std::string compared = "kcd_aggregate_compared";
  const auto text_of = [&](const std::string& name) {
    return "pg_get_viewdef(" + sql_string(quoted_name(kind_, name)) + "::regclass)";
  };
  connection_->begin();
  bool is_same = false;
  try {
    execute("create temporary view " + compared + " as\n" + query);
    is_same = row("select case when " + text_of(view) + " = " + text_of(compared) +
                      " then 'yes' else 'no' end",
                  1)
                  .front() == "yes";
  } catch (const ImportError&) {
    is_same = false;
  }
  undo_changes();
  return is_same;
}

void Warehouse::replace_view(const std::string& view, const std::string& query) {
  const bool at_once = kind_ == DatabaseKind::mariadb;
  if (!at_once) {
    connection_->begin();
  }
  try {
    run(view_statements(kind_, view, query));
    let_engine_read(view);
    if (!at_once) {
      connection_->commit();
    }
  } catch (...) {
    if (!at_once) {
      give_up_replacing(view);
    }
    throw;
  }
}

void Warehouse::drop(const std::string& table, bool is_view) {
  execute(drop_statement(kind_, table, is_view));
  if (!is_view) {
    execute(drop_statement(kind_, new_name_of(table), false));
    if (kind_ == DatabaseKind::mariadb) {
      execute(drop_statement(kind_, old_name_of(table), false));
    }
  }
}

}  // namespace importkcd
