#include "labels/label_id.h"

#include <cstddef>
#include <limits>
#include <string>

#include "base/import_error.h"
#include "base/numbers.h"
#include "base/text.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

using Limits = std::numeric_limits<std::int16_t>;

[[noreturn]] void fail_out_of_range(std::string_view text) {
  constexpr std::size_t shown = 40;
  throw ImportError("Label ID " + std::string(text.substr(0, shown)) +
                        (text.size() > shown ? "..." : "") + " is out of range (" +
                        std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()) +
                        ")",
                    error_source::labels_database);
}

}  // namespace

std::optional<std::int16_t> label_id(std::string_view text) {
  const auto trimmed_text = trimmed(text, " ");
  const auto id = rounded_number(trimmed_text);
  if (!id) {
    return std::nullopt;
  }
  if (*id < Limits::min() || *id > Limits::max()) {
    fail_out_of_range(trimmed_text);
  }
  return static_cast<std::int16_t>(*id);
}

}  // namespace importkcd
