#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>

namespace importkcd::testing {

/// What SQLite's own checks say about a catalogue file; "ok" when all is well.
inline std::string check_of(const std::string& path) {
  SQLite::Database database(path, SQLite::OPEN_READWRITE, 30'000);
  SQLite::Statement keys(database, "PRAGMA foreign_key_check");
  return database.execAndGet("PRAGMA integrity_check").getString() +
         (keys.executeStep() ? ", rows without owner" : "");
}

}  // namespace importkcd::testing
