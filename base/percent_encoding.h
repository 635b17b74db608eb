#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// What an address may hold as it stands, besides letters and digits.
inline constexpr std::string_view address_marks = "-._~";

/// Text with every byte as %XX but ASCII letters, digits and `marks`.
std::string percent_encoded(std::string_view text, std::string_view marks);

}  // namespace importkcd
