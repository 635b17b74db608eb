#pragma once

#include <QWidget>

#include "frontend/window/window_controls.h"
#include "pickers/window_layout.h"

namespace importkcd {

/// Gives the window its designed size and every control its designed place, computed from the
/// style and the font, and records what the layout rule for resizing starts from. No Qt layout is
/// left behind: from here on the rule places the controls.
RecordedLayout lay_out_as_designed(QWidget& window, const WindowControls& controls);

/// Logical pixels as twips, and back to the nearest pixel. The scale of the screen is Qt's affair.
constexpr double twips_of_pixels(int pixels) {
  return static_cast<double>(pixels) * twips_per_pixel_at_96_dpi;
}
int pixels_of_twips(std::int32_t twips);

/// Carries out the layout rule for the window's present size. The size inside the window's frame
/// stands for the outer one: the frame is the same before and after, and unknown until the window
/// is on the screen.
void apply_layout_rule(QWidget& window, const WindowControls& controls,
                       const RecordedLayout& recorded);

}  // namespace importkcd
