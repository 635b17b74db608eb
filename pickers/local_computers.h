#pragma once

#include <memory>
#include <string>

#include "pickers/computer_source.h"

namespace importkcd {

/// Finds this computer, under its own name.
std::unique_ptr<ComputerSource> make_this_computer_source();

/// Finds the computers that a hosts file names (see computers_in_hosts_file).
std::unique_ptr<ComputerSource> make_hosts_file_source(std::string path = "/etc/hosts");

}  // namespace importkcd
