#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

// What the subcommands have in common about their arguments.

/// The program's arguments in the form in which CLI11 takes every one of them for what it is: an
/// empty value given as "--option=" stands as an argument of its own, because the library would
/// take the next argument for the value. `program` has all its subcommands and options.
std::vector<std::string> argument_list(const CLI::App& program, int count,
                                       const char* const* arguments);

/// Names for a message: 'A', 'B'.
std::string listed(const std::vector<std::string>& names);

/// Whether a file's name ends in ".kci", in any letter case: its texts are label references.
bool is_kci_file(std::string_view file);

/// The connection string that a file holds as its one line, without the line end; "-" names `in`.
/// White space may follow it. Throws ImportError, whose description names the file, when it cannot
/// be read, is empty or holds more than one line.
std::string read_connection_text(const std::string& file, std::istream& in);

/// The same for the new text of a company pattern.
std::string read_pattern(const std::string& file, std::istream& in);

/// The same for a password.
std::string read_password(const std::string& file, std::istream& in);

}  // namespace importkcd
