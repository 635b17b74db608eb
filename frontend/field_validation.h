#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "frontend/controls.h"
#include "frontend/run_settings.h"

namespace importkcd {

/// Why a run cannot start.
struct FieldFailure {
  std::string_view caption;
  std::string_view message;
  /// The control that takes the focus.
  ControlName focus;
};

/// The first check that the fields fail, in a fixed order; nothing when the run may start. The
/// labels fields are checked for a label-reference file only. "Empty" means empty but for blanks.
std::optional<FieldFailure> ValidateInputs(const RunFields& fields);

/// Whether a file's length can be read; a folder has none. Any error gives false.
bool FileExists(const std::string& path);

}  // namespace importkcd
