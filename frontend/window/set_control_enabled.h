#pragma once

class QWidget;

namespace importkcd {

/// Enables a control and gives it the background of a field, or disables it and gives it the
/// background of the window around it. A control without a background of its own (a label, a
/// button) keeps its look.
void SetControlEnabled(QWidget& control, bool enabled);

/// Whether a control has the look that SetControlEnabled gives a disabled one. Disabling it plainly
/// leaves its look alone.
bool is_greyed(const QWidget& control);

/// Takes the colours of a greyed control from the application's palette again, after that changed.
void refresh_look(QWidget& control);

}  // namespace importkcd
