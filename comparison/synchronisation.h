#pragma once

#include "comparison/import_request.h"

namespace importkcd {

/// Makes a database what its document says: its description and every object in it, dimensions in
/// use included. Objects that the document does not have are removed, or stay as they are when the
/// request does not prune. What is right already is not written, and objects that stay keep their
/// place among the others.
///
/// First the document is imported where nothing is stored, with the checks of the server asked for:
/// what that gives is what the document says. Then what differs is written in one run of the
/// server, which keeps what was there before where it keeps copies. After any error nothing is
/// stored. Partitions and virtual objects that the options leave alone stay as they are.
///
/// Sends one progress message per changed object. An error of the server, a lock check's refusal
/// included, and a written cube whose structure is not valid end the result's success.
RequestOutcome synchronise(const ImportRequest& request, const ImportServers& servers);

}  // namespace importkcd
