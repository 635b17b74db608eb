#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "model/named_collection.h"
#include "servers/catalogue/cached_statement.h"
#include "servers/catalogue/row_key.h"
#include "servers/catalogue/row_values.h"
#include "servers/catalogue/statement_texts.h"

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

/// Reads the rows of one part table.
template <class Row>
class PartReader {
 public:
  PartReader(SQLite::Database& database, const PartTable& table)
      : database_(database), table_(table) {}

  /// Reads all parts of an object, those of nested collections included, and adds each to the
  /// collection that `collection_at` gives for its positions.
  template <class CollectionAt>
  void read(std::int64_t object_id, const CollectionAt& collection_at) {
    auto& query = query_.get(database_, [this] { return part_rows_query<Row>(table_); });
    const StatementUse use(query);
    ValueBinder(query).bind(object_id);
    while (query.executeStep()) {
      const RowKey key(query, table_.key_size);
      const Positions at = key.positions();
      NamedCollection<Row>& collection = collection_at(at);
      if (static_cast<std::size_t>(at.back()) != collection.size()) {
        throw_damaged();
      }
      collection.add(read_fields<Row>(query, table_.key_size));
    }
  }

  /// The same for parts that are in one collection.
  void read_into(std::int64_t object_id, NamedCollection<Row>& collection) {
    read(
        object_id, [&](Positions) -> auto& { return collection; });
  }

 private:
  SQLite::Database& database_;
  const PartTable& table_;
  CachedStatement query_;
};

}  // namespace importkcd
