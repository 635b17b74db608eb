#include "tests/support/postgres_server.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <utility>
#include <vector>

#include "tests/support/private_server.h"
#include "tests/support/process.h"

namespace importkcd::testing {
namespace {

/// Debian has the server's programs in a folder a version.
std::string program(const std::string& name) {
  std::vector<std::filesystem::path> versions;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/usr/lib/postgresql", error)) {
    versions.push_back(entry.path());
  }
  const auto newest = std::max_element(versions.begin(), versions.end());
  EXPECT_NE(newest, versions.end()) << "there is no PostgreSQL server";
  return newest == versions.end() ? name : (*newest / "bin" / name).string();
}

/// A value of an ODBC connection string, whatever it holds.
std::string braced(std::string value) {
  for (auto at = value.find('}'); at != std::string::npos; at = value.find('}', at + 2)) {
    value.insert(at, 1, '}');
  }
  return "{" + value + "}";
}

/// The data of a server that nobody has used yet: making them takes a second, copying them a tenth.
const std::string& unused_postgres_data() {
  static const TemporaryFolder folder("/tmp");
  static const std::string data = [] {
    hand_over(folder.path().string(), {"postgres"});
    const auto secret = folder.write("password", std::string(PostgresServer::password) + "\n");
    hand_over(secret, {"postgres"});
    auto path = folder.file("data");
    auto command = unprivileged_command("KILL", {"postgres"});
    command.insert(command.end(),
                   {program("initdb"), "--pgdata=" + path, "--auth=scram-sha-256",
                    std::string("--username=") + PostgresServer::user, "--pwfile=" + secret,
                    "--encoding=UTF8", "--locale=C.UTF-8", "--no-sync"});
    const auto result = run_process({command[0], {command.begin() + 1, command.end()}});
    EXPECT_EQ(result.exit_status, 0) << result.output << result.errors;
    return path;
  }();
  return data;
}

}  // namespace

PostgresServer::PostgresServer() {
  hand_over(folder_.path().string(), {"postgres"});
  install();
  // Somebody else may take the port in the meantime.
  constexpr int attempts = 5;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    start();
    if (comes_up()) {
      return;
    }
    stop();
  }
  ADD_FAILURE() << read_file(folder_.file("log"));
}

PostgresServer::~PostgresServer() { stop(); }

std::string PostgresServer::connection_string(const std::string& database) const {
  return "Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=" + std::to_string(port_) +
         ";Database=" + braced(database) + ";Uid=" + braced(user) + ";Pwd=" + braced(password);
}

std::string PostgresServer::run_sql(const std::string& database,
                                    const std::string& statements) const {
  const auto result =
      run_process({"/usr/bin/psql",
                   {"--no-psqlrc", "--quiet", "--no-align", "--tuples-only", "--field-separator=\t",
                    "--set=ON_ERROR_STOP=1", "--host=127.0.0.1", "--port=" + std::to_string(port_),
                    std::string("--username=") + user, "--dbname=" + database},
                   {{"PGPASSWORD", password}, {"PGCLIENTENCODING", "UTF8"}},
                   statements,
                   {}});
  EXPECT_EQ(result.exit_status, 0) << result.errors << statements;
  return result.output;
}

void PostgresServer::install() const {
  const auto result =
      run_process({"/bin/cp", {"-a", unused_postgres_data(), folder_.file("data")}});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
}

void PostgresServer::start() {
  port_ = free_port();
  // QUIT ends it at once, and lets it clear up its shared memory.
  auto command = unprivileged_command("QUIT", {"postgres"});
  command.insert(command.end(),
                 {program("postgres"), "-D", folder_.file("data"), "-p", std::to_string(port_),
                  "-c", "listen_addresses=127.0.0.1", "-c", "unix_socket_directories=", "-c",
                  "fsync=off", "-c", "full_page_writes=off", "-c", "shared_buffers=16MB"});
  process_ = start_server(std::move(command), folder_.file("log"));
}

bool PostgresServer::comes_up() const {
  const auto ready = folder_.file("data") + "/postmaster.pid";
  // The server's own file says when it is ready, whoever else answers at that port.
  const auto is_ready = [&] {
    std::error_code error;
    return std::filesystem::exists(ready, error) &&
           read_file(ready).find("\nready ") != std::string::npos;
  };
  return wait_for_server(is_ready, process_);
}

void PostgresServer::stop() {
  if (process_ > 0) {
    kill(process_, SIGQUIT);
    waitpid(process_, nullptr, 0);
    process_ = -1;
  }
}

}  // namespace importkcd::testing
