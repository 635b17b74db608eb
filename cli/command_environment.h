#pragma once

#include <functional>
#include <iosfwd>
#include <memory>
#include <string_view>

#include "model/olap_server.h"
#include "servers/catalogue/kept_copies.h"

namespace importkcd {

/// Exit statuses of the program.
namespace exit_status {
constexpr int success = 0;
constexpr int failure = 1;
/// The command line cannot be carried out as it stands.
constexpr int usage = 2;
}  // namespace exit_status

/// What the subcommands meet outside of the program. The streams outlive it.
struct CommandEnvironment {
  OlapServerFactory open_for_change;
  OlapServerFactory open_for_looking;
  /// Throws ImportError for a server that keeps no copies.
  std::function<std::unique_ptr<KeptCopies>(std::string_view machine)> open_kept_copies;
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
};

}  // namespace importkcd
