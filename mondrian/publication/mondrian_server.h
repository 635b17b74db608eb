#pragma once

#include <memory>
#include <string>

#include "servers/working_copy_server.h"

namespace importkcd {

/// The unconnected server over a directory from which a Mondrian engine serves cubes.
///
/// finish() publishes what was written back. A cube that the engine could not serve has no valid
/// structure; the reason comes with take_messages().
std::unique_ptr<WorkingCopyServer> make_mondrian_server(const std::string& directory,
                                                        ServerAccess access);

}  // namespace importkcd
