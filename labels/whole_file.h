#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// The bytes of a file. Throws ImportError, whose description names the file.
std::string read_whole_file(const std::string& path);

/// Writes a file whole or not at all: beside its place first, then renamed into it. A file that is
/// replaced keeps its permissions; a symbolic link stays one. Throws ImportError, whose description
/// names the file, and then leaves everything as it was.
void write_whole_file(const std::string& path, std::string_view bytes);

}  // namespace importkcd
