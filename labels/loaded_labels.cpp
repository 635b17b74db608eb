#include "labels/loaded_labels.h"

#include <cstddef>
#include <limits>
#include <string>

#include "base/import_error.h"
#include "base/numbers.h"
#include "base/text.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

using Limits = std::numeric_limits<std::int16_t>;

[[noreturn]] void fail_out_of_range(std::string_view text) {
  constexpr std::size_t shown = 40;
  throw ImportError("Label ID " + std::string(text.substr(0, shown)) +
                        (text.size() > shown ? "..." : "") + " is out of range (" +
                        std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()) +
                        ")",
                    error_source::labels_database);
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

}  // namespace

std::optional<std::int16_t> label_id(std::string_view text) {
  const auto trimmed_text = trimmed(text, " ");
  const auto id = rounded_number(trimmed_text);
  if (!id) {
    return std::nullopt;
  }
  if (*id < Limits::min() || *id > Limits::max()) {
    fail_out_of_range(trimmed_text);
  }
  return static_cast<std::int16_t>(*id);
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
