#pragma once

#include <cstddef>
#include <string_view>

namespace importkcd {

/// How many columns of a terminal a UTF-8 text takes: wide characters take two, combining ones
/// none. Bytes that are not UTF-8 count one each.
std::size_t text_width(std::string_view text);

}  // namespace importkcd
