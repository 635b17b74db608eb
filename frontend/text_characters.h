#pragma once

#include <cstddef>
#include <string_view>

namespace importkcd {

// Rules about names count characters, texts are UTF-8. A byte sequence that is not UTF-8 is taken
// as it comes: every byte that does not continue a character starts one, and so does the first.

/// The number of characters of a text.
std::size_t character_count(std::string_view text);

/// The last `count` characters, or the whole text when it has fewer.
std::string_view last_characters(std::string_view text, std::size_t count);

/// The text less its last `count` characters; empty when it has fewer.
std::string_view without_last_characters(std::string_view text, std::size_t count);

/// The text less its first character.
std::string_view without_first_character(std::string_view text);

/// The text without leading and trailing blanks; tabs and line ends are no blanks.
std::string_view trim_blanks(std::string_view text);

}  // namespace importkcd
