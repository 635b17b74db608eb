#pragma once

#include <string>

#include "mondrian/mapping/jdbc_connection.h"

namespace importkcd {

/// The ODBC connection string that reaches the same database as the engine does, by the drivers
/// that Debian packages for PostgreSQL, MariaDB and SQL Server. Throws ImportError, without any
/// part of a password, for a kind of database or an address that has no such string.
std::string odbc_connection_text(const JdbcConnection& connection);

}  // namespace importkcd
