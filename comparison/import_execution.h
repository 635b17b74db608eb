#pragma once

#include "comparison/import_request.h"

namespace importkcd {

/// Carries an import out. Messages go to the sinks of its options. Throws nothing that the importer
/// traps.
RequestOutcome carry_out(const ImportRequest& request, const ImportServers& servers);

}  // namespace importkcd
