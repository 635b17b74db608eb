#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// UTF-8 as UTF-16 in the computer's byte order; what is no UTF-8 becomes U+FFFD, byte by byte.
std::u16string utf16_text(std::string_view text);

/// The way back; a surrogate without its partner becomes U+FFFD.
std::string utf8_text(std::u16string_view text);

}  // namespace importkcd
