#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "model/named_collection.h"
#include "servers/catalogue/catalogue_schema.h"
#include "servers/catalogue/row_statements.h"

namespace importkcd {

/// Where a part belongs: the positions in its key, from the outermost collection inwards.
using Positions = std::span<const std::int64_t>;

/// Other programs can write to the file too: positions with gaps, rows without an owner.
[[noreturn]] inline void throw_damaged() {
  throw SQLite::Exception("parts of an object are missing");
}

/// The part at a stored position; throws SQLite::Exception when there is none.
template <class Part>
Part& part_at(NamedCollection<Part>& collection, std::int64_t position) {
  const auto index = static_cast<std::size_t>(position);
  if (index >= collection.size()) {
    throw_damaged();
  }
  return collection.edit_at(index);
}

/// Calls `visit(key, collection)` for all collections that a path leads to from their owner; the
/// key is that of the part which the collection belongs to.
template <class Owner, class Visit, class Part, class... Path>
void for_each_collection(const RowKey& key, const Owner& owner, const Visit& visit,
                         NamedCollection<Part> Owner::*parts, Path... path) {
  const auto& collection = owner.*parts;
  if constexpr (sizeof...(path) == 0) {
    visit(key, collection);
  } else {
    for (std::size_t i = 0; i < collection.size(); ++i) {
      for_each_collection(key.at(i), collection[i], visit, path...);
    }
  }
}

/// The row of an object that is being written.
struct WrittenObject {
  std::int64_t id = 0;
  /// No parts of it are stored yet.
  bool is_new = false;
};

/// The rows of one part table. All operations throw SQLite::Exception when they fail.
template <class Row>
class PartRows {
 public:
  /// `database` and `table` must outlive this object.
  PartRows(SQLite::Database& database, const PartTable& table)
      : database_(database), table_(table) {}

  /// Reads all parts of an object, those of nested collections included, and adds each to the
  /// collection that `collection_at` gives for its positions.
  template <class CollectionAt>
  void read(std::int64_t object_id, const CollectionAt& collection_at) {
    auto& rows = query();
    const StatementUse use(rows);
    ValueBinder(rows).bind(object_id);
    while (rows.executeStep()) {
      const RowKey key(rows, table_.key_size);
      const Positions at = key.positions();
      NamedCollection<Row>& collection = collection_at(at);
      if (static_cast<std::size_t>(at.back()) != collection.size()) {
        throw_damaged();
      }
      collection.add(read_fields<Row>(rows, table_.key_size));
    }
  }

  /// The same for parts that are in one collection.
  void read_into(std::int64_t object_id, NamedCollection<Row>& collection) {
    read(
        object_id, [&](Positions) -> auto& { return collection; });
  }

  /// Makes the parts that a path of collections leads to from the object the only ones that it has
  /// in this table. The rows that these parts belong to must be written already. Rows that are as
  /// they should be are left alone.
  template <class Object, class... Path>
  void write(const WrittenObject& written, const Object& object, Path... path) {
    if (!written.is_new && is_stored(written.id, object, path...)) {
      return;
    }
    for_each_collection(
        RowKey(written.id), object,
        [&](const RowKey& owner, const NamedCollection<Row>& parts) {
          for (std::size_t i = 0; i < parts.size(); ++i) {
            put(owner.at(i), parts[i]);
          }
          if (!written.is_new) {
            remove_behind(owner, parts.size());
          }
        },
        path...);
  }

  /// Gives the copies that ObjectRows::copy() made of a database's objects copies of these parts.
  void copy(std::string_view object_table, std::int64_t from_database, std::int64_t to_database) {
    const auto object_id = table_.key_columns.substr(0, table_.key_columns.find(','));
    const auto columns =
        std::string(table_.key_columns.substr(object_id.size() + 2)) + ", " + field_columns<Row>();
    const std::string objects(object_table);
    const std::string parts(table_.name);
    SQLite::Statement statement(
        database_, "INSERT INTO " + parts + " (" + std::string(object_id) + ", " + columns +
                       ") SELECT copies.id, " + qualified(columns, parts) + " FROM " + objects +
                       " AS originals JOIN " + objects +
                       " AS copies ON copies.database_id = ?"
                       " AND copies.position = originals.position JOIN " +
                       parts + " ON " + parts + "." + std::string(object_id) +
                       " = originals.id WHERE originals.database_id = ?");
    ValueBinder(statement).bind(to_database).bind(from_database);
    statement.exec();
  }

 private:
  /// Reads the keys and fields of all rows of an object, in the order of the keys; the object's id
  /// is to be bound.
  SQLite::Statement& query() {
    return query_.get(database_, [this] {
      const std::string key(table_.key_columns);
      return "SELECT " + key + ", " + field_columns<Row>() + " FROM " + std::string(table_.name) +
             " WHERE " + key.substr(0, key.find(',')) + " = ? ORDER BY " + key;
    });
  }

  /// Whether an object's rows are these very parts. In an update nearly all are: to look at them in
  /// one sweep first saves a fifth of it.
  template <class Object, class... Path>
  bool is_stored(std::int64_t object_id, const Object& object, Path... path) {
    auto& rows = query();
    const StatementUse use(rows);
    ValueBinder(rows).bind(object_id);
    bool equal = true;
    for_each_collection(
        RowKey(object_id), object,
        [&](const RowKey& owner, const NamedCollection<Row>& parts) {
          for (std::size_t i = 0; equal && i < parts.size(); ++i) {
            equal = rows.executeStep() && RowKey(rows, table_.key_size) == owner.at(i) &&
                    fields_equal(rows, table_.key_size, parts[i]);
          }
        },
        path...);
    return equal && !rows.executeStep();
  }

  /// Adds a row, or brings the one that has the key up to date.
  void put(const RowKey& key, const Row& row) {
    auto& statement = put_.get(database_, [this] {
      const auto fields = field_columns<Row>();
      return insertion(table_.name, std::string(table_.key_columns) + ", " + fields) +
             or_update(fields, table_.key_columns);
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(key).bind_fields(row);
    statement.exec();
  }

  /// Removes the rows of a collection but its first ones. Parts of the parts leave with them.
  void remove_behind(const RowKey& owner, std::size_t first_ones) {
    auto& statement = remove_.get(database_, [this] {
      const auto owner_columns = table_.key_columns.substr(0, table_.key_columns.rfind(','));
      return "DELETE FROM " + std::string(table_.name) + " WHERE " +
             equal_to_placeholders(owner_columns) + " AND position NOT BETWEEN 0 AND ? - 1";
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(owner).bind(first_ones);
    statement.exec();
  }

  SQLite::Database& database_;
  const PartTable& table_;
  CachedStatement query_;
  CachedStatement put_;
  CachedStatement remove_;
};

}  // namespace importkcd
