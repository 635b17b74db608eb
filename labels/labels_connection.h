#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

namespace error_source {
constexpr std::string_view labels_database = "labels database";
}  // namespace error_source

/// How long a labels server may take before it counts as failed.
struct LabelsTimeouts {
  /// For connecting.
  std::chrono::seconds connecting{20};
  /// For each answer to a statement, where the driver knows such a limit.
  std::chrono::seconds answering{30};
};

/// What it takes to reach a labels server. Texts are UTF-8, as typed.
struct LabelsLogin {
  /// `sqlite:FOLDER`, `odbc:CONNECTION STRING`, or the name of an SQL Server: HOST, HOST\INSTANCE,
  /// HOST,PORT or (local).
  std::string server;
  /// Integrated security: user and password are not used.
  bool secure_login = false;
  std::string user{};
  std::string password{};
  LabelsTimeouts timeouts{};
};

/// The rows that a statement gave, read forward, each once. Belongs to its connection, which has to
/// outlive it and runs no other statement while it lives.
class LabelRows {
 public:
  virtual ~LabelRows() = default;

  /// Moves to the next row (the first one at first); false at the end. Throws ImportError when the
  /// server fails.
  virtual bool next() = 0;

  /// The position of the column of that name, letter case aside. Throws ImportError when there is
  /// none.
  virtual std::size_t column(std::string_view name) const = 0;

  /// A column of the current row as UTF-8 text; nothing for NULL. A row's columns are read in
  /// ascending order, each at most once. Throws ImportError when the server fails.
  virtual std::optional<std::string> text(std::size_t column) = 0;
};

/// An open connection to a labels server; closed by its destructor. After a failed operation it can
/// still be used, unless the server is gone.
class LabelsConnection {
 public:
  virtual ~LabelsConnection() = default;

  /// The names of the server's databases, in the server's order.
  virtual std::vector<std::string> catalogs() = 0;

  /// Makes a database the default one of the statements that follow.
  virtual void use_database(const std::string& name) = 0;

  /// Runs a statement, which goes to the server as it stands.
  virtual std::unique_ptr<LabelRows> execute(const std::string& statement) = 0;
};

/// Opens connections; throws ImportError when the server cannot be reached or refuses the login.
using LabelsConnector = std::function<std::unique_ptr<LabelsConnection>(const LabelsLogin&)>;

/// The connector of the programs: chooses by the form of the server text.
std::unique_ptr<LabelsConnection> open_labels_connection(const LabelsLogin& login);

/// Whether the server of that text may ask for a user name: files (`sqlite:`) never do.
bool labels_server_has_logins(std::string_view server);

/// The server text as it may be shown: passwords of an ODBC connection string read "***".
std::string shown_labels_server(std::string_view server);

}  // namespace importkcd
