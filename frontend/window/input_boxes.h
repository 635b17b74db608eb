#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <functional>

namespace importkcd {

/// A text box that tells when it is left, and that may refuse typed characters.
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

 private:
  bool takes_all(const QString& typed) const;
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

}  // namespace importkcd
