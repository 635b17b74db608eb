#pragma once

#include <sys/types.h>

#include <string>

#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A PostgreSQL server of the test's own, with its data in a temporary folder, on a free port of
/// the loopback interface, from its constructor to its destructor. As root it runs as the user
/// "postgres", or "nobody" where there is none. It ends with this process, too. The test fails when
/// it does not come up.
class PostgresServer {
 public:
  static constexpr const char* user = "olap reader";
  static constexpr const char* password = "s;e'c}r={e t";

  PostgresServer();
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  int port() const { return port_; }

  /// What it has logged.
  std::string log() const { return read_file(folder_.file("log")); }

  /// An ODBC connection string of a database, with user and password.
  std::string connection_string(const std::string& database) const;

  /// Runs SQL statements in a database and gives what they select: a line a row, tabulators
  /// between. The test fails when they do.
  std::string run_sql(const std::string& database, const std::string& statements) const;

 private:
  void install() const;
  void start();
  bool comes_up() const;
  void stop();

  /// Blanks or a long path are nothing for its scripts and sockets.
  TemporaryFolder folder_{"/tmp"};
  int port_ = 0;
  pid_t process_ = -1;
};

}  // namespace importkcd::testing
