#include "frontend/window/qt_dialogs.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>
#include <QUrl>
#include <utility>

#include "pickers/qt/browse_for_computer.h"
#include "pickers/qt/search_olap.h"

namespace importkcd {
namespace {

/// Shows the arrow pointer in place of a run's hourglass as long as it lives.
class ArrowPointer {
 public:
  ArrowPointer() { QApplication::setOverrideCursor(Qt::ArrowCursor); }
  ~ArrowPointer() { QApplication::restoreOverrideCursor(); }
  ArrowPointer(const ArrowPointer&) = delete;
  ArrowPointer& operator=(const ArrowPointer&) = delete;
};

QMessageBox::Icon qt_icon(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::exclamation:
      return QMessageBox::Warning;
    case MessageIcon::critical:
      return QMessageBox::Critical;
    case MessageIcon::none:
      break;
  }
  return QMessageBox::NoIcon;
}

QString shown(const std::string& text) {
  return QString::fromStdString(text).remove(QLatin1Char('\r'));
}

void fill(QMessageBox& message, const MessageBox& box) {
  message.setIcon(qt_icon(box.icon));
  message.setWindowTitle(QString::fromStdString(box.title));
  // Names in a message must not be taken for markup.
  message.setTextFormat(Qt::PlainText);
  message.setText(shown(box.text));
  message.setDetailedText(shown(box.detail));
}

QMessageBox::StandardButton show_box(QWidget* owner, const MessageBox& box,
                                     QMessageBox::StandardButtons buttons,
                                     QMessageBox::StandardButton safe) {
  const ArrowPointer arrow;
  QMessageBox message(owner);
  message.setStandardButtons(buttons);
  message.setDefaultButton(safe);
  fill(message, box);
  return static_cast<QMessageBox::StandardButton>(message.exec());
}

}  // namespace

QtDialogs::QtDialogs(OlapServerFactory browse_server) : browse_server_(std::move(browse_server)) {}

void QtDialogs::show_message(QWidget* owner, const MessageBox& box) {
  show_box(owner, box, QMessageBox::Ok, QMessageBox::Ok);
}

void QtDialogs::show_notice(QWidget* owner, const MessageBox& box) {
  auto* message = new QMessageBox(owner);
  message->setAttribute(Qt::WA_DeleteOnClose);
  message->setStandardButtons(QMessageBox::Ok);
  message->setModal(false);
  fill(*message, box);
  message->show();
}

bool QtDialogs::ask_yes_no(QWidget* owner, const MessageBox& box) {
  return show_box(owner, box, QMessageBox::Yes | QMessageBox::No, QMessageBox::No) ==
         QMessageBox::Yes;
}

std::string QtDialogs::open_file(QWidget* owner, const OpenFileRequest& request) {
  // The dialog would keep a history of folders and files; this path takes none.
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("/dev/null"));
  const QString start = QString::fromStdString(request.start);
  QFileDialog dialog(owner, QString::fromStdString(request.title), QFileInfo(start).path(),
                     QString::fromStdString(qt_name_filter(request.filter)));
  dialog.setAcceptMode(QFileDialog::AcceptOpen);
  dialog.setFileMode(request.must_exist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
  dialog.setDefaultSuffix(QString::fromStdString(request.default_suffix));
  // The description names the patterns already.
  dialog.setOption(QFileDialog::HideNameFilterDetails);
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
    return {};
  }
  return dialog.selectedFiles().constFirst().toStdString();
}

std::string QtDialogs::browse_for_computer(QWidget* owner, const std::string& title) {
  return BrowseForComputer(owner, title);
}

std::optional<std::string> QtDialogs::pick_database(QWidget* owner, const std::string& server) {
  frmSearchOLAPDB picker(browse_server_);
  if (!picker.ShowDBs(server, owner)) {
    return std::nullopt;
  }
  return picker.SelectedOLAPDB();
}

void QtDialogs::start_viewer(const std::string& file_name) {
  // The viewer has a current folder of its own, so the name has to be absolute.
  const QFileInfo file(QString::fromStdString(file_name));
  QDesktopServices::openUrl(QUrl::fromLocalFile(file.absoluteFilePath()));
}

std::string qt_name_filter(const std::string& filter) {
  const std::size_t bar = filter.find('|');
  if (bar == std::string::npos) {
    return filter;
  }
  std::string patterns = filter.substr(bar + 1);
  std::erase(patterns, ' ');
  for (char& character : patterns) {
    character = character == ';' ? ' ' : character;
  }
  return filter.substr(0, bar) + " (" + patterns + ")";
}

}  // namespace importkcd
