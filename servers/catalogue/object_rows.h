#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/name_folding.h"
#include "model/named_collection.h"
#include "servers/catalogue/catalogue_schema.h"
#include "servers/catalogue/part_rows.h"
#include "servers/catalogue/row_statements.h"

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

/// The rows of the objects of one kind, without their parts. Objects are found under their database
/// by their lower-cased names. All operations throw SQLite::Exception when they fail.
template <class Object>
class ObjectRows {
 public:
  /// `database` must outlive this object.
  explicit ObjectRows(SQLite::Database& database) : database_(database) {}

  bool contains(std::int64_t database_id, std::string_view name) {
    auto& query = contains_.get(database_, [] { return "SELECT 1" + by_name(); });
    const StatementUse use(query);
    const auto folded_name = lower_cased(name);
    ValueBinder(query).bind(database_id).bind(folded_name);
    return query.executeStep();
  }

  /// The object's id and the object; nothing when there is none.
  std::optional<std::pair<std::int64_t, Object>> load(std::int64_t database_id,
                                                      std::string_view name) {
    auto& query = query_.get(database_, whole_row_query);
    const StatementUse use(query);
    const auto folded_name = lower_cased(name);
    ValueBinder(query).bind(database_id).bind(folded_name);
    if (!query.executeStep()) {
      return std::nullopt;
    }
    return std::pair(query.getColumn(0).getInt64(), read_fields<Object>(query, 2));
  }

  /// In collection order.
  std::vector<std::string> names(std::int64_t database_id) {
    auto& query = names_.get(database_, [] {
      return "SELECT name FROM " + table() + " WHERE database_id = ? ORDER BY position";
    });
    const StatementUse use(query);
    ValueBinder(query).bind(database_id);
    return read_texts(query);
  }

  /// Prepares for changes of a database; `is_new` promises that nothing is stored in it.
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

  /// Adds copies of all objects of a database to another one, which has none yet. A copy has the
  /// position of its original.
  void copy(std::int64_t from_database, std::int64_t to_database) {
    const auto columns = "folded_name, position, " + field_columns<Object>();
    SQLite::Statement statement(database_, "INSERT INTO " + table() + " (database_id, " + columns +
                                               ") SELECT ?, " + columns + " FROM " + table() +
                                               " WHERE database_id = ?");
    ValueBinder(statement).bind(to_database).bind(from_database);
    statement.exec();
  }

  /// Stores an object in the place of the one that has its name, or at the end of the collection.
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
  static std::string table() { return std::string(object_table<Object>); }

  /// The object of a database, both to be bound.
  static std::string by_name() {
    return " FROM " + table() + " WHERE database_id = ? AND folded_name = ?";
  }

  static std::string whole_row_query() {
    return "SELECT id, position, " + field_columns<Object>() + by_name();
  }

  /// Brings the stored row of that name up to date and gives its id; nothing when there is none.
  std::optional<std::int64_t> put_in_place(const Object& object, const std::string& folded_name) {
    auto& query = query_.get(database_, whole_row_query);
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
      return "SELECT position, folded_name FROM " + table() +
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
      return insertion(table(), "database_id, folded_name, position, " + field_columns<Object>());
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
      return "UPDATE " + table() + " SET " +
             equal_to_placeholders("position, " + field_columns<Object>()) + " WHERE id = ?";
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind(position).bind_fields(object).bind(id);
    statement.exec();
  }

  void remove(const std::string& folded_name) {
    auto& statement = remove_.get(database_, [] { return "DELETE" + by_name(); });
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
  CachedStatement contains_;
  CachedStatement query_;
  CachedStatement names_;
  CachedStatement last_ones_;
  CachedStatement insert_;
  CachedStatement update_;
  CachedStatement remove_;
};

}  // namespace importkcd
