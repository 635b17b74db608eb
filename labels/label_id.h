#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace importkcd {

/// The label ID that a text means: a decimal number with an optional sign, an optional fraction and
/// blanks around it. A fraction is rounded to the nearest integer, halves to the even one. Nothing
/// when the text is no such number; throws ImportError when the ID does not fit in 16 bits.
std::optional<std::int16_t> label_id(std::string_view text);

}  // namespace importkcd
