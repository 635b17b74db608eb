#include "labels/sql_server_address.h"

#include <algorithm>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/trimmed.h"
#include "labels/odbc_connection_string.h"

namespace importkcd {
namespace {

constexpr std::string_view default_port = "1433";
constexpr std::string_view blank = " ";

/// Takes what stands behind the separator off the end of `text`.
std::string_view take_tail(std::string_view& text, char separator) {
  const auto at = text.find(separator);
  if (at == std::string_view::npos) {
    return {};
  }
  const auto tail = text.substr(at + 1);
  text = text.substr(0, at);
  return trimmed(tail, blank);
}

std::string freetds_value(std::string_view value) {
  return quoted_odbc_value(value, OdbcQuoting::up_to_brace_and_semicolon);
}

bool means_this_computer(std::string_view host) {
  return host.empty() || host == "." || same_name(host, "(local)");
}

}  // namespace

SqlServerAddress sql_server_address(std::string_view server) {
  constexpr std::string_view protocol = "tcp:";
  auto rest = trimmed(server, blank);
  if (same_name(rest.substr(0, protocol.size()), protocol)) {
    rest.remove_prefix(protocol.size());
  }
  SqlServerAddress address;
  address.port = take_tail(rest, ',');
  address.instance = take_tail(rest, '\\');
  const auto host = trimmed(rest, blank);
  address.host = means_this_computer(host) ? "localhost" : std::string(host);
  if (!address.port.empty()) {
    // The driver cannot do with both, and the port says all.
    address.instance.clear();
  } else if (address.instance.empty()) {
    address.port = default_port;
  }
  return address;
}

std::string sql_server_connection_string(const LabelsLogin& login) {
  if (!login.secure_login && login.user.empty()) {
    // The driver would fall back on integrated security.
    throw ImportError("Login failed for user ''.", error_source::labels_database);
  }
  const auto address = sql_server_address(login.server);
  std::string text = "DRIVER={FreeTDS};SERVER=";
  if (address.port.empty()) {
    text += freetds_value(address.host + '\\' + address.instance);
  } else {
    text += freetds_value(address.host) + ";PORT=" + freetds_value(address.port);
  }
  text += ";TDS_Version=7.4;ClientCharset=UTF-8;";
  if (login.secure_login) {
    return text + "Trusted_Connection=Yes;";
  }
  return text + "UID=" + freetds_value(login.user) + ";PWD=" + freetds_value(login.password) + ";";
}

}  // namespace importkcd
