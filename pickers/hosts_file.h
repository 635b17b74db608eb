#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// The computers that the text of a hosts file names: of each line the first name after a valid
/// address, in the file's order, each once (letter case does not count). Comments, empty and
/// malformed lines are passed over, and so are the names of the loopback and multicast addresses
/// (127.x.x.x, ::1, fe00::, ff00:: and above, 0.0.0.0, 255.255.255.255), which are no computers on
/// the network.
std::vector<std::string> computers_in_hosts_file(std::string_view text);

}  // namespace importkcd
