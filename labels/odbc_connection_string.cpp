#include "labels/odbc_connection_string.h"

#include <algorithm>
#include <initializer_list>
#include <vector>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/quoting.h"
#include "base/text.h"

namespace importkcd {
namespace {

bool is_one_of(std::string_view key, std::initializer_list<std::string_view> names) {
  return std::any_of(names.begin(), names.end(),
                     [key](std::string_view name) { return same_name(key, name); });
}

bool names_key(const std::vector<ConnectionItem>& items,
               std::initializer_list<std::string_view> names) {
  return std::any_of(items.begin(), items.end(),
                     [&](const ConnectionItem& item) { return is_one_of(item.key, names); });
}

/// Whether the items name a driver with one of these words in its name or file.
bool names_driver(const std::vector<ConnectionItem>& items,
                  std::initializer_list<const char*> words) {
  return std::any_of(items.begin(), items.end(), [words](const ConnectionItem& item) {
    const auto value = lower_cased(item.value);
    return same_name(item.key, "DRIVER") &&
           std::any_of(words.begin(), words.end(), [&value](const char* word) {
             return value.find(word) != std::string::npos;
           });
  });
}

std::string freetds_value(std::string_view value) {
  return quoted_odbc_value(value, OdbcQuoting::up_to_brace_and_semicolon);
}

}  // namespace

std::string quoted_odbc_value(std::string_view value, OdbcQuoting quoting) {
  if (value.find('\0') != std::string_view::npos || value.find("};") != std::string_view::npos) {
    throw ImportError("A text with '};' or a NUL character cannot be part of a connection",
                      error_source::labels_database);
  }
  return quoting == OdbcQuoting::doubled_braces ? in_quotes(value, '{')
                                                : "{" + std::string(value) + "}";
}

std::string completed_connection_string(std::string_view connection_string,
                                        const LabelsLogin& login) {
  const auto items = connection_items(connection_string, odbc_quotes);
  std::string result;
  const auto add = [&result](std::string_view key, std::string_view value) {
    result.append(result.empty() ? "" : ";").append(key).append("=").append(value);
  };
  for (const auto& item : items) {
    if (!item.key.empty()) {
      add(item.key, trimmed(item.value));
    }
  }
  const bool for_freetds = names_driver(items, {"freetds", "tdsodbc"});
  const auto quoting =
      for_freetds ? OdbcQuoting::up_to_brace_and_semicolon : OdbcQuoting::doubled_braces;
  if (!login.secure_login && !login.user.empty() &&
      !names_key(items, {"UID", "USER", "USERNAME", "USER ID"})) {
    add("UID", quoted_odbc_value(login.user, quoting));
    if (!names_key(items, {"PWD", "PASSWORD"})) {
      add("PWD", quoted_odbc_value(login.password, quoting));
    }
  }
  // This driver passes the time-outs of the ODBC interface by.
  if (names_driver(items, {"mariadb", "maodbc"}) &&
      !names_key(items, {"CONN_TIMEOUT", "READ_TIMEOUT"})) {
    add("CONN_TIMEOUT", std::to_string(login.timeouts.connecting.count()));
    add("READ_TIMEOUT", std::to_string(login.timeouts.answering.count()));
  }
  // FreeTDS misses a final value in braces without a semicolon behind it, others mind an empty
  // item.
  return result + (for_freetds ? ";" : "");
}

std::string sql_server_connection_string(const LabelsLogin& login) {
  constexpr std::string_view default_port = "1433";
  if (!login.secure_login && login.user.empty()) {
    // The driver would fall back on integrated security.
    throw ImportError("Login failed for user ''.", error_source::labels_database);
  }
  const auto address = server_address(login.server);
  std::string text = "DRIVER={FreeTDS};SERVER=";
  if (address.port.empty() && !address.instance.empty()) {
    text += freetds_value(address.host + '\\' + address.instance);
  } else {
    // The driver cannot do with instance and port, and the port says all.
    text += freetds_value(address.host) + ";PORT=" +
            freetds_value(address.port.empty() ? default_port : std::string_view(address.port));
  }
  text += ";TDS_Version=7.4;ClientCharset=UTF-8;";
  if (login.secure_login) {
    return text + "Trusted_Connection=Yes;";
  }
  return text + "UID=" + freetds_value(login.user) + ";PWD=" + freetds_value(login.password) + ";";
}

}  // namespace importkcd
