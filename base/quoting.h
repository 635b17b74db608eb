#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace importkcd {

// Parts of texts in quotes, inside which the closing quote is written twice: "a ""b""", 'it''s',
// [a]]b], {a}}b}.

/// The quote that closes what `opening` opens: "]" for "[", "}" for "{", `opening` itself
/// otherwise.
constexpr char closing_quote(char opening) {
  switch (opening) {
    case '[':
      return ']';
    case '{':
      return '}';
    default:
      return opening;
  }
}

/// The position behind the part in quotes whose opening quote stands at `start`; npos when the part
/// is not closed.
std::size_t end_of_quotes(std::string_view text, std::size_t start = 0);

/// The text with every `quote` in it written twice.
std::string doubled(std::string_view text, char quote);

/// The text with every doubled `quote` in it written once.
std::string undoubled(std::string_view text, char quote);

/// The text in quotes, the closing one doubled inside.
std::string in_quotes(std::string_view text, char opening);

/// Takes a part in quotes, whose opening quote is the first character, off the front of `rest` and
/// gives its text. Nothing is taken when the part is not closed.
std::optional<std::string> take_quoted_text(std::string_view& rest);

}  // namespace importkcd
