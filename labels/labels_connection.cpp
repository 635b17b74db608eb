#include "labels/labels_connection.h"

#include "base/connection_text.h"
#include "labels/labels_servers.h"
#include "labels/odbc_connection_string.h"

namespace importkcd {
namespace {

constexpr std::string_view sqlite_prefix = "sqlite:";
constexpr std::string_view odbc_prefix = "odbc:";

}  // namespace

std::unique_ptr<LabelsConnection> open_labels_connection(const LabelsLogin& login) {
  const std::string_view server = login.server;
  if (server.starts_with(sqlite_prefix)) {
    return open_sqlite_labels(std::string(server.substr(sqlite_prefix.size())));
  }
  if (server.starts_with(odbc_prefix)) {
    return open_odbc_labels(completed_connection_string(server.substr(odbc_prefix.size()), login),
                            login.timeouts);
  }
  return open_odbc_labels(sql_server_connection_string(login), login.timeouts);
}

bool labels_server_has_logins(std::string_view server) {
  return !server.starts_with(sqlite_prefix);
}

std::string shown_labels_server(std::string_view server) {
  // Whatever its form: a connection string may have been typed without its prefix.
  return server.starts_with(sqlite_prefix) ? std::string(server) : mask_passwords(server);
}

}  // namespace importkcd
