#include "labels/odbc_connection_string.h"

#include <algorithm>
#include <initializer_list>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/trimmed.h"

namespace importkcd {
namespace {

/// The position after the closing brace of a value that begins with an opening one.
std::size_t braced_length(std::string_view text) {
  std::size_t position = 1;
  while (position < text.size()) {
    if (text[position] != '}') {
      ++position;
    } else if (text.substr(position, 2) == "}}") {
      position += 2;
    } else {
      return position + 1;
    }
  }
  return text.size();
}

/// Takes the value of an item off the front of `rest`, with the semicolon that ends it.
std::string_view take_value(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
  const auto quoted = rest.substr(0, 1) == "{" ? braced_length(rest) : 0;
  const auto end = std::min(rest.find(';', quoted), rest.size());
  const auto value = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return trimmed(value, blanks);
}

bool is_one_of(std::string_view key, std::initializer_list<std::string_view> names) {
  return std::any_of(names.begin(), names.end(),
                     [key](std::string_view name) { return same_name(key, name); });
}

bool names_key(const std::vector<OdbcItem>& items, std::initializer_list<std::string_view> names) {
  return std::any_of(items.begin(), items.end(),
                     [&](const OdbcItem& item) { return is_one_of(item.key, names); });
}

/// Whether the items name a driver with one of these words in its name or file.
bool names_driver(const std::vector<OdbcItem>& items, std::initializer_list<const char*> words) {
  return std::any_of(items.begin(), items.end(), [words](const OdbcItem& item) {
    const auto value = lower_cased(item.value);
    return same_name(item.key, "DRIVER") &&
           std::any_of(words.begin(), words.end(), [&value](const char* word) {
             return value.find(word) != std::string::npos;
           });
  });
}

std::string joined(const std::vector<OdbcItem>& items) {
  std::string result;
  for (const auto& [key, value] : items) {
    result.append(result.empty() ? "" : ";").append(key).append("=").append(value);
  }
  return result;
}

}  // namespace

std::vector<OdbcItem> odbc_items(std::string_view connection_string) {
  std::vector<OdbcItem> items;
  auto rest = connection_string;
  while (!rest.empty()) {
    const auto key_end = std::min(rest.find_first_of("=;"), rest.size());
    const auto key = trimmed(rest.substr(0, key_end), blanks);
    const bool has_value = key_end < rest.size() && rest[key_end] == '=';
    rest.remove_prefix(std::min(key_end + 1, rest.size()));
    const auto value = has_value ? take_value(rest) : std::string_view{};
    if (!key.empty()) {
      items.push_back({std::string(key), std::string(value)});
    }
  }
  return items;
}

std::string quoted_odbc_value(std::string_view value, OdbcQuoting quoting) {
  if (value.find('\0') != std::string_view::npos || value.find("};") != std::string_view::npos) {
    throw ImportError("A text with '};' or a NUL character cannot be part of a connection",
                      error_source::labels_database);
  }
  const bool doubled = quoting == OdbcQuoting::doubled_braces;
  std::string result = "{";
  for (const char character : value) {
    result.append(doubled && character == '}' ? 2 : 1, character);
  }
  return result + '}';
}

std::string completed_connection_string(std::string_view connection_string,
                                        const LabelsLogin& login) {
  auto items = odbc_items(connection_string);
  const bool for_freetds = names_driver(items, {"freetds", "tdsodbc"});
  const auto quoting =
      for_freetds ? OdbcQuoting::up_to_brace_and_semicolon : OdbcQuoting::doubled_braces;
  if (!login.secure_login && !login.user.empty() &&
      !names_key(items, {"UID", "USER", "USERNAME", "USER ID"})) {
    items.push_back({"UID", quoted_odbc_value(login.user, quoting)});
    if (!names_key(items, {"PWD", "PASSWORD"})) {
      items.push_back({"PWD", quoted_odbc_value(login.password, quoting)});
    }
  }
  // This driver passes the time-outs of the ODBC interface by.
  if (names_driver(items, {"mariadb", "maodbc"}) &&
      !names_key(items, {"CONN_TIMEOUT", "READ_TIMEOUT"})) {
    items.push_back({"CONN_TIMEOUT", std::to_string(login.timeouts.connecting.count())});
    items.push_back({"READ_TIMEOUT", std::to_string(login.timeouts.answering.count())});
  }
  // FreeTDS misses a final value in braces without a semicolon behind it, others mind an empty
  // item.
  return joined(items) + (for_freetds ? ";" : "");
}

}  // namespace importkcd
