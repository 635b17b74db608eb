#include "servers/catalogue/row_statements.h"

namespace importkcd {
namespace {

/// "xa, xb" for columns "a, b" and a prefix "x".
std::string prefixed(std::string_view prefix, std::string_view columns) {
  std::string result(prefix);
  for (const char c : columns) {
    result += c;
    if (c == ' ') {
      result += prefix;
    }
  }
  return result;
}

std::string placeholders(std::string_view columns) {
  std::string result = "?";
  for (const char c : columns) {
    result += c == ',' ? ", ?" : "";
  }
  return result;
}

}  // namespace

std::vector<std::string> read_texts(SQLite::Statement& query) {
  std::vector<std::string> result;
  while (query.executeStep()) {
    result.push_back(query.getColumn(0).getString());
  }
  return result;
}

std::string equal_to_placeholders(std::string_view columns) {
  return "(" + std::string(columns) + ") = (" + placeholders(columns) + ")";
}

std::string qualified(std::string_view columns, std::string_view table) {
  return prefixed(std::string(table) + ".", columns);
}

std::string insertion(std::string_view table, const std::string& columns) {
  return "INSERT INTO " + std::string(table) + " (" + columns + ") VALUES (" +
         placeholders(columns) + ")";
}

std::string or_update(const std::string& columns, std::string_view key) {
  const auto inserted = "(" + prefixed("excluded.", columns) + ")";
  return " ON CONFLICT (" + std::string(key) + ") DO UPDATE SET (" + columns + ") = " + inserted +
         " WHERE (" + columns + ") IS NOT " + inserted;
}

}  // namespace importkcd
