#include "mondrian/mdx/mdx_names.h"

#include <algorithm>
#include <cstddef>

#include "base/name_folding.h"
#include "base/text.h"

namespace importkcd {
namespace {

constexpr std::string_view ends_of_bare_names = " \t\r\n.,()[]{}+-*/<>='\";:";

void skip_blanks(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

/// The position behind a part in quotes or brackets that begins at `start`, in which the closing
/// character is doubled; npos when it does not end.
std::size_t end_of_quoted(std::string_view text, std::size_t start, char closing) {
  for (auto at = text.find(closing, start + 1); at != std::string_view::npos;
       at = text.find(closing, at + 2)) {
    if (text.substr(at + 1, 1) != std::string_view(&closing, 1)) {
      return at + 1;
    }
  }
  return std::string_view::npos;
}

std::optional<std::string> take_bracketed(std::string_view& text) {
  const auto end = end_of_quoted(text, 0, ']');
  if (end == std::string_view::npos) {
    return std::nullopt;
  }
  std::string name;
  for (std::size_t i = 1; i < end - 1; ++i) {
    name += text[i];
    i += text[i] == ']' ? 1 : 0;
  }
  text.remove_prefix(end);
  return name;
}

std::optional<std::string> take_name(std::string_view& text) {
  if (text.starts_with('[')) {
    return take_bracketed(text);
  }
  const auto length = std::min(text.find_first_of(ends_of_bare_names), text.size());
  std::string name(text.substr(0, length));
  text.remove_prefix(length);
  return name.empty() ? std::nullopt : std::optional(name);
}

char closing_of(char opening) {
  switch (opening) {
    case '[':
      return ']';
    case '"':
    case '\'':
      return opening;
    default:
      return '\0';
  }
}

}  // namespace

std::string mdx_name(std::string_view name) {
  std::string result = "[";
  for (const char character : name) {
    result.append(character == ']' ? 2 : 1, character);
  }
  return result + "]";
}

std::string mdx_path(const std::vector<std::string>& names) {
  std::string result;
  for (const auto& name : names) {
    result.append(result.empty() ? "" : ".").append(mdx_name(name));
  }
  return result;
}

std::optional<std::vector<std::string>> take_mdx_path(std::string_view& text) {
  std::vector<std::string> names;
  for (bool more = true; more;) {
    skip_blanks(text);
    auto name = take_name(text);
    if (!name) {
      return std::nullopt;
    }
    names.push_back(std::move(*name));
    skip_blanks(text);
    more = text.starts_with('.');
    text.remove_prefix(more ? 1 : 0);
  }
  return names;
}

bool is_balanced_mdx(std::string_view expression) {
  std::string open;
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const char c = expression[i];
    if (const char closing = closing_of(c); closing != '\0') {
      const auto end = end_of_quoted(expression, i, closing);
      if (end == std::string_view::npos) {
        return false;
      }
      i = end - 1;
    } else if (c == '(' || c == '{') {
      open += c == '(' ? ')' : '}';
    } else if (c == ')' || c == '}') {
      if (open.empty() || open.back() != c) {
        return false;
      }
      open.pop_back();
    } else if (c == ']') {
      return false;
    }
  }
  return open.empty();
}

std::vector<std::string> measures_named_in(std::string_view expression) {
  std::vector<std::string> result;
  for (std::size_t i = 0; i < expression.size();) {
    const char c = expression[i];
    if (c == '"' || c == '\'') {
      i = std::min(end_of_quoted(expression, i, c), expression.size());
      continue;
    }
    if (c != '[' && ends_of_bare_names.find(c) != std::string_view::npos) {
      ++i;
      continue;
    }
    auto rest = expression.substr(i);
    const auto first = take_name(rest);
    if (first && same_name(*first, "Measures") && rest.starts_with(".[")) {
      rest.remove_prefix(1);
      result.push_back(take_name(rest).value_or(""));
    }
    i = first ? expression.size() - rest.size() : i + 1;
  }
  return result;
}

}  // namespace importkcd
