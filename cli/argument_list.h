#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

/// The program's arguments in the form in which CLI11 takes every one of them for what it is: an
/// empty value given as "--option=" stands as an argument of its own, because the library would
/// take the next argument for the value. `program` has all its subcommands and options.
std::vector<std::string> argument_list(const CLI::App& program, int count,
                                       const char* const* arguments);

}  // namespace importkcd
