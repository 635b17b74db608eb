#pragma once

#include <iosfwd>
#include <string>

namespace importkcd {

/// The connection string that a file holds as its one line, without the line end; "-" names `in`.
/// White space may follow it. Throws ImportError, whose description names the file, when it cannot
/// be read, is empty or holds more than one line.
std::string read_connection_text(const std::string& file, std::istream& in);

/// The same for a password.
std::string read_password(const std::string& file, std::istream& in);

}  // namespace importkcd
