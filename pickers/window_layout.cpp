#include "pickers/window_layout.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace importkcd {
namespace {

void lay_out_width(LayoutResult& result, const RecordedLayout& recorded, std::int32_t outer_width) {
  const std::int32_t surplus = std::max(outer_width - recorded.designed_width, 0);
  if (outer_width < recorded.designed_width) {
    result.window_width = recorded.designed_width;
  } else {
    result.left_edges =
        MovedLeftEdges{recorded.browse_button_left + surplus, recorded.import_button_left + surplus,
                       recorded.cancel_button_left + surplus, recorded.labels_frame_left + surplus};
  }
  result.field_width = recorded.field_width + surplus;
  result.frame_width = recorded.frame_width + surplus;
  result.status_frame_width = recorded.status_frame_width + surplus;
  result.status_list_width = result.status_frame_width - status_list_margin;
}

void lay_out_height(LayoutResult& result, const RecordedLayout& recorded,
                    std::int32_t outer_height) {
  if (outer_height < recorded.designed_height) {
    result.window_height = recorded.designed_height;
    result.status_list_height = recorded.status_height;
    return;
  }
  // The list gets the frame's recorded height, so the frame outgrows its design at once.
  result.status_list_height = recorded.status_height + (outer_height - recorded.designed_height);
  result.status_frame_follows_list = true;
}

}  // namespace

std::int16_t recorded_size(double twips) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::int16_t>(
      std::clamp<double>(std::nearbyint(twips), Limits::min(), Limits::max()));
}

std::optional<LayoutResult> Form_Resize(const RecordedLayout& recorded, WindowSize outer,
                                        bool minimised) {
  if (minimised) {
    return std::nullopt;
  }
  LayoutResult result;
  lay_out_width(result, recorded, outer.width);
  lay_out_height(result, recorded, outer.height);
  return result;
}

std::int32_t track_size_in_pixels(double twips, double twips_per_pixel) {
  const auto factor = std::max(static_cast<std::int32_t>(std::nearbyint(twips_per_pixel)), 1);
  return static_cast<std::int32_t>(std::nearbyint(twips)) / factor;
}

}  // namespace importkcd
