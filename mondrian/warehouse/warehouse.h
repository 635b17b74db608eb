#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/odbc_connection.h"
#include "mondrian/mapping/jdbc_connection.h"

namespace importkcd {

namespace error_source {
constexpr std::string_view warehouse = "data warehouse";
}  // namespace error_source

/// A new table or view and what takes the old one's place with it.
struct WarehouseTable {
  std::string name;
  /// The query whose rows it holds.
  std::string query;
  /// Statements for `new_name_of(name)`; one that fails costs nothing but itself.
  std::vector<std::string> indexes;
};

/// The name under which a table is built, before it takes its place.
std::string new_name_of(const std::string& table);

/// The statements that build a table beside its place, and those that then put it there.
std::vector<std::string> building_statements(DatabaseKind kind, const WarehouseTable& table);
std::vector<std::string> placing_statements(DatabaseKind kind, const std::string& table,
                                            bool replaces_one);
std::vector<std::string> view_statements(DatabaseKind kind, const std::string& view,
                                         const std::string& query);
std::string drop_statement(DatabaseKind kind, const std::string& table, bool is_view);

/// A data warehouse, reached by ODBC with a login that may create tables. All operations throw
/// ImportError of the component `error_source::warehouse`, with the driver's own description.
class Warehouse {
 public:
  /// `engine` is how the engine reaches it. `login` is another text that leads there; empty: the
  /// engine's own login is used.
  Warehouse(const JdbcConnection& engine, const std::string& login);

  DatabaseKind kind() const { return kind_; }

  /// The names of the tables and views of the login's own schema.
  std::vector<std::string> tables();
  bool has(const std::string& table);

  /// The columns of the only row that a query gives.
  std::vector<std::string> row(const std::string& query, std::size_t columns);
  /// What a query about what tables are made of gave when it was first asked: such queries read all
  /// facts, and the tables of a cube share them.
  std::string fingerprint(const std::string& query);
  /// Has such queries asked again.
  void forget_fingerprints() { fingerprints_.clear(); }

  /// Builds a table and puts it into its place, in a transaction or by renaming it, when
  /// `is_complete`, which asks about the table under its new name, says so; otherwise leaves
  /// everything as it was. Sentences about indexes that could not be made go to `remarks`.
  template <class Check>
  bool replace(const WarehouseTable& table, const Check& is_complete,
               std::vector<std::string>& remarks) {
    begin_replacing(table, remarks);
    try {
      if (!is_complete()) {
        give_up_replacing(table.name);
        return false;
      }
      finish_replacing(table.name);
    } catch (...) {
      give_up_replacing(table.name);
      throw;
    }
    return true;
  }

  /// Changes rows of a table by statements that take effect together, when `is_right`, which asks
  /// about the table as it would be, says so. False, with everything as it was, otherwise and when
  /// the table is of a kind that knows no transactions.
  template <class Check>
  bool change_rows(const std::string& table, const std::vector<std::string>& statements,
                   const Check& is_right) {
    if (!has_transactions_for_rows(table)) {
      return false;
    }
    begin_changing();
    try {
      run(statements);
      if (!is_right()) {
        undo_changes();
        return false;
      }
      commit_changes();
    } catch (...) {
      undo_changes();
      throw;
    }
    analyze(table);
    return true;
  }

  /// Whether there is a view with this query, over the tables that the query's names mean now.
  bool has_view_of(const std::string& view, const std::string& query);
  void replace_view(const std::string& view, const std::string& query);
  /// Drops a table or view, if it is there.
  void drop(const std::string& table, bool is_view);

 private:
  void execute(const std::string& statement);
  void run(const std::vector<std::string>& statements);
  void begin_replacing(const WarehouseTable& table, std::vector<std::string>& remarks);
  void build(const WarehouseTable& table, std::vector<std::string>& remarks);
  void finish_replacing(const std::string& table);
  void give_up_replacing(const std::string& table) noexcept;
  bool has_transactions_for_rows(const std::string& table);
  void begin_changing();
  void commit_changes();
  void undo_changes() noexcept;
  void analyze(const std::string& table);
  void let_engine_read(const std::string& table);
  bool has_transactions_for_tables() const { return kind_ != DatabaseKind::mariadb; }

  DatabaseKind kind_;
  /// Of the engine, when it is another than this login's.
  std::string reader_;
  std::unique_ptr<OdbcConnection> connection_;
  /// What queries gave.
  std::map<std::string, std::string> fingerprints_;
};

}  // namespace importkcd
