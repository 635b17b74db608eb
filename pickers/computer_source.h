#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace importkcd {

/// A place where names of computers on the network come from.
class ComputerSource {
 public:
  /// Called with each computer's name (UTF-8), possibly more than once with the same.
  using Found = std::function<void(const std::string& name)>;
  using Finished = std::function<void()>;

  ComputerSource() = default;
  ComputerSource(const ComputerSource&) = delete;
  ComputerSource& operator=(const ComputerSource&) = delete;
  /// Ends the search; neither function is called afterwards.
  virtual ~ComputerSource() = default;

  /// Starts the search; called once. Returns without waiting for the network. The functions are
  /// called in the caller's thread, some of them maybe before start returns: `found` as names turn
  /// up, `finished` once, when those that answer at once have answered; late ones may still be
  /// found after it. A place that is not there or cannot be read finds nothing: no failure is
  /// reported and nothing thrown.
  virtual void start(Found found, Finished finished) = 0;
};

using ComputerSources = std::vector<std::unique_ptr<ComputerSource>>;

}  // namespace importkcd
