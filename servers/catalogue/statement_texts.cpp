#include "servers/catalogue/statement_texts.h"

#include <algorithm>

namespace importkcd {
namespace {

std::string placeholders(std::string_view columns) {
  std::string result = "?";
  for (auto more = std::count(columns.begin(), columns.end(), ','); more > 0; --more) {
    result += ", ?";
  }
  return result;
}

}  // namespace

std::string equal_to_placeholders(std::string_view columns) {
  return "(" + std::string(columns) + ") = (" + placeholders(columns) + ")";
}

std::string insertion(std::string_view table, const std::string& columns) {
  return "INSERT INTO " + std::string(table) + " (" + columns + ") VALUES (" +
         placeholders(columns) + ")";
}

std::string update(std::string_view table, const std::string& columns, std::string_view key) {
  return "UPDATE " + std::string(table) + " SET " + equal_to_placeholders(columns) + " WHERE " +
         equal_to_placeholders(key);
}

std::string removal(std::string_view table, std::string_view key) {
  return "DELETE FROM " + std::string(table) + " WHERE " + equal_to_placeholders(key);
}

}  // namespace importkcd
