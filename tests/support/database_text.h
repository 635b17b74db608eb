#pragma once

#include <string>

#include "model/olap_server.h"

namespace importkcd::testing {

/// Everything that a database holds as readable text: a line an object, indented below its owner,
/// in collection order. Equal content gives equal text.
std::string database_text(OlapDatabase& database);

/// The same for all databases that a connected server holds.
std::string server_text(OlapServer& server);

}  // namespace importkcd::testing
