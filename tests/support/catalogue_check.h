#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <string>

namespace importkcd::testing {

/// What SQLite's own checks say about a catalogue file; "ok" when all is well.
inline std::string check_of(const std::string& path) {
  SQLite::Database database(path, SQLite::OPEN_READWRITE, 30'000);
  SQLite::Statement keys(database, "PRAGMA foreign_key_check");
  return database.execAndGet("PRAGMA integrity_check").getString() +
         (keys.executeStep() ? ", rows without owner" : "");
}

/// Has a catalogue's table refuse every row that is inserted or updated from now on, unless it
/// meets the condition; the message is "CHECK constraint failed: refused". An empty condition takes
/// that back. The catalogue's triggers do not run, so that it takes a change of its schema.
inline void refuse_unless(const std::string& path, const std::string& table,
                          const std::string& condition) {
  SQLite::Database database(path, SQLite::OPEN_READWRITE, 30'000);
  const auto version = database.execAndGet("PRAGMA schema_version").getInt();
  SQLite::Statement sql(database, "SELECT sql FROM sqlite_schema WHERE name = ?");
  sql.bind(1, table);
  sql.executeStep();
  auto text = sql.getColumn(0).getString();
  sql.reset();
  const std::string constraint = ", CONSTRAINT refused ";
  const auto end = text.rfind(") STRICT");
  const auto begin = std::min(text.find(constraint), end);
  text.replace(begin, end - begin,
               condition.empty() ? "" : constraint + "CHECK (" + condition + ")");
  database.exec("PRAGMA writable_schema = ON");
  SQLite::Statement update(database, "UPDATE sqlite_schema SET sql = ? WHERE name = ?");
  update.bind(1, text);
  update.bind(2, table);
  update.exec();
  database.exec("PRAGMA schema_version = " + std::to_string(version + 1));
}

}  // namespace importkcd::testing
