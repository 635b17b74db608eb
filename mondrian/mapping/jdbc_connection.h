#pragma once

#include <string>
#include <string_view>

#include "mondrian/sql/sql_text.h"

namespace importkcd {

/// How the engine reaches a data warehouse.
struct JdbcConnection {
  DatabaseKind kind = DatabaseKind::unknown;
  /// Without user and password, unless the data source's own text is a JDBC address with them.
  std::string url;
  /// Class of the driver; empty when the engine is to find one by itself.
  std::string driver;
  std::string user;
  std::string password;

  bool operator==(const JdbcConnection&) const = default;
};

/// What a data source's connection string means: SQL Server through OLE DB or ODBC, PostgreSQL and
/// MariaDB through ODBC (or OLE DB), a "postgresql://" address, and a text that begins with "jdbc:"
/// as it stands. Throws
/// NotExpressible for anything else; the description says why and holds no part of the text that
/// could be a password.
JdbcConnection jdbc_connection(std::string_view connection_string);

/// The engine's connect string for that connection: provider, address, driver, user, password.
std::string engine_connect_string(const JdbcConnection& connection);

}  // namespace importkcd
