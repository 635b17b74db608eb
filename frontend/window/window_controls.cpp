#include "frontend/window/window_controls.h"

#include <QAbstractButton>
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

void SetControlEnabled(QWidget& control, bool enabled) {
  control.setEnabled(enabled);
  if (has_background(control)) {
    control.setProperty(greyed_property, !enabled);
    refresh_look(control);
  }
}

QString plain_tool_tip(const QString& text) {
  return QStringLiteral("<p style='white-space:pre-wrap'>") + text.toHtmlEscaped() +
         QStringLiteral("</p>");
}

bool is_greyed(const QWidget& control) { return control.property(greyed_property).toBool(); }

void refresh_look(QWidget& control) {
  control.setPalette(is_greyed(control) ? greyed_palette() : QPalette());
}

}  // namespace importkcd
