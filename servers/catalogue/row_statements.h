#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "model/definition_fields.h"

namespace importkcd {

/// A statement that is prepared at its first use and kept.
class CachedStatement {
 public:
  template <class MakeSql>
  SQLite::Statement& get(SQLite::Database& database, const MakeSql& make_sql) {
    if (!statement_) {
      statement_ = std::make_unique<SQLite::Statement>(database, make_sql());
    }
    return *statement_;
  }

 private:
  std::unique_ptr<SQLite::Statement> statement_;
};

/// Resets a cached statement at the end of its use, after an error too: a statement left in the
/// middle would keep its view of the file.
class StatementUse {
 public:
  explicit StatementUse(SQLite::Statement& statement) : statement_(statement) {}
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;
  ~StatementUse() { statement_.tryReset(); }

 private:
  SQLite::Statement& statement_;
};

/// The primary key of a part's row: the object's id, then a position for every step down to it.
class RowKey {
 public:
  explicit RowKey(std::int64_t object_id) : values_{object_id} {}

  /// The key in the first `size` columns of a statement's current row.
  RowKey(const SQLite::Statement& statement, int size) : size_(static_cast<std::size_t>(size)) {
    for (int i = 0; i < size; ++i) {
      values_.at(static_cast<std::size_t>(i)) = statement.getColumn(i).getInt64();
    }
  }

  /// The key of the part at a position in a collection of this one.
  RowKey at(std::size_t position) const {
    RowKey result = *this;
    result.values_.at(size_) = static_cast<std::int64_t>(position);
    ++result.size_;
    return result;
  }

  std::span<const std::int64_t> values() const { return {values_.data(), size_}; }

  /// From the outermost collection inwards.
  std::span<const std::int64_t> positions() const { return values().subspan(1); }

  friend bool operator==(const RowKey&, const RowKey&) = default;

 private:
  std::array<std::int64_t, 4> values_{};
  std::size_t size_ = 1;
};

/// Binds values one after another; texts must stay as they are until the statement has run.
class ValueBinder {
 public:
  explicit ValueBinder(SQLite::Statement& statement) : statement_(statement) {}

  template <class Value>
  ValueBinder& bind(const Value& value) {
    ++index_;
    if constexpr (std::is_same_v<Value, std::string>) {
      statement_.bindNoCopy(index_, value);
    } else if constexpr (std::is_same_v<Value, double>) {
      statement_.bind(index_, value);
    } else {
      statement_.bind(index_, static_cast<std::int64_t>(value));
    }
    return *this;
  }

  template <class Row>
  ValueBinder& bind_fields(const Row& row) {
    visit_fields(row, [this](std::string_view, const auto& value) { this->bind(value); });
    return *this;
  }

  ValueBinder& bind_key(const RowKey& key) {
    for (const auto value : key.values()) {
      bind(value);
    }
    return *this;
  }

 private:
  SQLite::Statement& statement_;
  int index_ = 0;
};

/// Takes a value from a column; codes and flags are stored as numbers.
template <class Value>
void read_value(const SQLite::Column& column, Value& value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    value = column.getString();
  } else if constexpr (std::is_same_v<Value, double>) {
    value = column.getDouble();
  } else if constexpr (std::is_same_v<Value, bool>) {
    value = column.getInt() != 0;
  } else {
    value = static_cast<Value>(column.getInt());
  }
}

/// Whether reading the column would give this value, bit for bit.
template <class Value>
bool value_equals(const SQLite::Column& column, const Value& value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    // Zero bytes are part of a text. Read as it lies there: with a zero byte behind it, it would
    // have to be copied, and look empty when there is no memory for that.
    const auto* const text = static_cast<const char*>(column.getBlob());
    return std::string_view(text, static_cast<std::size_t>(column.getBytes())) == value;
  } else if constexpr (std::is_same_v<Value, double>) {
    // A zero's sign counts.
    return std::bit_cast<std::uint64_t>(column.getDouble()) == std::bit_cast<std::uint64_t>(value);
  } else {
    return column.getInt64() == static_cast<std::int64_t>(value);
  }
}

/// The definition in a statement's current row, whose fields begin at `column`.
template <class Row>
Row read_fields(SQLite::Statement& statement, int column) {
  Row row;
  visit_fields(row, [&](std::string_view, auto& value) {
    read_value(statement.getColumn(column), value);
    ++column;
  });
  return row;
}

/// Whether a statement's current row holds this definition in its fields, which begin at `column`.
template <class Row>
bool fields_equal(SQLite::Statement& statement, int column, const Row& row) {
  bool equal = true;
  visit_fields(row, [&](std::string_view, const auto& value) {
    equal = equal && value_equals(statement.getColumn(column++), value);
  });
  return equal;
}

/// The texts in the first column of all rows.
std::vector<std::string> read_texts(SQLite::Statement& query);

/// The columns of a definition's row: "name, value".
template <class Row>
std::string field_columns() {
  std::string result;
  Row row;
  visit_fields(row, [&](std::string_view column, const auto&) {
    result.append(result.empty() ? "" : ", ").append(column);
  });
  return result;
}

/// "(a, b) = (?, ?)" for a comma-separated list of columns.
std::string equal_to_placeholders(std::string_view columns);

/// "table.a, table.b" for a comma-separated list of columns.
std::string qualified(std::string_view columns, std::string_view table);

/// Inserts a row; the values of the columns are to be bound.
std::string insertion(std::string_view table, const std::string& columns);

/// Added to the insertion of a row with these columns and this key: a stored row that has the key
/// gets the values instead, and stays untouched when it has them already.
std::string or_update(const std::string& columns, std::string_view key);

}  // namespace importkcd
