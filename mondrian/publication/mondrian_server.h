#pragma once

#include <memory>
#include <string>

#include "model/olap_server.h"
#include "mondrian/publication/mondrian_store.h"

namespace importkcd {

/// The unconnected server over a directory from which a Mondrian engine serves cubes.
///
/// finish() publishes what was written back. A cube that the engine could not serve has no valid
/// structure; the reason comes with take_messages().
std::unique_ptr<OlapServer> make_mondrian_server(const std::string& directory,
                                                 MondrianAccess access);

}  // namespace importkcd
