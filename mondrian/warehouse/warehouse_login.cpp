#include "mondrian/warehouse/warehouse_login.h"

#include <string_view>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/quoting.h"
#include "base/text.h"

namespace importkcd {
namespace {

/// What an address of the engine says; texts are not encoded any more.
struct AddressParts {
  std::string host;
  std::string port;
  std::string database;
  /// Names in lower case.
  std::vector<std::pair<std::string, std::string>> parameters;

  std::string parameter(std::string_view name) const {
    for (const auto& [known, value] : parameters) {
      if (known == name) {
        return value;
      }
    }
    return {};
  }
};

[[noreturn]] void refuse_address() {
  throw ImportError(
      "the data source's connection says nothing that an ODBC driver understands; "
      "--connect-string-file names a file with an ODBC connection string",
      error_source::olap_server);
}

int hex_digit(char c) {
  constexpr std::string_view known = "0123456789abcdef";
  const auto at = known.find(static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c));
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

std::string without_codes(std::string_view text) {
  constexpr int base = 16;
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? hex_digit(text[i + 1]) : -1;
    const int low = high >= 0 ? hex_digit(text[i + 2]) : -1;
    if (low < 0) {
      result += text[i];
      continue;
    }
    result += static_cast<char>(high * base + low);
    i += 2;
  }
  return result;
}

std::string_view cut(std::string_view& text, std::string_view marks) {
  const auto at = text.find_first_of(marks);
  const auto front = text.substr(0, at);
  text.remove_prefix(at == std::string_view::npos ? text.size() : at + 1);
  return front;
}

/// Takes "HOST:PORT/DATABASE", with parameters behind `parameters_mark`, apart.
AddressParts parts_of(std::string_view text, std::string_view separators) {
  AddressParts parts;
  auto parameters = text;
  auto place = cut(parameters, separators);
  auto server = cut(place, "/");
  parts.database = without_codes(place);
  if (server.starts_with('[')) {
    parts.host = cut(server, "]").substr(1);
    cut(server, ":");
    parts.port = server;
  } else {
    parts.host = without_codes(cut(server, ":"));
    parts.port = server;
  }
  if (parts.host.empty()) {
    refuse_address();
  }
  while (!parameters.empty()) {
    auto value = cut(parameters, "&;");
    const auto name = cut(value, "=");
    parts.parameters.emplace_back(lower_cased(name), without_codes(value));
  }
  return parts;
}

/// Collects the items of a connection string.
class OdbcItems {
 public:
  /// Of the driver for PostgreSQL, which knows braces around passwords only.
  enum class Braces { around_all, around_passwords };

  OdbcItems(std::string text, Braces braces) : text_(std::move(text)), braces_(braces) {}

  /// Adds an item, unless its value is empty.
  void add(std::string_view key, const std::string& value) {
    const bool in_braces = braces_ == Braces::around_all || key == password_key;
    constexpr std::string_view nul("\0", 1);
    if (value.find(nul) != std::string::npos ||
        (!in_braces && value.find_first_of(";{}") != std::string::npos)) {
      throw ImportError(
          "a name in the data source's connection has a character that the ODBC driver does not "
          "take",
          error_source::olap_server);
    }
    if (!value.empty()) {
      text_.append(key).append("=").append(in_braces ? in_quotes(value, '{') : value).append(";");
    }
  }

  const std::string& text() const { return text_; }

  static constexpr std::string_view password_key = "PWD";

 private:
  std::string text_;
  Braces braces_;
};

std::string first_of(const std::string& first, const std::string& second) {
  return first.empty() ? second : first;
}

OdbcItems first_items(DatabaseKind kind) {
  switch (kind) {
    case DatabaseKind::postgresql:
      // A failed statement is for this program to undo.
      return {"Driver={PostgreSQL Unicode};Protocol=7.4-0;", OdbcItems::Braces::around_passwords};
    case DatabaseKind::mariadb:
      return {"Driver={MariaDB Unicode};", OdbcItems::Braces::around_all};
    default:
      return {"Driver={FreeTDS};", OdbcItems::Braces::around_all};
  }
}

}  // namespace

std::string odbc_connection_text(const JdbcConnection& connection) {
  std::string_view url = connection.url;
  const auto has_begin = [&url](std::string_view begin) {
    const bool has = lower_cased(url.substr(0, begin.size())) == begin;
    url.remove_prefix(has ? begin.size() : 0);
    return has;
  };
  auto items = first_items(connection.kind);
  const auto add_all = [&](const AddressParts& parts, const std::string& default_port) {
    items.add("Server", parts.host);
    items.add("Port", first_of(parts.port, default_port));
    items.add("Database", parts.database);
    items.add("UID", first_of(connection.user, parts.parameter("user")));
    items.add(OdbcItems::password_key, first_of(connection.password, parts.parameter("password")));
  };
  if (has_begin("jdbc:postgresql://")) {
    const auto parts = parts_of(url, "?");
    add_all(parts, "5432");
    items.add("SSLmode", parts.parameter("sslmode"));
  } else if (has_begin("jdbc:mariadb://") || has_begin("jdbc:mysql://")) {
    add_all(parts_of(url, "?"), "3306");
  } else if (has_begin("jdbc:jtds:sqlserver://")) {
    auto parts = parts_of(url, ";");
    const auto instance = parts.parameter("instance");
    if (parts.port.empty() && !instance.empty()) {
      parts.host += "\\" + instance;
    }
    add_all(parts, instance.empty() ? "1433" : "");
    return items.text() + "TDS_Version=7.4;ClientCharset=UTF-8;";
  } else {
    refuse_address();
  }
  return items.text();
}

}  // namespace importkcd
