#include "frontend/status_extent.h"

#include <cmath>

namespace importkcd {

std::optional<std::int32_t> StatusExtent::widen(std::int32_t width_twips, double twips_per_pixel) {
  if (width_twips <= value_) {
    return std::nullopt;
  }
  value_ = static_cast<std::int32_t>(std::nearbyint(width_twips / twips_per_pixel));
  return value_;
}

}  // namespace importkcd
