#include "frontend/window/window_controls.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>

namespace importkcd {

void WindowControls::add(ControlName name, QWidget& widget) {
  widget.setObjectName(QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())));
  widgets_.emplace(name, &widget);
}

std::string WindowControls::text(ControlName box) const {
  if (const auto* list = qobject_cast<QComboBox*>(&widget(box))) {
    return list->currentText().toStdString();
  }
  return as<QLineEdit>(box).text().toStdString();
}

void WindowControls::set_text(ControlName box, const std::string& text) const {
  if (auto* list = qobject_cast<QComboBox*>(&widget(box))) {
    list->setEditText(QString::fromStdString(text));
    return;
  }
  as<QLineEdit>(box).setText(QString::fromStdString(text));
}

bool WindowControls::is_on(ControlName button) const {
  return as<QAbstractButton>(button).isChecked();
}

}  // namespace importkcd
