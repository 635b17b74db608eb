#include "tests/support/mariadb_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <vector>

#include "tests/support/process.h"

namespace importkcd::testing {
namespace {

/// The user that a server runs as when this process is root's; null otherwise.
const passwd* unprivileged_user() {
  if (geteuid() != 0) {
    return nullptr;
  }
  const auto* const entry = getpwnam("mysql");
  return entry != nullptr ? entry : getpwnam("nobody");
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

int free_port() {
  const int number = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  auto address = loopback(0);
  socklen_t length = sizeof(address);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  EXPECT_EQ(bind(number, generic, length), 0);
  EXPECT_EQ(getsockname(number, generic, &length), 0);
  close(number);
  return ntohs(address.sin_port);
}

bool accepts_connections(int port) {
  const int number = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  auto address = loopback(port);
  const bool connected =
      connect(number, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  close(number);
  return connected;
}

bool runs(pid_t process) {
  siginfo_t information{};
  return waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOHANG | WNOWAIT) ==
             0 &&
         information.si_pid == 0;
}

/// A command that runs as the unprivileged user and ends with this process.
std::vector<std::string> unprivileged(const std::string& program) {
  std::vector<std::string> command{"setpriv", "--pdeathsig", "KILL"};
  if (const auto* const entry = unprivileged_user()) {
    command.insert(command.end(), {"--reuid", std::to_string(entry->pw_uid), "--regid",
                                   std::to_string(entry->pw_gid), "--clear-groups"});
  }
  command.push_back(program);
  return command;
}

void hand_over(const std::string& path) {
  if (const auto* const entry = unprivileged_user()) {
    EXPECT_EQ(chown(path.c_str(), entry->pw_uid, entry->pw_gid), 0);
  }
}

}  // namespace

MariaDbServer::MariaDbServer() : port_(free_port()) {
  hand_over(folder_.path().string());
  install();
  start();
  if (!comes_up()) {
    std::ifstream log(folder_.file("log"));
    ADD_FAILURE() << std::string(std::istreambuf_iterator<char>(log), {});
  }
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

void MariaDbServer::fall_silent() const { kill(process_, SIGSTOP); }

void MariaDbServer::wake_up() const { kill(process_, SIGCONT); }

void MariaDbServer::install() const {
  auto command = unprivileged("mariadb-install-db");
  command.insert(command.end(), {"--no-defaults", "--datadir=" + folder_.file("data"),
                                 "--auth-root-authentication-method=normal", "--skip-test-db",
                                 "--skip-name-resolve"});
  const auto result =
      run_process({"/usr/bin/setpriv", {command.begin() + 1, command.end()}, {}, {}, {}});
  EXPECT_EQ(result.exit_status, 0) << result.output << result.errors;
}

void MariaDbServer::start() {
  const auto statements =
      folder_.write("statements", std::string("CREATE USER '") + user + "'@'%' IDENTIFIED BY '" +
                                      password + "';\nGRANT ALL ON *.* TO '" + user + "'@'%';\n");
  hand_over(statements);
  auto command = unprivileged("/usr/sbin/mariadbd");
  command.insert(
      command.end(),
      {"--no-defaults", "--datadir=" + folder_.file("data"), "--socket=" + folder_.file("socket"),
       "--pid-file=" + folder_.file("pid"), "--log-error=" + folder_.file("log"),
       "--init-file=" + statements, "--port=" + std::to_string(port_), "--bind-address=127.0.0.1",
       "--skip-name-resolve", "--character-set-server=utf8mb4",
       "--innodb-flush-log-at-trx-commit=0", "--innodb-buffer-pool-size=16M"});
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (auto& argument : command) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  EXPECT_EQ(posix_spawn(&process_, "/usr/bin/setpriv", nullptr, nullptr, arguments.data(), environ),
            0);
}

bool MariaDbServer::comes_up() const {
  constexpr int pause_milliseconds = 20;
  while (!accepts_connections(port_)) {
    if (process_ <= 0 || !runs(process_)) {
      return false;
    }
    poll(nullptr, 0, pause_milliseconds);
  }
  return true;
}

}  // namespace importkcd::testing
