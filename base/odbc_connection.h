#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// How long a database server behind an ODBC driver may take before it counts as failed.
struct OdbcTimeouts {
  std::chrono::seconds connecting{20};
  /// For each answer to a statement, where the driver knows such a limit; 0 is none.
  std::chrono::seconds answering{30};
};

/// The rows that a statement gave, read forward, each once. Belongs to its connection, which has to
/// outlive it and runs no other statement while it lives. All operations throw ImportError of the
/// connection's component when the server fails.
class OdbcRows {
 public:
  virtual ~OdbcRows() = default;

  /// Moves to the next row (the first one at first); false at the end, and for a statement that
  /// gives no rows.
  virtual bool next() = 0;

  /// The position of the column of that name, letter case aside. Throws when there is none.
  virtual std::size_t column(std::string_view name) const = 0;

  /// A column of the current row as UTF-8 text; nothing for NULL. A row's columns are read in
  /// ascending order, each at most once.
  virtual std::optional<std::string> text(std::size_t column) = 0;
};

/// An open connection to a database server; closed by its destructor, which undoes what was begun
/// and not committed. After a failed operation it can still be used, unless the server is gone. All
/// operations throw ImportError of its component, with the driver's own description.
class OdbcConnection {
 public:
  virtual ~OdbcConnection() = default;

  /// The names of the server's databases, in the server's order.
  virtual std::vector<std::string> catalogs() = 0;

  /// Makes a database the default one of the statements that follow.
  virtual void use_database(const std::string& name) = 0;

  /// Runs a statement, which goes to the server as it stands.
  virtual std::unique_ptr<OdbcRows> execute(const std::string& statement) = 0;

  /// From here on statements take effect together, by commit(). Without it, each does by itself.
  virtual void begin() = 0;
  virtual void commit() = 0;
  virtual void roll_back() = 0;
};

/// Opens a connection. `source` names the component whose errors it throws. Throws ImportError with
/// the driver's description when the server cannot be reached or refuses the login.
std::unique_ptr<OdbcConnection> open_odbc(const std::string& connection_string,
                                          const OdbcTimeouts& timeouts, std::string_view source);

}  // namespace importkcd
