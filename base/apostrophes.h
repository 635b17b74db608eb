#pragma once

#include <string>
#include <string_view>

namespace importkcd {

/// A document carries apostrophes as the placeholder "@#$%". All occurrences, letter case counts.

/// "@#$%" becomes "'".
std::string DecodeApostrophes(std::string_view text);

/// "@#$%" becomes "''": for a text that becomes part of a quoted formula.
std::string DecodeApostrophesForStatement(std::string_view text);

/// "'" becomes "@#$%".
std::string EncodeApostrophes(std::string_view text);

}  // namespace importkcd
