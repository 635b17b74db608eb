#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mondrian/aggregation/aggregate_records.h"
#include "servers/working_copy_server.h"

namespace importkcd {

/// The unconnected server over a directory from which a Mondrian engine serves cubes.
///
/// Its store keeps full definitions in the directory's catalogue file, and publishes what they say
/// for the engine: apply() and restore() do both as one unit. The order is: all files are written
/// beside their places, the definitions are stored, the files take their places. Whatever fails
/// before or while storing leaves everything as it was. A process that dies before storing leaves
/// files beside, one that dies after it leaves older files in place: the next opening for writing,
/// and every later change, publishes what the definitions say.
///
/// A cube that the engine could not serve has no valid structure; the reason comes with
/// take_messages(), and so does what finish() could not publish.
std::unique_ptr<WorkingCopyServer> make_mondrian_server(const std::string& directory,
                                                        ServerAccess access);

/// Publishes all that the definitions of a directory say once more, so that an engine which serves
/// it asks the data warehouse for all figures again. Gives what was left out, and why. Throws
/// ImportError when there are no definitions or they cannot be published.
std::vector<std::string> publish_again(const std::string& directory);

/// Changes the records of a directory's aggregates and publishes a database with those that they
/// name then, as one unit. Gives what was left out, and why. Throws as publish_again() does.
std::vector<std::string> publish_aggregates(const std::string& directory,
                                            const std::string& database,
                                            const std::function<void(AggregateRecords&)>& change);

}  // namespace importkcd
