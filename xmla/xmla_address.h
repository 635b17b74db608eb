#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// Whether a text is the address of an XMLA server: it begins with "http://" or "https://", in any
/// letter case.
bool is_xmla_address(std::string_view text);

/// An address as it may be shown: without the user and password that may stand in it.
std::string shown_address(std::string_view address);

/// Whether an address is one of this computer's loopback interface.
bool is_loopback_address(std::string_view address);

}  // namespace importkcd
