#include "pickers/qt/dialog_parts.h"

#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QMessageBox>
#include <QPushButton>
#include <QString>

namespace importkcd {
namespace {

/// A list's size in average letters and in lines.
constexpr int list_letters = 60;
constexpr int list_lines = 14;

void name_button(QPushButton& button, const QString& object_name, const QString& description) {
  button.setObjectName(object_name);
  button.setAccessibleName(button.text().remove(QLatin1Char('&')));
  button.setAccessibleDescription(description);
}

}  // namespace

void PickList::focusInEvent(QFocusEvent* event) {
  QListWidget::focusInEvent(event);
  if (!selectionModel()->hasSelection()) {
    selectionModel()->clearCurrentIndex();
  }
}

QModelIndex PickList::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) {
  if (!selectionModel()->hasSelection() && count() > 0) {
    const bool from_the_end = action == MoveEnd || action == MoveUp;
    return model()->index(from_the_end ? count() - 1 : 0, 0);
  }
  return QListWidget::moveCursor(action, modifiers);
}

void set_up_list(QListWidget& list, const QString& object_name, const QString& accessible_name,
                 const QString& accessible_description) {
  list.setObjectName(object_name);
  list.setAccessibleName(accessible_name);
  list.setAccessibleDescription(accessible_description);
  list.setUniformItemSizes(true);
  list.setSpacing(1);
  const QFontMetrics metrics(list.font());
  list.setMinimumSize(list_letters * metrics.averageCharWidth(),
                      list_lines * metrics.lineSpacing());
}

QDialogButtonBox* make_ok_and_cancel(const QString& ok_description) {
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  QPushButton* ok = buttons->button(QDialogButtonBox::Ok);
  ok->setDefault(true);
  name_button(*ok, QStringLiteral("cmdOk"), ok_description);
  name_button(*buttons->button(QDialogButtonBox::Cancel), QStringLiteral("cmdCancel"),
              QObject::tr("Closes the dialog without a choice"));
  return buttons;
}

void show_error_box(QWidget* owner, const std::string& title, const std::string& text) {
  QMessageBox box(QMessageBox::Critical, QString::fromStdString(title),
                  QString::fromStdString(text), QMessageBox::Ok, owner);
  // Names in a message must not be taken for markup.
  box.setTextFormat(Qt::PlainText);
  box.exec();
}

}  // namespace importkcd
