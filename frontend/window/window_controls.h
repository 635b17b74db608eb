#pragma once

#include <QString>
#include <QWidget>
#include <map>
#include <string>

#include "frontend/controls.h"

namespace importkcd {

/// The main window's controls by name. It owns none of them; they belong to the window.
class WindowControls {
 public:
  /// Enters a control and makes the name its object name, by which others find it.
  void add(ControlName name, QWidget& widget);

  /// The control of that name. Throws std::out_of_range when there is none.
  QWidget& widget(ControlName name) const { return *widgets_.at(name); }

  /// The same as a control of a certain kind. Throws std::bad_cast when it is of another.
  template <typename Kind>
  Kind& as(ControlName name) const {
    return dynamic_cast<Kind&>(widget(name));
  }

  /// The text of a text box or of a drop-down list.
  std::string text(ControlName box) const;
  void set_text(ControlName box, const std::string& text) const;
  /// Whether a check box is checked, or an option button selected.
  bool is_on(ControlName button) const;

 private:
  std::map<ControlName, QWidget*> widgets_;
};

/// Enables a control and gives it the background of a field, or disables it and gives it the
/// background of the window around it. A control without a background of its own (a label, a
/// button) keeps its look.
void SetControlEnabled(QWidget& control, bool enabled);

/// Whether a control has the look that SetControlEnabled gives a disabled one. Disabling it plainly
/// leaves its look alone.
bool is_greyed(const QWidget& control);

/// A text as a tool tip: it wraps, and nothing in it is taken for markup.
QString plain_tool_tip(const QString& text);

/// Takes the colours of a greyed control from the application's palette again, after that changed.
void refresh_look(QWidget& control);

/// Makes all controls of the main window as its children, with their captions, tool-tips,
/// accessible names, buddies, tab order and designed states. They have no place yet (see
/// main_window_layout.h) and no behaviour.
WindowControls build_main_window_frames(QWidget& window);

}  // namespace importkcd
