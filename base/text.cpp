#include "base/text.h"

#include <utf8proc.h>

namespace importkcd {
namespace {

constexpr unsigned char byte_at(std::string_view text, std::size_t position) {
  return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

/// How many bytes at the front of `text` are one character to be blanked; 0: none.
std::size_t blanked_length(std::string_view text) {
  const auto first = byte_at(text, 0);
  const auto second = byte_at(text, 1);
  if (first < 0x20 || first == 0x7F) {
    return 1;
  }
  if (first == 0xC2 && second >= 0x80 && second <= 0x9F) {
    return 2;  // U+0080 to U+009F
  }
  if (first == 0xD8 && second == 0x9C) {
    return 2;  // U+061C
  }
  const auto third = byte_at(text, 2);
  if (first == 0xE2 && second == 0x80 &&
      (third == 0x8E || third == 0x8F || (third >= 0xA8 && third <= 0xAE))) {
    return 3;  // U+200E, U+200F, U+2028 to U+202E
  }
  if (first == 0xE2 && second == 0x81 && third >= 0xA6 && third <= 0xA9) {
    return 3;  // U+2066 to U+2069
  }
  return 0;
}

/// Whether a character that is to be blanked may begin with this byte.
constexpr bool may_be_blanked(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F || byte == 0xC2 || byte == 0xD8 || byte == 0xE2;
}

}  // namespace

Character take_character(std::string_view& text) {
  Character character;
  const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                       static_cast<utf8proc_ssize_t>(text.size()), &character.code);
  character.bytes = text.substr(0, length > 0 ? static_cast<std::size_t>(length) : 1);
  text.remove_prefix(character.bytes.size());
  return character;
}

std::string replaced(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  result.reserve(text.size());
  for (auto found = text.find(from); found != std::string_view::npos; found = text.find(from)) {
    result.append(text.substr(0, found)).append(to);
    text.remove_prefix(found + from.size());
  }
  result.append(text);
  return result;
}

std::string plural(std::string_view noun) {
  return noun.ends_with('y') ? std::string(noun.substr(0, noun.size() - 1)) + "ies"
                             : std::string(noun) + "s";
}

std::string counted(std::size_t count, std::string_view noun) {
  return std::to_string(count) + " " + (count == 1 ? std::string(noun) : plural(noun));
}

std::string printable(std::string_view text) {
  const auto plain = static_cast<std::size_t>(
      std::find_if(text.begin(), text.end(), may_be_blanked) - text.begin());
  std::string result;
  result.reserve(text.size());
  result.append(text.substr(0, plain));
  text.remove_prefix(plain);
  while (!text.empty()) {
    const auto blanked = blanked_length(text);
    result.push_back(blanked > 0 ? ' ' : text.front());
    text.remove_prefix(std::max<std::size_t>(blanked, 1));
  }
  return result;
}

// By hand: libxml2 would leave "@" and the marks "!*'()" as they are.
std::string percent_encoded(std::string_view text, std::string_view marks) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    if (is_ascii_letter(c) || is_ascii_digit(c) || marks.find(c) != std::string_view::npos) {
      result += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      result.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
  }
  return result;
}

std::uint64_t lasting_hash(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  }
  return hash;
}

}  // namespace importkcd
