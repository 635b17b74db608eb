#pragma once

#include <string>
#include <vector>

#include "model/olap_server.h"

namespace CLI {
class App;
}

namespace importkcd {

/// Adds the argument SERVER of a command that works on stored databases; this computer's server is
/// its default. `server` outlives `command`.
void add_server_argument(CLI::App& command, std::string& server);

/// The names of the databases of a connected server, in its order.
std::vector<std::string> databases_of(OlapServer& server);

/// The one of these names that `wanted` means, whatever its letter case. Throws ImportError when it
/// is not among them.
std::string database_named(const std::vector<std::string>& names, const std::string& wanted);

}  // namespace importkcd
