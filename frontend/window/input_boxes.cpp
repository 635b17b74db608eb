#include "frontend/window/input_boxes.h"

#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
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

DropDownList::DropDownList(QWidget* parent) : QComboBox(parent) {
  // As setEditable() does, which would also make the drop-down list's view at once.
  setLineEdit(new QLineEdit(this));
  setInsertPolicy(QComboBox::NoInsert);
  // Completion would change what was typed into the name of something else.
  setCompleter(nullptr);
}

void DropDownList::showPopup() {
  if (opening) {
    opening();
  }
  QComboBox::showPopup();
}

}  // namespace importkcd
