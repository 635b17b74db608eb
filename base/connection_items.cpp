#include "base/connection_items.h"

#include <algorithm>

#include "base/name_folding.h"
#include "base/trimmed.h"

namespace importkcd {
namespace {

/// Takes a value in quotes off the front of `rest`, up to the semicolon behind it.
std::string take_quoted(std::string_view& rest, char closing) {
  std::string value;
  std::size_t at = 1;
  for (; at < rest.size(); ++at) {
    if (rest[at] == closing && rest.substr(at + 1, 1) != std::string_view(&closing, 1)) {
      break;
    }
    at += rest[at] == closing ? 1 : 0;
    value += rest[at];
  }
  rest.remove_prefix(std::min(rest.find(';', std::min(at, rest.size())), rest.size()));
  return value;
}

std::string take_value(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
  const char first = rest.empty() ? '\0' : rest.front();
  if (first == '"' || first == '\'' || first == '{') {
    return take_quoted(rest, first == '{' ? '}' : first);
  }
  const auto end = std::min(rest.find(';'), rest.size());
  std::string value(trimmed(rest.substr(0, end), blanks));
  rest.remove_prefix(end);
  return value;
}

}  // namespace

ConnectionItems::ConnectionItems(std::string_view connection_string) {
  auto rest = connection_string;
  while (!rest.empty()) {
    const auto key_end = std::min(rest.find_first_of("=;"), rest.size());
    std::string key(trimmed(rest.substr(0, key_end), blanks));
    const bool has_value = rest.substr(key_end, 1) == "=";
    rest.remove_prefix(has_value ? key_end + 1 : key_end);
    auto value = has_value ? take_value(rest) : std::string();
    if (!key.empty()) {
      items_.emplace_back(std::move(key), std::move(value));
    }
    rest.remove_prefix(std::min<std::size_t>(1, rest.size()));
  }
}

std::string ConnectionItems::value(std::initializer_list<std::string_view> keys) const {
  for (const auto key : keys) {
    const auto found = std::find_if(items_.begin(), items_.end(),
                                    [key](const auto& item) { return same_name(item.first, key); });
    if (found != items_.end()) {
      return found->second;
    }
  }
  return {};
}

}  // namespace importkcd
