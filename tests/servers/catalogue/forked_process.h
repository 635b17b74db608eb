#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace importkcd::testing {

/// A process of its own, which can say that it has come to a point. It is killed at the latest when
/// this object ends.
class ForkedProcess {
 public:
  using SayReady = std::function<void()>;

  /// The process ends after `work`. What `work` throws is told by outcome().
  explicit ForkedProcess(const std::function<void(const SayReady&)>& work) {
    if (pipe(pipe_.data()) != 0) {
      throw std::runtime_error("no pipe");
    }
    id_ = fork();
    if (id_ == 0) {
      close(pipe_[0]);
      _exit(run(work));
    }
    close(pipe_[1]);
  }
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;
  ~ForkedProcess() {
    if (id_ > 0) {
      kill();
    }
    close(pipe_[0]);
  }

  /// Waits until the process has said so; false when it ended without.
  bool is_ready() {
    while (said_.empty() && read_some()) {
    }
    return said_.substr(0, 1) == ready;
  }

  void kill() {
    ::kill(id_, SIGKILL);
    outcome();
  }

  /// Waits for the end of the process: "succeeded", or what it threw or was ended by.
  std::string outcome() {
    while (read_some()) {
    }
    int status = 0;
    waitpid(std::exchange(id_, -1), &status, 0);
    if (WIFSIGNALED(status)) {
      return "ended by signal " + std::to_string(WTERMSIG(status));
    }
    const auto error = said_.substr(said_.substr(0, 1) == ready ? 1 : 0);
    return WEXITSTATUS(status) == 0 ? "succeeded" : "failed: " + error;
  }

 private:
  static constexpr const char* ready = "!";

  int run(const std::function<void(const SayReady&)>& work) const {
    try {
      work([this] { say(ready); });
      return 0;
    } catch (const std::exception& error) {
      say(error.what());
      return 1;
    }
  }

  void say(const std::string& text) const {
    if (write(pipe_[1], text.data(), text.size()) < 0) {
      _exit(1);  // nobody listens any more
    }
  }

  bool read_some() {
    std::array<char, 512> buffer{};
    ssize_t count = 0;
    do {
      count = read(pipe_[0], buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    said_.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0;
  }

  std::array<int, 2> pipe_{};
  pid_t id_ = -1;
  std::string said_;
};

[[noreturn]] inline void wait_to_be_killed() {
  while (true) {
    pause();
  }
}

}  // namespace importkcd::testing
