#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// UTF-8 text as it may be shown: each control character, and each of Unicode's two line breaks
/// that are none, becomes a blank. One text stays one line, and a terminal is not told anything.
/// Bytes that are not UTF-8 are kept.
std::string printable(std::string_view text);

}  // namespace importkcd
