#pragma once

#include <string>

#include "frontend/hidden_settings.h"
#include "frontend/run_fields.h"
#include "importer/import_options.h"

namespace importkcd {

/// Copies what the window says into the engine's options. What is not handed over keeps the value
/// it has: the connection string without a data warehouse database, the import type when no option
/// is selected, `DontUpdateLevels` outside of update mode, the patterns when they are switched off.
/// `incremental`, `replace_yn` and the sinks are never touched. `computer_name` is this computer's.
void hand_over_settings(ImportOptions& options, const RunFields& fields,
                        const HiddenSettings& settings, const std::string& document_file_name,
                        const std::string& computer_name);

}  // namespace importkcd
