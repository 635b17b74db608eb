#include "base/password_mask.h"

#include <algorithm>
#include <cstddef>

#include "base/name_folding.h"
#include "base/trimmed.h"

namespace importkcd {
namespace {

bool names_a_password(std::string_view key) {
  const auto folded = lower_cased(key);
  return folded.find("password") != std::string::npos || folded.find("pwd") != std::string::npos;
}

/// The character that closes a value beginning with `open`; 0 for a value without quotes.
constexpr char quote_that_closes(char open) {
  switch (open) {
    case '"':
    case '\'':
      return open;
    case '{':
      return '}';
    default:
      return 0;
  }
}

/// The position of the closing quote, or the end, in a text that begins inside of quotes.
std::size_t quoted_length(std::string_view text, char close) {
  std::size_t position = 0;
  while (position < text.size()) {
    if (text[position] != close) {
      ++position;
    } else if (text.substr(position + 1, 1) == std::string_view(&close, 1)) {
      position += 2;
    } else {
      break;
    }
  }
  return position;
}

/// Masks inside of a quoted value, where closing quotes are doubled.
std::string mask_quoted(std::string_view quoted, char close) {
  std::string plain;
  for (std::size_t i = 0; i < quoted.size(); ++i) {
    plain.push_back(quoted[i]);
    if (quoted[i] == close) {
      ++i;
    }
  }
  std::string result;
  for (const char c : mask_passwords(plain)) {
    result.append(c == close ? 2 : 1, c);
  }
  return result;
}

/// What follows up to the next semicolon.
std::string_view item_rest(std::string_view text, std::size_t position) {
  const auto rest = text.substr(std::min(position, text.size()));
  return rest.substr(0, rest.find(';'));
}

bool is_blank(std::string_view text) {
  return text.find_first_not_of(blanks) == std::string_view::npos;
}

/// Takes the value of an item, up to the next semicolon outside of quotes, off the front of `text`.
std::string take_value(std::string_view& text, bool secret) {
  const auto start = std::min(text.find_first_not_of(blanks), text.size());
  const char close = start < text.size() ? quote_that_closes(text[start]) : '\0';
  std::size_t end = start;
  std::string shown(text.substr(0, start));
  if (close != 0) {
    const auto inside = text.substr(start + 1);
    const auto length = quoted_length(inside, close);
    const auto quoted = inside.substr(0, length);
    const auto masked = mask_quoted(quoted, close);
    secret = secret || (masked != quoted && !is_blank(item_rest(text, start + length + 2)));
    shown += text[start] + masked;
    if (length < inside.size()) {
      shown += close;
    }
    end = std::min(start + length + 2, text.size());
  }
  const auto rest = item_rest(text, end);
  shown += rest;
  const auto next = end + rest.size();
  const bool has_value = next > start;
  text.remove_prefix(next);
  return secret && has_value ? "***" : shown;
}

}  // namespace

std::string mask_passwords(std::string_view connection_string) {
  std::string result;
  auto rest = connection_string;
  while (!rest.empty()) {
    const auto key_end = rest.find_first_of("=;");
    const auto key = rest.substr(0, key_end);
    const bool has_value = key_end != std::string_view::npos && rest[key_end] == '=';
    rest.remove_prefix(std::min(key.size(), rest.size()));
    result += key;
    if (has_value) {
      rest.remove_prefix(1);
      result += '=' + take_value(rest, names_a_password(key));
    }
    if (!rest.empty()) {
      result += ';';
      rest.remove_prefix(1);
    }
  }
  return result;
}

}  // namespace importkcd
