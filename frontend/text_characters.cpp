#include "frontend/text_characters.h"

#include "base/text.h"

namespace importkcd {
namespace {

bool starts_character(std::string_view text, std::size_t place) {
  return place == 0 || begins_character(text[place]);
}

std::size_t start_of_last(std::string_view text, std::size_t count) {
  std::size_t place = text.size();
  while (place > 0 && count > 0) {
    --place;
    if (starts_character(text, place)) {
      --count;
    }
  }
  return place;
}

}  // namespace

std::size_t character_count(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t place = 0; place < text.size(); ++place) {
    count += starts_character(text, place) ? 1U : 0U;
  }
  return count;
}

std::string_view last_characters(std::string_view text, std::size_t count) {
  return text.substr(start_of_last(text, count));
}

std::string_view without_last_characters(std::string_view text, std::size_t count) {
  return text.substr(0, start_of_last(text, count));
}

std::string_view without_first_character(std::string_view text) {
  std::size_t place = text.empty() ? 0 : 1;
  while (place < text.size() && !starts_character(text, place)) {
    ++place;
  }
  return text.substr(place);
}

std::string_view trim_blanks(std::string_view text) { return trimmed(text, " "); }

}  // namespace importkcd
