#include "tests/support/mariadb_server.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <utility>
#include <vector>

#include "tests/support/private_server.h"
#include "tests/support/process.h"

namespace importkcd::testing {
namespace {

/// Small: the data are copied with their log.
constexpr const char* log_size = "--innodb-log-file-size=8M";

/// The data of a server that nobody has used yet: making them takes longer than copying them.
const std::string& unused_mariadb_data() {
  static const TemporaryFolder folder("/tmp");
  static const std::string data = [] {
    hand_over(folder.path().string(), {"mysql"});
    auto path = folder.file("data");
    auto command = unprivileged_command("KILL", {"mysql"});
    command.insert(command.end(),
                   {"mariadb-install-db", "--no-defaults", "--datadir=" + path,
                    "--auth-root-authentication-method=normal", "--skip-test-db",
                    "--skip-name-resolve", log_size, "--tmpdir=" + folder.path().string()});
    const auto result = run_process({command[0], {command.begin() + 1, command.end()}});
    EXPECT_EQ(result.exit_status, 0) << result.output << result.errors;
    return path;
  }();
  return data;
}

}  // namespace

MariaDbServer::MariaDbServer() : port_(free_port()) {
  hand_over(folder_.path().string(), {"mysql"});
  install();
  start();
  if (!comes_up()) {
    std::ifstream log(folder_.file("log"));
    ADD_FAILURE() << std::string(std::istreambuf_iterator<char>(log), {});
    return;
  }
  // Somebody else's server may have taken the port meanwhile.
  EXPECT_EQ(run_sql("", "SELECT @@datadir"), folder_.file("data") + "/\n");
}

MariaDbServer::~MariaDbServer() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
}

std::string MariaDbServer::connection_string() const {
  return "DRIVER={MariaDB Unicode};SERVER=127.0.0.1;PORT=" + std::to_string(port_);
}

std::string MariaDbServer::run_sql(const std::string& database,
                                   const std::string& statements) const {
  const auto result =
      run_process({"/usr/bin/mariadb",
                   {"--no-defaults", "--host=127.0.0.1", "--port=" + std::to_string(port_),
                    std::string("--user=") + user, "--batch", "--skip-column-names",
                    "--default-character-set=utf8mb4", database},
                   {{"MYSQL_PWD", password}},
                   statements,
                   {}});
  EXPECT_EQ(result.exit_status, 0) << result.errors << statements;
  return result.output;
}

void MariaDbServer::fall_silent() const {
  kill(process_, SIGSTOP);
  // Its threads go on for a moment.
  int status = 0;
  EXPECT_EQ(waitpid(process_, &status, WUNTRACED), process_);
  EXPECT_TRUE(WIFSTOPPED(status));
}

void MariaDbServer::wake_up() const { kill(process_, SIGCONT); }

void MariaDbServer::install() const {
  const auto result = run_process({"/bin/cp", {"-a", unused_mariadb_data(), folder_.file("data")}});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
}

void MariaDbServer::start() {
  const auto statements = folder_.write(
      "statements", std::string("CREATE USER '") + user + "'@'%' IDENTIFIED BY '" + password +
                        "';\nGRANT ALL ON *.* TO '" + user + "'@'%' WITH GRANT OPTION;\n");
  hand_over(statements, {"mysql"});
  auto command = unprivileged_command("KILL", {"mysql"});
  command.insert(
      command.end(),
      {"/usr/sbin/mariadbd", "--no-defaults", "--datadir=" + folder_.file("data"),
       "--socket=" + folder_.file("socket"), "--pid-file=" + folder_.file("pid"),
       "--log-error=" + folder_.file("log"), "--init-file=" + statements,
       "--port=" + std::to_string(port_), "--bind-address=127.0.0.1", "--skip-name-resolve",
       "--tmpdir=" + folder_.path().string(), "--character-set-server=utf8mb4",
       "--innodb-flush-log-at-trx-commit=0", "--innodb-buffer-pool-size=16M", log_size});
  process_ = start_server(std::move(command), folder_.file("output"));
}

bool MariaDbServer::comes_up() const {
  return wait_for_server([this] { return accepts_connections(port_); }, process_);
}

}  // namespace importkcd::testing
