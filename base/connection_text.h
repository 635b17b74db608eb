#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace importkcd {

// OLE DB and ODBC connection strings: "KEY=VALUE;KEY=VALUE". A value may stand in quotes, inside
// which the closing one is doubled; one whose quote is not closed reaches to the end.

/// One item of a connection string, as views into it.
struct ConnectionItem {
  /// Without the blanks around it; may be empty.
  std::string_view key;
  /// All that stands between the equals sign and the next item, blanks and quotes included.
  std::string_view value;
  /// What stands in quotes at the beginning of the value, its doublings not undone.
  std::string_view quoted;
  /// The character that closes those quotes; NUL for a value without them.
  char closing_quote = '\0';
};

/// The quotes in which ODBC knows values, and those of OLE DB and ODBC together.
inline constexpr std::string_view odbc_quotes = "{";
inline constexpr std::string_view all_connection_quotes = "{\"'";

/// The items of a connection string, the empty ones included. Values may begin with one of
/// `opening_quotes`; an item without an equals sign has an empty value.
std::vector<ConnectionItem> connection_items(std::string_view connection_string,
                                             std::string_view opening_quotes);

/// The values of an OLE DB or ODBC connection string.
class ConnectionValues {
 public:
  explicit ConnectionValues(std::string_view connection_string);

  /// The value of the first item with one of these keys, in the order of the keys, whatever their
  /// letter case; without quotes, or else without the blanks around it. Empty when there is none.
  std::string value(std::initializer_list<std::string_view> keys) const;

 private:
  std::vector<std::pair<std::string, std::string>> values_;
};

/// A connection string, or a message that quotes one, with its passwords replaced by "***": the
/// values of items and of an address's parameters (PWD and every key with the word "password" or
/// "passwd", any letter case), also inside of quoted values and behind quotes that end too early,
/// and what stands in an address as USER:PASSWORD@HOST or, for Oracle, USER/PASSWORD@HOST. What is
/// doubtful is masked.
std::string mask_passwords(std::string_view text);

/// A connection string without the items whose values mask_passwords() would replace. Where a
/// password is part of something else, such as an address, "***" stands in its place.
std::string without_passwords(std::string_view connection_string);

/// Where a connection string says that a database server is.
struct ServerAddress {
  std::string host;
  /// Of SQL Server: the named instance; empty when none is named.
  std::string instance;
  /// Decimal; empty when none is named.
  std::string port;
};

/// What a server name means: HOST, HOST\INSTANCE, HOST,PORT or HOST\INSTANCE,PORT, with "(local)",
/// "." and an empty host for this computer, and an optional "tcp:" before it.
ServerAddress server_address(std::string_view server);

}  // namespace importkcd
