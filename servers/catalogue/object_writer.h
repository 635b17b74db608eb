#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/name_folding.h"
#include "servers/catalogue/cached_statement.h"
#include "servers/catalogue/part_writer.h"
#include "servers/catalogue/row_values.h"
#include "servers/catalogue/statement_texts.h"

namespace importkcd {

/// Gives out positions at the end of a collection. No position is given twice, nor one that is
/// stored, because a table holds each only once.
class EndPositions {
 public:
  /// The objects that stay are stored at positions below `end`, all stored ones below `free`.
  EndPositions(std::int64_t end, std::int64_t free) : end_(end), free_(free) {}

  /// For an object that is added: behind all that stay and all that were placed before.
  std::int64_t add() { return place(free_++); }

  /// For an object that leaves and comes back: its present position, when that is at the end.
  std::int64_t come_back(std::int64_t present) { return present >= end_ ? place(present) : add(); }

 private:
  std::int64_t place(std::int64_t position) {
    end_ = position + 1;
    return position;
  }

  std::int64_t end_;
  std::int64_t free_;
};

/// Puts objects of one kind into a database: in the place of the one that has the name, or at the
/// end of the collection.
template <class Object>
class ObjectWriter {
 public:
  explicit ObjectWriter(SQLite::Database& database) : database_(database) {}

  /// Prepares for a database; `is_new` promises that nothing is stored in it.
  void begin(std::int64_t database_id, bool is_new) {
    database_id_ = database_id;
    is_new_ = is_new;
    leaving_.clear();
    end_positions_.reset();
  }

  /// Removes the stored objects of these names with all their parts, before anything is put. Those
  /// among `returning` are to be put again: they come to the end of the collection, and keep the
  /// rows that are still right.
  void remove(const std::vector<std::string>& names, const NamedCollection<Object>& returning) {
    for (const auto& name : names) {
      auto folded_name = lower_cased(name);
      if (returning.contains(name)) {
        leaving_.insert(std::move(folded_name));
      } else {
        remove(folded_name);
      }
    }
  }

  /// Stores the object's own row, without parts.
  WrittenObject put(const Object& object) {
    const auto folded_name = lower_cased(object.name);
    if (!is_new_) {
      if (const auto stored = put_in_place(object, folded_name)) {
        return {*stored, false};
      }
    }
    return {insert(object, folded_name), true};
  }

 private:
  /// Brings the stored row of that name up to date and gives its id; nothing when there is none.
  std::optional<std::int64_t> put_in_place(const Object& object, const std::string& folded_name) {
    auto& query = query_.get(database_, [] {
      return named_object_query<Object>("id, position, " + field_columns<Object>());
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id_).bind(folded_name);
    if (!query.executeStep()) {
      return std::nullopt;
    }
    const auto id = query.getColumn(0).getInt64();
    const auto stored_position = query.getColumn(1).getInt64();
    const bool comes_back = leaving_.count(folded_name) != 0;
    const auto position = comes_back ? end_positions().come_back(stored_position) : stored_position;
    if (position != stored_position || !fields_equal(query, 2, object)) {
      update(id, position, object);
    }
    return id;
  }

  EndPositions& end_positions() {
    if (!end_positions_) {
      end_positions_ = is_new_ ? EndPositions(0, 0) : stored_end();
    }
    return *end_positions_;
  }

  /// Reads no more than the last object that stays and those behind it.
  EndPositions stored_end() {
    auto& query = last_ones_.get(database_, [] {
      return "SELECT position, folded_name FROM " + std::string(object_table<Object>) +
             " WHERE database_id = ? ORDER BY position DESC";
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id_);
    std::int64_t free = 0;
    while (query.executeStep()) {
      const auto behind = query.getColumn(0).getInt64() + 1;
      free = std::max(free, behind);
      if (leaving_.count(query.getColumn(1).getString()) == 0) {
        return {behind, free};
      }
    }
    return {0, free};
  }

  std::int64_t insert(const Object& object, const std::string& folded_name) {
    auto& statement = insert_.get(database_, [] {
      return insertion(object_table<Object>,
                       std::string(object_name_key) + ", position, " + field_columns<Object>());
    });
    const StatementUse use(statement);
    const auto position = end_positions().add();
    ValueBinder(statement).bind(database_id_).bind(folded_name).bind(position).bind_fields(object);
    statement.exec();
    return database_.getLastInsertRowid();
  }

  /// The name's letter case may change, but not its lower-cased form.
  void update(std::int64_t id, std::int64_t position, const Object& object) {
    auto& statement = update_.get(database_, [] {
      return importkcd::update(object_table<Object>, "position, " + field_columns<Object>(), "id");
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind(position).bind_fields(object).bind(id);
    statement.exec();
  }

  void remove(const std::string& folded_name) {
    auto& statement =
        remove_.get(database_, [] { return removal(object_table<Object>, object_name_key); });
    const StatementUse use(statement);
    ValueBinder(statement).bind(database_id_).bind(folded_name);
    statement.exec();
  }

  SQLite::Database& database_;
  std::int64_t database_id_ = 0;
  bool is_new_ = false;
  /// Lower-cased names of removed objects that will come back.
  std::unordered_set<std::string> leaving_;
  /// Found out when it is first needed.
  std::optional<EndPositions> end_positions_;
  CachedStatement query_;
  CachedStatement last_ones_;
  CachedStatement insert_;
  CachedStatement update_;
  CachedStatement remove_;
};

}  // namespace importkcd
