#include "frontend/window/window_command_line.h"

#include <QCheckBox>
#include <QRadioButton>

namespace importkcd {

void WindowCommandLine::set_text(ControlName box, const std::string& text) {
  controls_.set_text(box, text);
}

void WindowCommandLine::repaint(ControlName control) { controls_.widget(control).repaint(); }

void WindowCommandLine::check(ControlName check_box) {
  controls_.as<QCheckBox>(check_box).setChecked(true);
  switch_companions(controls_, check_box);
}

void WindowCommandLine::uncheck(ControlName check_box) {
  controls_.as<QCheckBox>(check_box).setChecked(false);
}

void WindowCommandLine::select(ControlName option_button) {
  controls_.as<QRadioButton>(option_button).setChecked(true);
  if (option_button == control::optSecureLogin || option_button == control::optSQLLogin) {
    SetLoginMode(controls_, option_button);
  }
}

void WindowCommandLine::clear_selection(ControlName option_button) {
  // The selected button of an exclusive group cannot be cleared.
  auto& button = controls_.as<QRadioButton>(option_button);
  button.setAutoExclusive(false);
  button.setChecked(false);
  button.setAutoExclusive(true);
}

void WindowCommandLine::disable(ControlName control) {
  controls_.widget(control).setEnabled(false);
}

}  // namespace importkcd
