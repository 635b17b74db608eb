#pragma once

#include <QWidget>

#include "frontend/window/window_controls.h"
#include "pickers/window_layout.h"

namespace importkcd {

/// Carries out the layout rule for the window's present size. The size inside the window's frame
/// stands for the outer one: the frame is the same before and after, and unknown until the window
/// is on the screen.
void apply_layout_rule(QWidget& window, const WindowControls& controls,
                       const RecordedLayout& recorded);

}  // namespace importkcd
