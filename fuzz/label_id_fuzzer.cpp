// Any bytes as a label ID: a number in 16 bits, no number, or a refusal; nothing else.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "base/import_error.h"
#include "fuzz/fuzz_support.h"
#include "labels/loaded_labels.h"

namespace {

using importkcd::fuzz::require;

/// Short decimal numbers are exact enough in floating point to compare with.
bool is_short(const std::string& text) {
  constexpr std::size_t exact_digits = 12;
  return text.size() <= exact_digits;
}

void check(const std::string& text) {
  std::optional<std::int16_t> id;
  try {
    id = importkcd::label_id(text);
  } catch (const importkcd::ImportError&) {
    require(std::any_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }));
    require(!is_short(text) || std::abs(std::strtod(text.c_str(), nullptr)) >= 32767.5);
    return;
  }
  require(importkcd::label_id(" " + text + " ") == id);
  if (id) {
    require(importkcd::label_id(std::to_string(*id)) == id);
    require(!is_short(text) || std::nearbyint(std::strtod(text.c_str(), nullptr)) == *id);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  check(std::string(data, data + size));
  return 0;
}
