#pragma once

#include <string>
#include <string_view>

#include "labels/labels_connection.h"

namespace importkcd {

/// How a driver reads a value in braces.
enum class OdbcQuoting {
  /// A closing brace is doubled; the way that ODBC knows.
  doubled_braces,
  /// The value ends at the first "};", and nothing is doubled; FreeTDS reads it so.
  up_to_brace_and_semicolon,
};

/// A value in braces, so that no text can end it or begin another attribute; a semicolon has to
/// follow it. Throws ImportError for a text that not every driver would take for one value: one
/// with "};" or with a NUL character.
std::string quoted_odbc_value(std::string_view value, OdbcQuoting quoting);

/// A connection string as it goes to its driver: with the login's user and password when it names
/// no user itself and no integrated security is asked for, and with the time-outs of a driver that
/// knows them by attributes only.
std::string completed_connection_string(std::string_view connection_string,
                                        const LabelsLogin& login);

/// The connection string with which the FreeTDS driver reaches the login's SQL Server, at its
/// default port if the login names neither a port nor an instance. Throws ImportError for a login
/// that no server could accept.
std::string sql_server_connection_string(const LabelsLogin& login);

}  // namespace importkcd
