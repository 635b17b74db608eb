#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "servers/catalogue/catalogue_rows.h"
#include "servers/catalogue/row_key.h"

namespace importkcd {

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
    // Zero bytes are part of a text.
    const char* text = column.getText();
    return std::string_view(text, static_cast<std::size_t>(column.getBytes())) == value;
  } else if constexpr (std::is_same_v<Value, double>) {
    // A zero's sign counts.
    return std::bit_cast<std::uint64_t>(column.getDouble()) == std::bit_cast<std::uint64_t>(value);
  } else {
    return column.getInt64() == static_cast<std::int64_t>(value);
  }
}

/// The texts in the first column of all rows.
std::vector<std::string> read_texts(SQLite::Statement& query);

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

}  // namespace importkcd
