#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace importkcd {

/// The whole number that a text means: an optional sign and digits, at most one decimal point among
/// them. It is rounded to the nearest whole number, halves to the even one. Numbers of more than 15
/// digits become some number of more than 15 digits. Nothing when the text is no such number.
std::optional<std::int64_t> rounded_number(std::string_view text);

/// The number that the whole text is, as std::from_chars reads it; nothing when it is none or does
/// not fit.
template <class Number>
std::optional<Number> exact_number(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool is_read = error == std::errc() && end == text.data() + text.size();
  return is_read ? std::optional(number) : std::nullopt;
}

}  // namespace importkcd
