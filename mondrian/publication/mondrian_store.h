#pragma once

#include <functional>
#include <memory>
#include <string>

#include "servers/olap_store.h"

namespace importkcd {

/// Receives a sentence for a person about something that was not published.
using TellRemark = std::function<void(const std::string& remark)>;

/// A store that keeps full definitions in the directory's catalogue file, and publishes what they
/// say for the engine: apply() and restore() do both as one unit.
///
/// The order is: all files are written beside their places, the definitions are stored, the files
/// take their places. Whatever fails before or while storing leaves everything as it was. A process
/// that dies before storing leaves files beside, one that dies after it leaves older files in
/// place: the next opening for writing, and every later change, publishes what the definitions say.
std::shared_ptr<OlapStore> make_mondrian_store(std::string directory, ServerAccess access,
                                               TellRemark tell);

}  // namespace importkcd
