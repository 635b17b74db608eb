#pragma once

#include <string_view>

namespace importkcd {

/// Whether a file's name ends in ".kci", in any letter case: its texts are label references.
bool is_kci_file(std::string_view file);

}  // namespace importkcd
