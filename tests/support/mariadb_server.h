#pragma once

#include <sys/types.h>

#include <string>

#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A MariaDB server of the test's own, with its data in a temporary folder, on a free port of the
/// loopback interface, from its constructor to its destructor. As root it runs as the user
/// "mysql", or "nobody" where there is none. It ends with this process, too. The test fails when it
/// does not come up.
class MariaDbServer {
 public:
  static constexpr const char* user = "reader";
  static constexpr const char* password = "p;w}d={1";

  MariaDbServer();
  ~MariaDbServer();
  MariaDbServer(const MariaDbServer&) = delete;
  MariaDbServer& operator=(const MariaDbServer&) = delete;

  int port() const { return port_; }

  /// An ODBC connection string without user and password.
  std::string connection_string() const;

  /// Runs SQL statements in a database, or in none when its name is empty, and gives what they
  /// select: a line a row, tabulators between. The test fails when they do.
  std::string run_sql(const std::string& database, const std::string& statements) const;

  /// Stops answering, with its connections open, and goes on again.
  void fall_silent() const;
  void wake_up() const;

 private:
  void install() const;
  void start();
  bool comes_up() const;

  /// Blanks or a long path are nothing for its scripts and sockets.
  TemporaryFolder folder_{"/tmp"};
  int port_ = 0;
  pid_t process_ = -1;
};

}  // namespace importkcd::testing
