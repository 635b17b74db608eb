#include "base/quoting.h"

namespace importkcd {

std::size_t end_of_quotes(std::string_view text, std::size_t start) {
  const char closing = closing_quote(text[start]);
  for (auto at = text.find(closing, start + 1); at != std::string_view::npos;
       at = text.find(closing, at + 2)) {
    if (at + 1 == text.size() || text[at + 1] != closing) {
      return at + 1;
    }
  }
  return std::string_view::npos;
}

std::string doubled(std::string_view text, char quote) {
  std::string result;
  result.reserve(text.size());
  for (const char character : text) {
    result.append(character == quote ? 2 : 1, character);
  }
  return result;
}

std::string undoubled(std::string_view text, char quote) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    result += text[i];
    if (text[i] == quote && i + 1 < text.size() && text[i + 1] == quote) {
      ++i;
    }
  }
  return result;
}

std::string in_quotes(std::string_view text, char opening) {
  const char closing = closing_quote(opening);
  return opening + doubled(text, closing) + closing;
}

std::optional<std::string> take_quoted_text(std::string_view& rest) {
  const auto end = end_of_quotes(rest);
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  auto text = undoubled(rest.substr(1, end - 2), closing_quote(rest.front()));
  rest.remove_prefix(end);
  return text;
}

}  // namespace importkcd
