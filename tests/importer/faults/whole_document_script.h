#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/importer/faults/expected_run.h"

namespace importkcd::testing {

/// What an import of whole_document() with a second data source and a second role meets.
struct ScriptCase {
  std::int32_t type;
  bool dont_update_levels;
  /// Whether the server holds the database of older_document().
  bool holds_database;
};

std::string name_of(const ScriptCase& tested);

/// Every mode over both servers.
std::vector<ScriptCase> script_cases();

/// The document.
std::string scripted_document();

/// What its import, with partitions, does on a server with the version "8.0".
RunScript script_of(const ScriptCase& tested);

}  // namespace importkcd::testing
