#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "servers/olap_store.h"

namespace importkcd {

/// The rows of table `databases`: the databases, and the kept copies of them, which count as
/// databases nowhere. All operations throw SQLite::Exception when they fail; those that change
/// something belong inside a transaction.
class DatabaseRows {
 public:
  /// `database` must outlive this object.
  explicit DatabaseRows(SQLite::Database& database) : database_(database) {}

  /// The id of the database of that lower-cased name.
  std::optional<std::int64_t> find(const std::string& folded_name);

  /// In the order in which the databases were added.
  std::vector<std::string> names();

  std::string description(std::int64_t id);

  /// Adds a database at the end and gives its id.
  std::int64_t add(const std::string& name, const std::string& folded_name);

  void describe(std::int64_t id, const std::string& description);

  /// Makes the database of that name the kept copy, in place of the earlier one. Does nothing when
  /// there is no such database.
  void keep(const std::string& folded_name);

  /// Adds a kept copy of a database, in place of the earlier one, and gives its id. The database's
  /// objects are to be copied under it.
  std::int64_t add_kept_copy(std::int64_t id);

  /// The oldest first.
  std::vector<KeptCopy> kept_copies();

  /// Makes the kept copy of that name the database again, and the database of that name, if any,
  /// the kept copy. Gives nothing when no copy is kept.
  std::optional<RestoredDatabase> restore(const std::string& folded_name);

 private:
  void forget_kept_copy(const std::string& folded_name);
  void mark_as_kept(std::int64_t id);

  SQLite::Database& database_;
};

}  // namespace importkcd
