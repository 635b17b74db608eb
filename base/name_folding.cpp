#include "base/name_folding.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/text.h"

namespace importkcd {
namespace {

constexpr bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }

constexpr char ascii_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

void append_lower_cased(std::string_view text, std::string& result) {
  while (!text.empty()) {
    const auto character = take_character(text);
    if (character.code < 0) {
      result.append(character.bytes);
      continue;
    }
    std::array<utf8proc_uint8_t, 4> bytes{};
    const auto written = utf8proc_encode_char(utf8proc_tolower(character.code), bytes.data());
    result.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(written));
  }
}

/// Names mostly differ in the number at their end, if at all.
bool ends_differ(std::string_view left, std::string_view right) {
  return !left.empty() && !right.empty() && is_ascii(left.back()) && is_ascii(right.back()) &&
         ascii_lower(left.back()) != ascii_lower(right.back());
}

}  // namespace

std::string lower_cased(std::string_view text) {
  std::string result(text);
  const auto ascii_end = std::find_if_not(result.begin(), result.end(), is_ascii);
  std::transform(result.begin(), ascii_end, result.begin(), ascii_lower);
  if (ascii_end != result.end()) {
    const auto ascii_size = static_cast<std::size_t>(ascii_end - result.begin());
    result.resize(ascii_size);
    append_lower_cased(text.substr(ascii_size), result);
  }
  return result;
}

std::string ascii_lower_cased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), ascii_lower);
  return text;
}

std::string ascii_upper_cased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return text;
}

bool same_name(std::string_view left, std::string_view right) {
  if (left == right) {
    return true;
  }
  if (ends_differ(left, right)) {
    return false;
  }
  const auto shorter = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < shorter; ++i) {
    if (!is_ascii(left[i]) || !is_ascii(right[i])) {
      return lower_cased(left.substr(i)) == lower_cased(right.substr(i));
    }
    if (ascii_lower(left[i]) != ascii_lower(right[i])) {
      return false;
    }
  }
  return left.size() == right.size();
}

}  // namespace importkcd
