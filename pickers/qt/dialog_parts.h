#pragma once

#include <QListWidget>
#include <functional>
#include <string>

class QDialogButtonBox;
class QString;
class QWidget;

namespace importkcd {

// What the dialogs of this folder have in common. Object names are the controls' names.

/// A list in which the row that looks chosen is chosen: while nothing is selected no row is marked
/// as the current one, and the first key that moves selects the first row (End and Up: the last
/// one).
class PickList : public QListWidget {
 public:
  using QListWidget::QListWidget;

 protected:
  void focusInEvent(QFocusEvent* event) override;
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
};

/// Names a list and gives it the size that its font asks for.
void set_up_list(QListWidget& list, const QString& object_name, const QString& accessible_name,
                 const QString& accessible_description);

/// The buttons cmdOk, which Return presses, and cmdCancel. The caller puts them into a layout,
/// which then owns them.
QDialogButtonBox* make_ok_and_cancel(const QString& ok_description);

/// Shows a message with the critical-stop icon and returns when the person has closed it. `owner`
/// may be null. Texts are plain UTF-8 and may hold carriage return + line feed pairs.
using ErrorBox =
    std::function<void(QWidget* owner, const std::string& title, const std::string& text)>;

/// The message box of the desktop.
void show_error_box(QWidget* owner, const std::string& title, const std::string& text);

}  // namespace importkcd
