#pragma once

#include <algorithm>
#include <string_view>

namespace importkcd {

/// What separates words where no rule says otherwise.
inline constexpr std::string_view blanks = " \t\r\n";

/// The text less those characters at its ends.
constexpr std::string_view trimmed(std::string_view text, std::string_view characters = blanks) {
  text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
  return text.substr(0, text.find_last_not_of(characters) + 1);
}

}  // namespace importkcd
