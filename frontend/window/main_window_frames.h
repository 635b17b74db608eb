#pragma once

#include <QWidget>

#include "frontend/window/window_controls.h"

namespace importkcd {

/// Makes all controls of the main window as its children, with their captions, tool-tips,
/// accessible names, buddies, tab order and designed states. They have no place yet (see
/// designed_layout.h) and no behaviour.
WindowControls build_main_window_frames(QWidget& window);

}  // namespace importkcd
