#include "labels/loaded_labels.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>

#include "base/import_error.h"
#include "base/trimmed.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

using Limits = std::numeric_limits<std::int16_t>;

std::string_view take_digits(std::string_view& text) {
  const auto* const end = std::find_if_not(text.begin(), text.end(), [](char character) {
    return character >= '0' && character <= '9';
  });
  const auto digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  return digits;
}

[[noreturn]] void fail_out_of_range(std::string_view text) {
  constexpr std::size_t shown = 40;
  throw ImportError("Label ID " + std::string(text.substr(0, shown)) +
                        (text.size() > shown ? "..." : "") + " is out of range (" +
                        std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()) +
                        ")",
                    error_source::labels_database);
}

/// Whether a whole number with these decimals is rounded away from zero.
bool rounds_away(int whole, std::string_view decimals) {
  if (decimals.empty() || decimals.front() != '5') {
    return !decimals.empty() && decimals.front() > '5';
  }
  const bool is_half = decimals.find_first_not_of('0', 1) == std::string_view::npos;
  return !is_half || whole % 2 != 0;
}

constexpr std::size_t most_characters = 32767;

constexpr std::string_view reference_for(char character) {
  switch (character) {
    case '"':
      return "&#34;";
    case '\'':
      return "&#39;";
    case '&':
      return "&#38;";
    case '<':
      return "&#60;";
    case '>':
      return "&#62;";
    default:
      return {};
  }
}

constexpr bool begins_character(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

}  // namespace

std::optional<std::int16_t> label_id(std::string_view text) {
  constexpr std::size_t most_digits = 5;
  const auto number = trimmed(text, " ");
  auto rest = number;
  const bool negative = rest.substr(0, 1) == "-";
  if (negative || rest.substr(0, 1) == "+") {
    rest.remove_prefix(1);
  }
  auto digits = take_digits(rest);
  std::string_view decimals;
  const bool has_whole = !digits.empty();
  if (rest.substr(0, 1) == ".") {
    rest.remove_prefix(1);
    decimals = take_digits(rest);
  }
  if (!rest.empty() || (!has_whole && decimals.empty())) {
    return std::nullopt;
  }
  digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
  if (digits.size() > most_digits) {
    fail_out_of_range(number);
  }
  int whole = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), whole);
  whole += rounds_away(whole, decimals) ? 1 : 0;
  const int id = negative ? -whole : whole;
  if (id < Limits::min() || id > Limits::max()) {
    fail_out_of_range(number);
  }
  return static_cast<std::int16_t>(id);
}

std::string XmlEscapeText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  std::size_t characters = 0;
  for (const char character : text) {
    characters += begins_character(character) ? 1 : 0;
    const auto reference = reference_for(character);
    if (reference.empty()) {
      result += character;
    } else {
      result += reference;
    }
  }
  if (characters > most_characters) {
    throw ImportError("A label is longer than 32767 characters", error_source::labels_database);
  }
  return result;
}

}  // namespace importkcd
