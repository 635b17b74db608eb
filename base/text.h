#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace importkcd {

/// What separates words where no rule says otherwise.
inline constexpr std::string_view blanks = " \t\r\n";

/// The text less those characters at its ends.
constexpr std::string_view trimmed(std::string_view text, std::string_view characters = blanks) {
  text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
  return text.substr(0, text.find_last_not_of(characters) + 1);
}

constexpr bool is_ascii_digit(char c) { return c >= '0' && c <= '9'; }

constexpr bool is_ascii_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

/// Whether a byte of a UTF-8 text begins a character, rather than continuing one.
constexpr bool begins_character(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

/// A character of a UTF-8 text.
struct Character {
  /// Its bytes, in the text that it was taken from.
  std::string_view bytes;
  /// Its code point; negative for a byte that is no UTF-8.
  std::int32_t code = -1;
};

/// Takes the first character, or a byte that is no UTF-8, off a text that is not empty.
Character take_character(std::string_view& text);

/// A text with every occurrence of `from`, which is not empty, as `to`.
std::string replaced(std::string_view text, std::string_view from, std::string_view to);

/// "measures", "properties".
std::string plural(std::string_view noun);

/// "1 measure", "2 custom properties".
std::string counted(std::size_t count, std::string_view noun);

/// UTF-8 text as it may be shown: each control character, each of Unicode's two line breaks that
/// are none, and each control of the writing direction becomes a blank. One text stays one line, a
/// terminal is not told anything, and nothing is shown in another order than it is stored.
/// Bytes that are not UTF-8 are kept.
std::string printable(std::string_view text);

/// What an address may hold as it stands, besides letters and digits.
inline constexpr std::string_view address_marks = "-._~";

/// Text with every byte as %XX but ASCII letters, digits and `marks`.
std::string percent_encoded(std::string_view text, std::string_view marks);

/// A number for a text that is the same in every version of the system (FNV-1a).
std::uint64_t lasting_hash(std::string_view text);

}  // namespace importkcd
