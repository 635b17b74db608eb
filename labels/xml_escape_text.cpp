#include "labels/xml_escape_text.h"

#include <cstddef>

#include "base/import_error.h"
#include "base/text.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

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
