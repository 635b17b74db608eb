#include "tests/support/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/system.h"

namespace importkcd::testing {
namespace {

/// A file descriptor that is closed with this object.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {
    EXPECT_GE(number_, 0) << std::generic_category().message(errno);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(number_); }

  int number() const { return number_; }

 private:
  int number_;
};

/// A file in memory: with one at each stream, neither side ever waits for the other.
int memory_file() { return memfd_create("importkcd-test", MFD_CLOEXEC); }

void fill(const Descriptor& file, std::string_view text) {
  while (!text.empty()) {
    const auto written = write(file.number(), text.data(), text.size());
    ASSERT_GT(written, 0) << std::generic_category().message(errno);
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  ASSERT_EQ(lseek(file.number(), 0, SEEK_SET), 0);
}

std::string content_of(int file) {
  std::string content;
  std::array<char, 65536> buffer{};
  ssize_t count = 0;
  while ((count = pread(file, buffer.data(), buffer.size(), static_cast<off_t>(content.size()))) >
         0) {
    content.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return content;
}

using Variables = std::vector<std::pair<std::string, std::string>>;

Variables with_no_settings(const Variables& variables) {
  Variables result{{"XDG_CONFIG_HOME", "/nonexistent"}, {"IMPORTKCD_SYSTEM_CONFIG", ""}};
  for (const auto& [name, value] : variables) {
    const auto same = [&taken = name](const auto& other) { return other.first == taken; };
    result.erase(std::remove_if(result.begin(), result.end(), same), result.end());
    result.emplace_back(name, value);
  }
  return result;
}

pid_t spawn(const ProcessStart& start, const std::array<int, 3>& streams) {
  std::vector<std::string> arguments{start.program};
  arguments.insert(arguments.end(), start.arguments.begin(), start.arguments.end());
  auto environment = environment_with(with_no_settings(start.environment));

  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  for (int i = 0; i < 3; ++i) {
    posix_spawn_file_actions_adddup2(&actions, streams.at(static_cast<std::size_t>(i)), i);
  }
  // Whoever runs the tests may ignore these (nohup and background jobs do), and programs would
  // inherit that.
  sigset_t ending_signals{};
  sigemptyset(&ending_signals);
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT}) {
    sigaddset(&ending_signals, signal);
  }
  posix_spawnattr_t attributes{};
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &ending_signals);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t child = -1;
  const int error = posix_spawn(&child, start.program.c_str(), &actions, &attributes,
                                pointers_to(arguments).data(), pointers_to(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  EXPECT_EQ(error, 0) << start.program << ": " << std::generic_category().message(error);
  return error == 0 ? child : -1;
}

int exit_status_of(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      ADD_FAILURE() << std::generic_category().message(errno);
      return -1;
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

ProcessResult run_process(const ProcessStart& start) {
  const Descriptor input(memory_file());
  const Descriptor output(start.output_file.empty()
                              ? memory_file()
                              : open(start.output_file.c_str(), O_WRONLY | O_CLOEXEC));
  const Descriptor errors(start.errors_file.empty()
                              ? memory_file()
                              : open(start.errors_file.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
  fill(input, start.input);

  ProcessResult result;
  const auto child = spawn(start, {input.number(), output.number(), errors.number()});
  if (child < 0) {
    return result;
  }
  result.exit_status = exit_status_of(child);
  result.output = start.output_file.empty() ? content_of(output.number()) : "";
  result.errors = start.errors_file.empty() ? content_of(errors.number()) : "";
  return result;
}

RunningProcess::RunningProcess(const ProcessStart& start) {
  std::array<int, 2> pipe_ends{-1, -1};
  EXPECT_EQ(pipe2(pipe_ends.data(), O_CLOEXEC), 0) << std::generic_category().message(errno);
  output_ = pipe_ends[0];
  // The smaller, the earlier the program has to wait.
  fcntl(output_, F_SETPIPE_SZ, 4096);
  const Descriptor input(memory_file());
  const Descriptor pipe(pipe_ends[1]);
  const Descriptor output(start.output_file.empty()
                              ? fcntl(pipe.number(), F_DUPFD_CLOEXEC, 0)
                              : open(start.output_file.c_str(), O_WRONLY | O_CLOEXEC));
  errors_ = memory_file();
  child_ = spawn(start, {input.number(), output.number(), errors_});
}

RunningProcess::~RunningProcess() {
  kill();
  close(output_);
  close(errors_);
}

void RunningProcess::read_until(std::string_view text) {
  while (read_.find(text) == std::string::npos) {
    if (!read_some()) {
      ADD_FAILURE() << "the program ended without: " << text << "; it said: " << errors();
      return;
    }
  }
}

void RunningProcess::send(int signal) const { ::kill(child_, signal); }

bool RunningProcess::kill() {
  if (child_ <= 0) {
    return false;
  }
  ::kill(child_, SIGKILL);
  return exit_status_of(std::exchange(child_, -1)) == 128 + SIGKILL;
}

int RunningProcess::finish() {
  while (read_some()) {
  }
  return exit_status_of(std::exchange(child_, -1));
}

std::string RunningProcess::errors() const { return content_of(errors_); }

bool RunningProcess::read_some() {
  std::array<char, 4096> buffer{};
  const auto count = read(output_, buffer.data(), buffer.size());
  if (count > 0) {
    read_.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return count > 0;
}

}  // namespace importkcd::testing
