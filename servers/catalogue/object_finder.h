#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/name_folding.h"
#include "servers/catalogue/cached_statement.h"
#include "servers/catalogue/row_values.h"
#include "servers/catalogue/statement_texts.h"

namespace importkcd {

/// Finds objects of one kind under their database.
template <class Object>
class ObjectFinder {
 public:
  explicit ObjectFinder(SQLite::Database& database) : database_(database) {}

  bool contains(std::int64_t database_id, std::string_view name) {
    auto& query = contains_.get(database_, [] { return named_object_query<Object>("1"); });
    const StatementUse use(query);
    const auto folded_name = lower_cased(name);
    ValueBinder(query).bind(database_id).bind(folded_name);
    return query.executeStep();
  }

  /// The object's id, and the object without its parts.
  std::optional<std::pair<std::int64_t, Object>> load(std::int64_t database_id,
                                                      std::string_view name) {
    auto& query = load_.get(
        database_, [] { return named_object_query<Object>("id, " + field_columns<Object>()); });
    const StatementUse use(query);
    const auto folded_name = lower_cased(name);
    ValueBinder(query).bind(database_id).bind(folded_name);
    if (!query.executeStep()) {
      return std::nullopt;
    }
    return std::pair(query.getColumn(0).getInt64(), read_fields<Object>(query, 1));
  }

  /// In collection order.
  std::vector<std::string> names(std::int64_t database_id) {
    auto& query = names_.get(database_, [] {
      return "SELECT name FROM " + std::string(object_table<Object>) +
             " WHERE database_id = ? ORDER BY position";
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id);
    return read_texts(query);
  }

 private:
  SQLite::Database& database_;
  CachedStatement contains_;
  CachedStatement load_;
  CachedStatement names_;
};

}  // namespace importkcd
