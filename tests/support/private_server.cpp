#include "tests/support/private_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace importkcd::testing {
namespace {

/// The user that a server runs as when this process is root's; null otherwise.
const passwd* unprivileged_user(const std::vector<std::string>& users) {
  if (geteuid() != 0) {
    return nullptr;
  }
  for (const auto& user : users) {
    if (const auto* const entry = getpwnam(user.c_str())) {
      return entry;
    }
  }
  return getpwnam("nobody");
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

}  // namespace

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

std::vector<std::string> unprivileged_command(const std::string& signal,
                                              const std::vector<std::string>& users) {
  std::vector<std::string> command{"/usr/bin/setpriv", "--pdeathsig", signal};
  if (const auto* const entry = unprivileged_user(users)) {
    command.insert(command.end(), {"--reuid", std::to_string(entry->pw_uid), "--regid",
                                   std::to_string(entry->pw_gid), "--clear-groups"});
  }
  return command;
}

void hand_over(const std::string& path, const std::vector<std::string>& users) {
  if (const auto* const entry = unprivileged_user(users)) {
    EXPECT_EQ(chown(path.c_str(), entry->pw_uid, entry->pw_gid), 0);
  }
}

pid_t start_server(std::vector<std::string> command, const std::string& log_file) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (auto& argument : command) {
    arguments.push_back(argument.data());
  }
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log_file.c_str(),
                                   O_WRONLY | O_CREAT | O_APPEND, S_IRUSR | S_IWUSR);
  posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  pid_t process = -1;
  EXPECT_EQ(posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  return process;
}

bool runs(pid_t process) {
  siginfo_t information{};
  return process > 0 &&
         waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOHANG | WNOWAIT) ==
             0 &&
         information.si_pid == 0;
}

bool wait_for_server(const std::function<bool()>& condition, pid_t server) {
  constexpr int pause_milliseconds = 20;
  constexpr int most_pauses = 120 * 1000 / pause_milliseconds;
  for (int pauses = 0; !condition(); ++pauses) {
    if (!runs(server) || pauses == most_pauses) {
      return false;
    }
    poll(nullptr, 0, pause_milliseconds);
  }
  return true;
}

}  // namespace importkcd::testing
