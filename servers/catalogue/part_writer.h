#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "model/named_collection.h"
#include "servers/catalogue/cached_statement.h"
#include "servers/catalogue/row_key.h"
#include "servers/catalogue/row_values.h"
#include "servers/catalogue/statement_texts.h"

namespace importkcd {

/// Calls `visit(key, part)` for all parts that a path of collections leads to from their owner, in
/// the order of their keys.
template <class Owner, class Visit, class Part, class... Path>
void for_each_part(const RowKey& key, const Owner& owner, const Visit& visit,
                   NamedCollection<Part> Owner::*parts, Path... path) {
  for (std::size_t i = 0; i < (owner.*parts).size(); ++i) {
    const Part& part = (owner.*parts)[i];
    if constexpr (sizeof...(path) == 0) {
      visit(key.at(i), part);
    } else {
      for_each_part(key.at(i), part, visit, path...);
    }
  }
}

/// The row of an object that is being written.
struct WrittenObject {
  std::int64_t id = 0;
  /// No parts of it are stored yet.
  bool is_new = false;
};

/// Writes the rows of one part table.
template <class Row>
class PartWriter {
 public:
  PartWriter(SQLite::Database& database, const PartTable& table)
      : database_(database), table_(table) {}

  /// Makes the parts that a path of collections leads to from the object the only ones that it has
  /// in this table. The rows that these parts belong to must be written already.
  ///
  /// Rows that are as they should be are left alone: reading one costs a fraction of writing it.
  template <class Object, class... Path>
  void write(const WrittenObject& written, const Object& object, Path... path) {
    if (written.is_new) {
      for_each_part(
          RowKey(written.id), object,
          [this](const RowKey& key, const Row& row) { insert(key, row); }, path...);
      return;
    }
    const auto differences = differences_from_stored(written.id, object, path...);
    for (const auto& key : differences.surplus) {
      remove(key);
    }
    for (const auto& [key, row] : differences.changed) {
      update(key, *row);
    }
    for (const auto& [key, row] : differences.added) {
      insert(key, *row);
    }
  }

 private:
  using KeyedRow = std::pair<RowKey, const Row*>;

  struct Differences {
    std::vector<RowKey> surplus;
    std::vector<KeyedRow> changed;
    std::vector<KeyedRow> added;
  };

  /// Walks along stored rows and parts at once: both come in the order of their keys.
  template <class Object, class... Path>
  Differences differences_from_stored(std::int64_t object_id, const Object& object, Path... path) {
    Differences result;
    auto& query = query_.get(database_, [this] { return part_rows_query<Row>(table_); });
    const StatementUse use(query);
    ValueBinder(query).bind(object_id);
    auto stored = next_key(query);
    const auto compare = [&](const RowKey& key, const Row& row) {
      for (; stored && *stored < key; stored = next_key(query)) {
        result.surplus.push_back(*stored);
      }
      if (stored != key) {
        result.added.emplace_back(key, &row);
        return;
      }
      if (!fields_equal(query, table_.key_size, row)) {
        result.changed.emplace_back(key, &row);
      }
      stored = next_key(query);
    };
    for_each_part(RowKey(object_id), object, compare, path...);
    for (; stored; stored = next_key(query)) {
      result.surplus.push_back(*stored);
    }
    return result;
  }

  std::optional<RowKey> next_key(SQLite::Statement& query) const {
    return query.executeStep() ? std::optional(RowKey(query, table_.key_size)) : std::nullopt;
  }

  void insert(const RowKey& key, const Row& row) {
    auto& statement = insert_.get(database_, [this] {
      return insertion(table_.name, std::string(table_.key_columns) + ", " + field_columns<Row>());
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(key).bind_fields(row);
    statement.exec();
  }

  void update(const RowKey& key, const Row& row) {
    auto& statement = update_.get(database_, [this] {
      return importkcd::update(table_.name, field_columns<Row>(), table_.key_columns);
    });
    const StatementUse use(statement);
    ValueBinder(statement).bind_fields(row).bind_key(key);
    statement.exec();
  }

  /// Parts of the part leave with it.
  void remove(const RowKey& key) {
    auto& statement =
        remove_.get(database_, [this] { return removal(table_.name, table_.key_columns); });
    const StatementUse use(statement);
    ValueBinder(statement).bind_key(key);
    statement.exec();
  }

  SQLite::Database& database_;
  const PartTable& table_;
  CachedStatement query_;
  CachedStatement insert_;
  CachedStatement update_;
  CachedStatement remove_;
};

}  // namespace importkcd
