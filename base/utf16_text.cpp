#include "base/utf16_text.h"

#include <utf8proc.h>

#include <array>
#include <cstddef>

namespace importkcd {
namespace {

constexpr utf8proc_int32_t replacement = 0xFFFD;
constexpr utf8proc_int32_t first_of_two_units = 0x10000;
constexpr utf8proc_int32_t first_surrogate = 0xD800;
constexpr utf8proc_int32_t first_low_surrogate = 0xDC00;
constexpr utf8proc_int32_t behind_surrogates = 0xE000;
constexpr int low_bits = 10;

bool is_surrogate(utf8proc_int32_t unit) {
  return unit >= first_surrogate && unit < behind_surrogates;
}

void append_utf8(std::string& result, utf8proc_int32_t code) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const auto length = utf8proc_encode_char(code, bytes.data());
  result.append(bytes.begin(), bytes.begin() + length);
}

}  // namespace

std::u16string utf16_text(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  while (!text.empty()) {
    utf8proc_int32_t code = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &code);
    code = length > 0 ? code : replacement;
    text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
    if (code < first_of_two_units) {
      result += static_cast<char16_t>(code);
      continue;
    }
    code -= first_of_two_units;
    result += static_cast<char16_t>(first_surrogate + (code >> low_bits));
    result += static_cast<char16_t>(first_low_surrogate + (code & ((1 << low_bits) - 1)));
  }
  return result;
}

std::string utf8_text(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const utf8proc_int32_t unit = text[i];
    const utf8proc_int32_t next = i + 1 < text.size() ? text[i + 1] : 0;
    if (!is_surrogate(unit)) {
      append_utf8(result, unit);
    } else if (unit < first_low_surrogate && is_surrogate(next) && next >= first_low_surrogate) {
      append_utf8(result, first_of_two_units + ((unit - first_surrogate) << low_bits) +
                              (next - first_low_surrogate));
      ++i;
    } else {
      append_utf8(result, replacement);
    }
  }
  return result;
}

}  // namespace importkcd
