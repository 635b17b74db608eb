#include "servers/catalogue/database_rows.h"

#include "servers/catalogue/row_statements.h"

namespace importkcd {
namespace {

template <class... Values>
void run(SQLite::Database& database, const char* sql, const Values&... values) {
  SQLite::Statement statement(database, sql);
  ValueBinder binder(statement);
  (binder.bind(values), ...);
  statement.exec();
}

}  // namespace

std::optional<std::int64_t> DatabaseRows::find(const std::string& folded_name) {
  SQLite::Statement query(database_,
                          "SELECT id FROM databases WHERE folded_name = ? AND kept_since IS NULL");
  ValueBinder(query).bind(folded_name);
  return query.executeStep() ? std::optional(query.getColumn(0).getInt64()) : std::nullopt;
}

std::vector<std::string> DatabaseRows::names() {
  SQLite::Statement query(database_,
                          "SELECT name FROM databases WHERE kept_since IS NULL ORDER BY id");
  return read_texts(query);
}

std::string DatabaseRows::description(std::int64_t id) {
  SQLite::Statement query(database_, "SELECT description FROM databases WHERE id = ?");
  ValueBinder(query).bind(id);
  return query.executeStep() ? query.getColumn(0).getString() : std::string();
}

std::int64_t DatabaseRows::add(const std::string& name, const std::string& folded_name) {
  run(database_, "INSERT INTO databases (name, folded_name) VALUES (?, ?)", name, folded_name);
  return database_.getLastInsertRowid();
}

void DatabaseRows::describe(std::int64_t id, const std::string& description) {
  run(database_, "UPDATE databases SET description = ? WHERE id = ?", description, id);
}

void DatabaseRows::keep(const std::string& folded_name) {
  if (const auto id = find(folded_name)) {
    forget_kept_copy(folded_name);
    mark_as_kept(*id);
  }
}

std::int64_t DatabaseRows::add_kept_copy(std::int64_t id) {
  SQLite::Statement query(database_, "SELECT folded_name FROM databases WHERE id = ?");
  ValueBinder(query).bind(id);
  query.executeStep();
  forget_kept_copy(query.getColumn(0).getString());
  run(database_,
      "INSERT INTO databases (name, folded_name, description, kept_since)"
      " SELECT name, folded_name, description, datetime('now') FROM databases WHERE id = ?",
      id);
  return database_.getLastInsertRowid();
}

std::vector<KeptCopy> DatabaseRows::kept_copies() {
  SQLite::Statement query(database_,
                          "SELECT name, kept_since FROM databases"
                          " WHERE kept_since IS NOT NULL ORDER BY kept_since, id");
  std::vector<KeptCopy> copies;
  while (query.executeStep()) {
    copies.push_back({query.getColumn(0).getString(), query.getColumn(1).getString()});
  }
  return copies;
}

std::optional<RestoredDatabase> DatabaseRows::restore(const std::string& folded_name) {
  SQLite::Statement query(database_,
                          "SELECT id, name, kept_since FROM databases"
                          " WHERE folded_name = ? AND kept_since IS NOT NULL");
  ValueBinder(query).bind(folded_name);
  if (!query.executeStep()) {
    return std::nullopt;
  }
  const auto id = query.getColumn(0).getInt64();
  RestoredDatabase restored;
  restored.copy = {query.getColumn(1).getString(), query.getColumn(2).getString()};
  query.reset();
  const auto displaced = find(folded_name);
  restored.displaced_another = displaced.has_value();
  if (displaced) {
    mark_as_kept(*displaced);
  }
  run(database_, "UPDATE databases SET kept_since = NULL WHERE id = ?", id);
  return restored;
}

void DatabaseRows::forget_kept_copy(const std::string& folded_name) {
  run(database_, "DELETE FROM databases WHERE folded_name = ? AND kept_since IS NOT NULL",
      folded_name);
}

void DatabaseRows::mark_as_kept(std::int64_t id) {
  run(database_, "UPDATE databases SET kept_since = datetime('now') WHERE id = ?", id);
}

}  // namespace importkcd
