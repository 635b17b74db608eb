#include "document/attributes.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

#include "base/apostrophes.h"
#include "base/import_error.h"
#include "base/trimmed.h"

namespace importkcd {
namespace {

constexpr std::string_view blanks_of_numbers = " \t";

[[noreturn]] void fail(const std::string& description) {
  throw ImportError(description, error_source::kcd_document);
}

[[noreturn]] void type_mismatch() { fail("Type mismatch"); }

[[noreturn]] void overflow() { fail("Overflow"); }

std::string_view present(const KcdElement& element, std::string_view attribute) {
  const auto value = element.attribute(attribute);
  if (!value) {
    fail("Invalid use of Null");
  }
  return *value;
}

constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// Takes a sign off the front; tells whether it was a minus.
bool take_sign(std::string_view& text) {
  const bool negative = !text.empty() && text.front() == '-';
  if (negative || (!text.empty() && text.front() == '+')) {
    text.remove_prefix(1);
  }
  return negative;
}

/// The two sides of a decimal point; both hold nothing but digits.
struct Digits {
  std::string_view whole;
  std::string_view fraction;
};

Digits split_at_point(std::string_view text) {
  const auto point = std::min(text.find('.'), text.size());
  const Digits digits{text.substr(0, point), text.substr(std::min(point + 1, text.size()))};
  if (digits.whole.empty() && digits.fraction.empty()) {
    type_mismatch();
  }
  if (!std::all_of(digits.whole.begin(), digits.whole.end(), is_digit) ||
      !std::all_of(digits.fraction.begin(), digits.fraction.end(), is_digit)) {
    type_mismatch();
  }
  return digits;
}

/// Whether the fraction lifts a whole number to the next one: more than a half, or exactly a half
/// next to an odd number.
bool rounds_up(std::string_view fraction, bool whole_is_odd) {
  if (fraction.empty() || fraction.front() != '5') {
    return !fraction.empty() && fraction.front() > '5';
  }
  return whole_is_odd || fraction.find_first_not_of('0', 1) != std::string_view::npos;
}

/// Rounds on the digits themselves: through a double, 2.4999999999999999999 would become 3.
std::int64_t whole_number(std::string_view text) {
  text = trimmed(text, blanks_of_numbers);
  const bool negative = take_sign(text);
  const auto digits = split_at_point(text);
  std::int64_t magnitude = 0;
  for (const char digit : digits.whole) {
    magnitude = magnitude * 10 + (digit - '0');
    if (magnitude > std::numeric_limits<std::uint32_t>::max()) {
      overflow();
    }
  }
  if (rounds_up(digits.fraction, magnitude % 2 != 0)) {
    ++magnitude;
  }
  return negative ? -magnitude : magnitude;
}

template <class Number>
Number whole_number_of(const KcdElement& element, std::string_view attribute) {
  const auto number = whole_number(present(element, attribute));
  if (number < std::numeric_limits<Number>::min() || number > std::numeric_limits<Number>::max()) {
    overflow();
  }
  return static_cast<Number>(number);
}

}  // namespace

std::string raw_text(const KcdElement& element, std::string_view attribute) {
  return std::string(present(element, attribute));
}

std::string decoded_text(const KcdElement& element, std::string_view attribute) {
  return DecodeApostrophes(present(element, attribute));
}

std::int16_t int16_number(const KcdElement& element, std::string_view attribute) {
  return whole_number_of<std::int16_t>(element, attribute);
}

std::int32_t int32_number(const KcdElement& element, std::string_view attribute) {
  return whole_number_of<std::int32_t>(element, attribute);
}

double double_number(const KcdElement& element, std::string_view attribute) {
  auto text = trimmed(present(element, attribute), blanks_of_numbers);
  const bool negative = take_sign(text);
  // "inf" and "nan", which from_chars would take, begin otherwise.
  if (text.empty() || (!is_digit(text.front()) && text.front() != '.')) {
    type_mismatch();
  }
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    type_mismatch();
  }
  if (result.ec == std::errc::result_out_of_range) {
    overflow();
  }
  return negative ? -number : number;
}

const KcdElement& required_child(const KcdElement& element, std::string_view tag) {
  const auto* const child = element.child(tag);
  if (child == nullptr) {
    fail("element '" + std::string(tag) + "' is missing");
  }
  return *child;
}

}  // namespace importkcd
