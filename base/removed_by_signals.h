#pragma once

#include <csignal>
#include <string>

namespace importkcd {

/// Has a file removed when a signal (SIGHUP, SIGINT, SIGPIPE, SIGTERM or SIGXFSZ) ends the process
/// while this object lives. Signals that the process handles itself or ignores stay as they are. No
/// more than 64 files at once: further ones are left behind.
class RemovedBySignals {
 public:
  RemovedBySignals() = default;
  explicit RemovedBySignals(const std::string& path);
  ~RemovedBySignals();
  RemovedBySignals(RemovedBySignals&& other) noexcept;
  RemovedBySignals& operator=(RemovedBySignals&& other) noexcept;
  RemovedBySignals(const RemovedBySignals&) = delete;
  RemovedBySignals& operator=(const RemovedBySignals&) = delete;

 private:
  void release();

  static constexpr int none = -1;
  int place_ = none;
};

/// Holds those signals back in this thread while it lives: around the making of a file and of its
/// RemovedBySignals, so that no signal comes between them.
class SignalsHeldBack {
 public:
  SignalsHeldBack();
  ~SignalsHeldBack();
  SignalsHeldBack(const SignalsHeldBack&) = delete;
  SignalsHeldBack& operator=(const SignalsHeldBack&) = delete;

 private:
  sigset_t former_{};
};

}  // namespace importkcd
