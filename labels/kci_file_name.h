#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// The name of the document that a KCI file becomes: in lower case, with every ".kci" replaced by
/// ".kcd", in the folder as well.
std::string kcd_name_of(std::string_view kci_name);

/// The same as a path on a file system where letter case counts: the folder is the one that exists
/// under kcd_name_of's name without regard to case, preferably as it was typed; parts that do not
/// exist stay in lower case.
std::string kcd_path_of(std::string_view kci_name);

}  // namespace importkcd
