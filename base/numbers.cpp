#include "base/numbers.h"

#include <algorithm>
#include <cstddef>

#include "base/text.h"

namespace importkcd {
namespace {

bool are_digits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), is_ascii_digit);
}

/// Whether the fraction lifts a whole number to the next one: more than a half, or exactly a half
/// next to an odd number.
bool rounds_up(std::string_view fraction, bool whole_is_odd) {
  if (fraction.empty() || fraction.front() != '5') {
    return !fraction.empty() && fraction.front() > '5';
  }
  return whole_is_odd || fraction.find_first_not_of('0', 1) != std::string_view::npos;
}

}  // namespace

// Rounds on the digits themselves: through a double, 2.4999999999999999999 would become 3.
std::optional<std::int64_t> rounded_number(std::string_view text) {
  constexpr std::int64_t too_large = 1'000'000'000'000'000;
  const bool negative = text.starts_with('-');
  text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
  const auto point = std::min(text.find('.'), text.size());
  const auto whole = text.substr(0, point);
  const auto fraction = text.substr(std::min(point + 1, text.size()));
  if ((whole.empty() && fraction.empty()) || !are_digits(whole) || !are_digits(fraction)) {
    return std::nullopt;
  }
  std::int64_t magnitude = 0;
  for (const char digit : whole) {
    magnitude = std::min(magnitude * 10 + (digit - '0'), too_large);
  }
  magnitude += rounds_up(fraction, magnitude % 2 != 0) ? 1 : 0;
  return negative ? -magnitude : magnitude;
}

}  // namespace importkcd
