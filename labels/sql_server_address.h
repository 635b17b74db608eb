#pragma once

#include <string>
#include <string_view>

#include "labels/labels_connection.h"

namespace importkcd {

/// Where an SQL Server listens.
struct SqlServerAddress {
  std::string host;
  /// The named instance to ask the server for; empty when a port is known.
  std::string instance;
  /// Decimal; empty for a named instance.
  std::string port;
};

/// What a server name means: HOST, HOST\INSTANCE, HOST,PORT, with "(local)" and "." for this
/// computer and an optional "tcp:" before it. A port beats an instance.
SqlServerAddress sql_server_address(std::string_view server);

/// The connection string with which the FreeTDS driver reaches the login's server. Throws
/// ImportError for a login that no server could accept.
std::string sql_server_connection_string(const LabelsLogin& login);

}  // namespace importkcd
