#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <memory>

namespace importkcd {

/// A statement that is prepared at its first use and kept.
class CachedStatement {
 public:
  template <class MakeSql>
  SQLite::Statement& get(SQLite::Database& database, const MakeSql& make_sql) {
    if (!statement_) {
      statement_ = std::make_unique<SQLite::Statement>(database, make_sql());
    }
    return *statement_;
  }

 private:
  std::unique_ptr<SQLite::Statement> statement_;
};

/// Resets a cached statement at the end of its use, after an error too: a statement left in the
/// middle would keep its view of the file.
class StatementUse {
 public:
  explicit StatementUse(SQLite::Statement& statement) : statement_(statement) {}
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;
  ~StatementUse() { statement_.tryReset(); }

 private:
  SQLite::Statement& statement_;
};

}  // namespace importkcd
