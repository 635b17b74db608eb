#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// What the status file holds after a successful run; spelled so.
constexpr std::string_view status_of_success = "SUCCES";

/// Makes `text` the only line of the file. An empty name does nothing. Throws FileError when the
/// file cannot be opened or written.
void WriteStatusFile(const std::string& file_name, std::string_view text);

}  // namespace importkcd
