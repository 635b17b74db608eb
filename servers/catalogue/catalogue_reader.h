#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/definitions.h"

namespace importkcd {

/// Reads the objects of databases from the tables of a catalogue, one at a time. All operations
/// throw SQLite::Exception when reading fails.
class CatalogueReader {
 public:
  /// `database` must outlive the reader.
  explicit CatalogueReader(SQLite::Database& database);
  CatalogueReader(const CatalogueReader&) = delete;
  CatalogueReader& operator=(const CatalogueReader&) = delete;
  ~CatalogueReader();

  /// The names of the dimensions that the cubes of a kind use, each once.
  std::vector<std::string> dimensions_in_use(std::int64_t database_id, OlapCubeKind kind);

  /// What an ObjectSource does, for each kind of object directly under a database.
  template <class Object>
  bool contains(std::int64_t database_id, std::string_view name);
  template <class Object>
  std::optional<Object> load(std::int64_t database_id, std::string_view name);
  template <class Object>
  std::vector<std::string> names(std::int64_t database_id);

 private:
  class Statements;
  std::unique_ptr<Statements> statements_;
};

}  // namespace importkcd
