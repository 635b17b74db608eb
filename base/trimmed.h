#pragma once

#include <algorithm>
#include <string_view>

namespace importkcd {

/// The text less the characters of `blanks` at its ends.
constexpr std::string_view trimmed(std::string_view text, std::string_view blanks) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

}  // namespace importkcd
