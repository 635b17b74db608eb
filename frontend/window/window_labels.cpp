#include "frontend/window/window_labels.h"

#include <QApplication>
#include <utility>

#include "frontend/window/document_box.h"
#include "frontend/window/input_boxes.h"

namespace importkcd {
namespace {

ControlName control_of(LabelsList list) {
  return list == LabelsList::databases ? control::cmbDB : control::cmbLanguage;
}

/// Shows the wait pointer as long as it lives, over whatever pointer is shown.
class WaitPointer {
 public:
  WaitPointer() { QApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitPointer() { QApplication::restoreOverrideCursor(); }
  WaitPointer(const WaitPointer&) = delete;
  WaitPointer& operator=(const WaitPointer&) = delete;
};

}  // namespace

WindowLabels::WindowLabels(const Surroundings& surroundings, LabelsConnector connect)
    : surroundings_(surroundings),
      access_(*this, std::move(connect)),
      conversion_(access_, *this) {}

void WindowLabels::databases_opening() {
  const WaitPointer wait;
  access_.RefreshLabelDatabases();
}

void WindowLabels::languages_opening() {
  const WaitPointer wait;
  access_.LoadLanguages();
}

LabelsFields WindowLabels::labels_fields() const {
  const WindowControls& controls = surroundings_.controls;
  LabelsFields fields;
  fields.kci_filename = controls.text(control::txtKCDFilename);
  fields.server = controls.text(control::txtServer);
  fields.user = controls.text(control::txtSQLUsername);
  fields.password = controls.text(control::txtSQLPassword);
  fields.database = controls.text(control::cmbDB);
  fields.language = controls.text(control::cmbLanguage);
  fields.secure_login = controls.is_on(control::optSecureLogin);
  return fields;
}

void WindowLabels::clear_list(LabelsList list) {
  surroundings_.controls.as<DropDownList>(control_of(list)).clear();
}

void WindowLabels::add_entry(LabelsList list, const std::string& text) {
  auto& box = surroundings_.controls.as<DropDownList>(control_of(list));
  box.addItem(QString::fromStdString(text));
  if (box.count() == 1) {
    // Qt selects the first entry that a list gets.
    box.setCurrentIndex(-1);
    box.clearEditText();
  }
}

void WindowLabels::select_first(LabelsList list) {
  surroundings_.controls.as<DropDownList>(control_of(list)).setCurrentIndex(0);
}

void WindowLabels::set_list_text(LabelsList list, const std::string& text) {
  surroundings_.controls.set_text(control_of(list), text);
}

void WindowLabels::show_labels_message(const LabelsMessage& message) {
  surroundings_.dialogs.show_message(&surroundings_.window,
                                     {message.critical ? MessageIcon::critical : MessageIcon::none,
                                      message.title, message.text, access_.failure()});
}

bool WindowLabels::ask_yes_no(const std::string& title, const std::string& question) {
  return surroundings_.dialogs.ask_yes_no(&surroundings_.window,
                                          {MessageIcon::exclamation, title, question});
}

void WindowLabels::PutProgressMsg(const std::string& strMessage) {
  surroundings_.progress.put_progres_message(strMessage);
}

void WindowLabels::set_default_pointer() { surroundings_.run_view.set_hourglass(false); }

}  // namespace importkcd
