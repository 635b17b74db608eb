#include "frontend/window/input_boxes.h"

#include <QAbstractItemView>
#include <QDragEnterEvent>
#include <QFocusEvent>
#include <QHelpEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QToolTip>
#include <algorithm>

#include "frontend/window/window_controls.h"

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

void FieldBox::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) {
    event->ignore();
  } else {
    QLineEdit::dragEnterEvent(event);
  }
}

bool FieldBox::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip && echoMode() == Normal && is_cut_off()) {
    QToolTip::showText(dynamic_cast<const QHelpEvent&>(*event).globalPos(), plain_tool_tip(text()),
                       this);
    return true;
  }
  return QLineEdit::event(event);
}

bool FieldBox::is_cut_off() const {
  QStyleOptionFrame frame;
  initStyleOption(&frame);
  const int room = style()->subElementRect(QStyle::SE_LineEditContents, &frame, this).width();
  return fontMetrics().horizontalAdvance(text()) > room;
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
  view()->setAccessibleName(accessibleName());
  QComboBox::showPopup();
}

PressButton::PressButton(const QString& caption, QWidget* parent) : QPushButton(caption, parent) {
  setAutoDefault(true);
}

void PressButton::mouseDoubleClickEvent(QMouseEvent* event) {
  // The second press of a double click; the first one has clicked.
  event->accept();
}

void PressButton::keyPressEvent(QKeyEvent* event) {
  if (event->isAutoRepeat()) {
    event->accept();
  } else {
    QPushButton::keyPressEvent(event);
  }
}

}  // namespace importkcd
