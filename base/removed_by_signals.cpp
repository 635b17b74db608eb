#include "base/removed_by_signals.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

namespace importkcd {
namespace {

/// Full paths. Whoever takes one out of its place, the owner or a signal, has it for itself.
std::array<std::atomic<char*>, 64> removed_paths{};
static_assert(std::atomic<char*>::is_always_lock_free, "a signal may not wait for a lock");

void remove_all(int signal) {
  for (auto& place : removed_paths) {
    if (char* const path = place.exchange(nullptr)) {
      ::unlink(path);
      // Not freed here, nor lost.
      place = path;
    }
  }
  // What the signal would have done without this handler, which is no longer set.
  static_cast<void>(std::raise(signal));
}

constexpr std::array<int, 5> ending_signals{SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGXFSZ};

void watch_signals() {
  for (const int signal : ending_signals) {
    struct sigaction current {};
    if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_DFL &&
        (static_cast<unsigned>(current.sa_flags) & SA_SIGINFO) == 0) {
      struct sigaction action {};
      action.sa_handler = remove_all;
      action.sa_flags = static_cast<int>(SA_RESETHAND);
      ::sigaction(signal, &action, nullptr);
    }
  }
}

}  // namespace

RemovedBySignals::RemovedBySignals(const std::string& path) {
  // Each time: a signal may have got its own way back meanwhile.
  watch_signals();
  std::error_code error;
  const auto full = std::filesystem::absolute(path, error);
  char* const kept = ::strdup(error ? path.c_str() : full.c_str());
  for (std::size_t i = 0; kept != nullptr && i < removed_paths.size(); ++i) {
    char* expected = nullptr;
    if (removed_paths.at(i).compare_exchange_strong(expected, kept)) {
      place_ = static_cast<int>(i);
      return;
    }
  }
  std::free(kept);
}

RemovedBySignals::~RemovedBySignals() { release(); }

RemovedBySignals::RemovedBySignals(RemovedBySignals&& other) noexcept
    : place_(std::exchange(other.place_, none)) {}

RemovedBySignals& RemovedBySignals::operator=(RemovedBySignals&& other) noexcept {
  if (this != &other) {
    release();
    place_ = std::exchange(other.place_, none);
  }
  return *this;
}

SignalsHeldBack::SignalsHeldBack() {
  sigset_t signals{};
  sigemptyset(&signals);
  for (const int signal : ending_signals) {
    sigaddset(&signals, signal);
  }
  pthread_sigmask(SIG_BLOCK, &signals, &former_);
}

SignalsHeldBack::~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }

void RemovedBySignals::release() {
  if (place_ != none) {
    std::free(
        removed_paths.at(static_cast<std::size_t>(std::exchange(place_, none))).exchange(nullptr));
  }
}

}  // namespace importkcd
