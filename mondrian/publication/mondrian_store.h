#pragma once

#include <functional>
#include <memory>
#include <string>

#include "servers/olap_store.h"

namespace importkcd {

/// How a directory of the engine is opened.
enum class MondrianAccess {
  /// Makes the directory, for its owner only, when it is missing.
  read_write,
  /// Changes and creates nothing; a missing directory is an error.
  read_only,
};

/// Receives a sentence for a person about something that was not published.
using TellRemark = std::function<void(const std::string& remark)>;

/// A store that keeps full definitions in the directory's catalogue file, and publishes what they
/// say for the engine: apply() does both as one unit.
///
/// The order is: all files are written beside their places, the definitions are stored, the files
/// take their places. Whatever fails before or while storing leaves everything as it was. A process
/// that dies before storing leaves files beside, one that dies after it leaves older files in
/// place: the next opening for writing, and every later apply(), publishes what the definitions
/// say.
std::shared_ptr<OlapStore> make_mondrian_store(std::string directory, MondrianAccess access,
                                               TellRemark tell);

}  // namespace importkcd
