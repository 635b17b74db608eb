#pragma once

#include <string>
#include <string_view>

#include "servers/catalogue/catalogue_rows.h"
#include "servers/catalogue/catalogue_schema.h"

namespace importkcd {

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

/// Inserts a row; the values of the columns are to be bound.
std::string insertion(std::string_view table, const std::string& columns);

/// Sets columns of the row with a key; the values of the columns, then those of the key are to be
/// bound.
std::string update(std::string_view table, const std::string& columns, std::string_view key);

/// Removes the row with a key, which is to be bound.
std::string removal(std::string_view table, std::string_view key);

/// The key that an object is found by when it is asked for by its name.
constexpr std::string_view object_name_key = "database_id, folded_name";

/// Reads columns of the object with a name; object_name_key is to be bound.
template <class Object>
std::string named_object_query(const std::string& columns) {
  return "SELECT " + columns + " FROM " + std::string(object_table<Object>) + " WHERE " +
         equal_to_placeholders(object_name_key);
}

/// Reads the keys and fields of all rows that an object has in a part table, in the order of the
/// keys; the object's id is to be bound.
template <class Row>
std::string part_rows_query(const PartTable& table) {
  const std::string key(table.key_columns);
  return "SELECT " + key + ", " + field_columns<Row>() + " FROM " + std::string(table.name) +
         " WHERE " + key.substr(0, key.find(',')) + " = ? ORDER BY " + key;
}

}  // namespace importkcd
