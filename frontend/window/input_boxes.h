#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <functional>

namespace importkcd {

/// A text box that tells when it is left, and that may refuse typed characters. The tool tip of a
/// text that is cut off shows all of it (not a password's). Dropped files are left to the window.
class FieldBox : public QLineEdit {
 public:
  using QLineEdit::QLineEdit;

  /// Called when the focus has moved to another control of the window; not when the window lost it
  /// to another window or to a popup, because the box has it again afterwards.
  std::function<void()> left;

  /// Whether a typed character is taken; without it, all are. Pasted text and text from the program
  /// are not asked for.
  std::function<bool(char32_t)> takes_key;

 protected:
  void focusOutEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  bool event(QEvent* event) override;

 private:
  bool takes_all(const QString& typed) const;
  bool is_cut_off() const;
};

/// A box with a list of choices that takes any text, and that may be filled when its list is
/// opened.
class DropDownList : public QComboBox {
 public:
  explicit DropDownList(QWidget* parent);

  /// Called before each opening of the list.
  std::function<void()> opening;

  void showPopup() override;
};

/// A button that Return presses when it has the focus. A double click counts as one click, and a
/// key that is held down as one key.
class PressButton : public QPushButton {
 public:
  PressButton(const QString& caption, QWidget* parent);

 protected:
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace importkcd
