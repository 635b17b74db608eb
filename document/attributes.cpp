#include "document/attributes.h"

#include <charconv>
#include <limits>
#include <system_error>

#include "base/apostrophes.h"
#include "base/import_error.h"
#include "base/numbers.h"
#include "base/text.h"

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

template <class Number>
Number whole_number_of(const KcdElement& element, std::string_view attribute) {
  const auto number = rounded_number(trimmed(present(element, attribute), blanks_of_numbers));
  if (!number) {
    type_mismatch();
  }
  if (*number < std::numeric_limits<Number>::min() ||
      *number > std::numeric_limits<Number>::max()) {
    overflow();
  }
  return static_cast<Number>(*number);
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
  const bool negative = text.starts_with('-');
  text.remove_prefix(negative || text.starts_with('+') ? 1 : 0);
  // "inf" and "nan", which from_chars would take, begin otherwise.
  if (text.empty() || (!is_ascii_digit(text.front()) && text.front() != '.')) {
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
