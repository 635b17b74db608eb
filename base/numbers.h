#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace importkcd {

/// The whole number that a text means: an optional sign and digits, at most one decimal point among
/// them. It is rounded to the nearest whole number, halves to the even one. Numbers of more than 15
/// digits become some number of more than 15 digits. Nothing when the text is no such number.
std::optional<std::int64_t> rounded_number(std::string_view text);

}  // namespace importkcd
