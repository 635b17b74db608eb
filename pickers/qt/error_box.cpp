#include "pickers/qt/error_box.h"

#include <QMessageBox>
#include <QString>

namespace importkcd {

void show_error_box(QWidget* owner, const std::string& title, const std::string& text) {
  QMessageBox box(QMessageBox::Critical, QString::fromStdString(title),
                  QString::fromStdString(text), QMessageBox::Ok, owner);
  // Names may look like mark-up.
  box.setTextFormat(Qt::PlainText);
  box.exec();
}

}  // namespace importkcd
