#include "frontend/window/set_control_enabled.h"

#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QPalette>
#include <QVariant>
#include <QWidget>

namespace importkcd {
namespace {

constexpr const char* greyed_property = "importkcd_greyed";

bool has_background(const QWidget& control) {
  return qobject_cast<const QLineEdit*>(&control) != nullptr ||
         qobject_cast<const QComboBox*>(&control) != nullptr;
}

QPalette greyed_palette() {
  QPalette palette;
  const QColor background = QGuiApplication::palette().color(QPalette::Active, QPalette::Window);
  palette.setColor(QPalette::All, QPalette::Base, background);
  return palette;
}

}  // namespace

void SetControlEnabled(QWidget& control, bool enabled) {
  control.setEnabled(enabled);
  if (has_background(control)) {
    control.setProperty(greyed_property, !enabled);
    refresh_look(control);
  }
}

bool is_greyed(const QWidget& control) { return control.property(greyed_property).toBool(); }

void refresh_look(QWidget& control) {
  control.setPalette(is_greyed(control) ? greyed_palette() : QPalette());
}

}  // namespace importkcd
