#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/database_content.h"
#include "tests/support/tds_protocol.h"

namespace importkcd::testing {

/// A small server that speaks SQL Server's protocol on a free port of the loopback interface, from
/// its constructor to its destructor. It knows one user with a password, lists, makes, drops and
/// switches its databases, and runs statements in SQLite.
class TdsServer {
 public:
  static constexpr const char* user = "reader";
  static constexpr const char* password = "p;w}d={1}";

  /// The first database, and there is one, is where a new connection begins.
  explicit TdsServer(const std::vector<DatabaseContent>& databases);
  ~TdsServer();
  TdsServer(const TdsServer&) = delete;
  TdsServer& operator=(const TdsServer&) = delete;

  /// "127.0.0.1,PORT".
  std::string address() const;

  /// Everything that clients sent: all batches, and all logins, refused ones too.
  std::vector<std::string> batches() const;
  std::vector<TdsLogin> logins() const;
  void forget_batches();

  enum class Breakdown { none, hangs_up, falls_silent };
  /// How the server ends every result after a number of rows.
  void break_down_after(int rows, Breakdown breakdown);
  /// No answer to any message from now on, not even to a login.
  void ignore_everything();

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace importkcd::testing
