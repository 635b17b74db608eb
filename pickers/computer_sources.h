#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
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

/// The computers that the text of a hosts file names: of each line the first name after a valid
/// address, in the file's order, each once (letter case does not count). Comments, empty and
/// malformed lines are passed over, and so are the names of the loopback and multicast addresses
/// (127.x.x.x, ::1, fe00::, ff00:: and above, 0.0.0.0, 255.255.255.255), which are no computers on
/// the network.
std::vector<std::string> computers_in_hosts_file(std::string_view text);

/// Finds this computer, under its own name.
std::unique_ptr<ComputerSource> make_this_computer_source();

/// Finds the computers that a hosts file names (see computers_in_hosts_file).
std::unique_ptr<ComputerSource> make_hosts_file_source(std::string path = "/etc/hosts");

}  // namespace importkcd
