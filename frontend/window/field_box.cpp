#include "frontend/window/field_box.h"

#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <algorithm>

namespace importkcd {
namespace {

bool stays_in_window(Qt::FocusReason reason) {
  return reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason &&
         reason != Qt::MenuBarFocusReason && reason != Qt::NoFocusReason;
}

}  // namespace

void FieldBox::focusOutEvent(QFocusEvent* event) {
  QLineEdit::focusOutEvent(event);
  if (left && isVisible() && stays_in_window(event->reason())) {
    left();
  }
}

void FieldBox::keyPressEvent(QKeyEvent* event) {
  if (takes_all(event->text())) {
    QLineEdit::keyPressEvent(event);
  }
}

void FieldBox::inputMethodEvent(QInputMethodEvent* event) {
  // Composed characters (accents, other scripts) are typed ones too.
  if (!takes_all(event->commitString())) {
    event->setCommitString(QString());
  }
  QLineEdit::inputMethodEvent(event);
}

bool FieldBox::takes_all(const QString& typed) const {
  if (!takes_key) {
    return true;
  }
  const auto characters = typed.toUcs4();
  return std::all_of(characters.begin(), characters.end(), [this](char32_t character) {
    // What does not print is a command: Tab, Return, Escape, Ctrl+V, Delete.
    return !QChar::isPrint(character) || takes_key(character);
  });
}

}  // namespace importkcd
