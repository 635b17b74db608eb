#pragma once

#include <string>
#include <utility>
#include <vector>

namespace importkcd {

/// For the arguments or the environment of a program that is to be started: pointers to the texts
/// with a null pointer after the last one, as exec and its kin take them. Valid as long as the
/// texts are neither changed nor moved.
std::vector<char*> pointers_to(std::vector<std::string>& texts);

/// This process's environment as "NAME=value" entries, with these variables set.
std::vector<std::string> environment_with(
    const std::vector<std::pair<std::string, std::string>>& variables);

/// This computer's name as the network knows it.
std::string this_computer_name();

}  // namespace importkcd
