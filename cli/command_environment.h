#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "model/olap_server.h"
#include "servers/olap_store.h"
#include "servers/rehearsal_store.h"

namespace importkcd {

/// Exit statuses of the program.
namespace exit_status {
constexpr int success = 0;
/// What the document says, or what the server refuses about it, or nothing to show or to answer.
constexpr int failure = 1;
/// The command line cannot be carried out as it stands.
constexpr int usage = 2;
/// A question was answered, but some of its cells could not be computed.
constexpr int cell_errors = 3;
/// Another run holds the database.
constexpr int held = 4;
/// A server or a disk cannot be read or written.
constexpr int server = 5;
/// Of `kcd plan`: the import would change what is stored. Of `kcd aggregate status`: not all tables
/// are as they should be.
constexpr int changes_planned = 10;
/// That of a failure.
int of(FailureCause cause);
}  // namespace exit_status

/// What the subcommands meet outside of the program. The streams outlive it.
struct CommandEnvironment {
  OlapServerFactory open_for_change;
  OlapServerFactory open_for_looking;
  RehearsalFactory open_for_rehearsal;
  /// Those of the server that `machine` means; see server_choice.h.
  std::function<std::vector<KeptCopy>(std::string_view machine)> kept_copies;
  std::function<RestoredDatabase(std::string_view machine, const std::string& database)>
      restore_database;
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  /// Whether somebody looks at `err` on a terminal.
  bool err_is_terminal = false;
  /// Makes the engine over the server that `machine` means forget the figures it remembers.
  std::function<std::vector<std::string>(std::string_view machine)> refresh = {};
};

}  // namespace importkcd
