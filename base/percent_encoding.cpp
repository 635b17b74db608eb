#include "base/percent_encoding.h"

namespace importkcd {
namespace {

constexpr bool is_letter_or_digit(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z');
}

}  // namespace

std::string percent_encoded(std::string_view text, std::string_view marks) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  for (const char character : text) {
    if (is_letter_or_digit(character) || marks.find(character) != std::string_view::npos) {
      result += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      result.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
  }
  return result;
}

}  // namespace importkcd
