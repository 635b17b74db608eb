#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

namespace importkcd {

/// How far the status list can be scrolled to the right. One for the whole program.
class StatusExtent {
 public:
  /// Takes the width of a new line, in twips. Gives the list's new extent in pixels when the width
  /// exceeds what is stored, nothing otherwise.
  ///
  /// What is stored is the extent in pixels, so a width in twips is compared with pixels: nearly
  /// every line counts as wider, and the extent follows the last one rather than the widest.
  std::optional<std::int32_t> widen(std::int32_t width_twips, double twips_per_pixel) {
    if (width_twips <= value_) {
      return std::nullopt;
    }
    value_ = static_cast<std::int32_t>(std::nearbyint(width_twips / twips_per_pixel));
    return value_;
  }

  std::int32_t value() const { return value_; }

 private:
  std::int32_t value_ = 0;
};

}  // namespace importkcd
