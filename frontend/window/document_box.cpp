#include "frontend/window/document_box.h"

#include <QCheckBox>
#include <QDir>
#include <QRadioButton>
#include <QUrl>
#include <array>

#include "frontend/output_file_name.h"
#include "frontend/window/window_controls.h"

namespace importkcd {
namespace {

using namespace control;

struct Companions {
  ControlName check_box;
  std::array<ControlName, 2> controls;
};

constexpr std::array all_companions{
    Companions{cbAltDWServer, {txtDatawarehouseServer, cmdBrowseDWServer}},
    Companions{cbAltOLAPDatabase, {txtOLAPDatabase, cmdBrowseOLAPDatabase}},
    Companions{cbOutputFile, {txtOutputFile, cmdBrowseOutputFile}},
    Companions{cbReplacePattern, {txtReplacePatternFrom, txtReplacePatternTo}}};

constexpr std::array labels_group{lblServer,      txtServer,      cmdServer,      optSecureLogin,
                                  optSQLLogin,    lblSQLUsername, txtSQLUsername, lblSQLPassword,
                                  txtSQLPassword, lblDB,          cmbDB,          lblLanguage,
                                  cmbLanguage};

void switch_labels_group(const WindowControls& controls, bool on) {
  for (const ControlName name : labels_group) {
    SetControlEnabled(controls.widget(name), on);
  }
}

}  // namespace

void DocumentBox::take_file(const std::string& name) {
  controls_.set_text(txtKCDFilename, name);
  txtKCDFilename_LostFocus();
}

void DocumentBox::txtKCDFilename_LostFocus() {
  resolve_file_name(controls_, txtKCDFilename);
  const std::string document = controls_.text(txtKCDFilename);
  KciInput = is_kci_name(document);
  switch_labels_group(controls_, KciInput);
  if (KciInput) {
    controls_.as<QRadioButton>(optSQLLogin).setChecked(true);
    SetLoginMode(controls_, optSQLLogin);
  }
  DeriveOutputFileName();
  const SingleCompanyRule rule = single_company_rule(document);
  if (rule != SingleCompanyRule::leave) {
    controls_.as<QCheckBox>(cbReplacePattern).setChecked(rule == SingleCompanyRule::check);
    switch_companions(controls_, cbReplacePattern);
  }
}

void DocumentBox::DeriveOutputFileName() const {
  if (const auto name = importkcd::DeriveOutputFileName(controls_.text(txtKCDFilename), today_())) {
    controls_.set_text(txtOutputFile, *name);
  }
}

std::string local_file_name(const std::string& typed) {
  if (typed == "~" || typed.starts_with("~/")) {
    return QDir::homePath().toStdString() + typed.substr(1);
  }
  if (typed.starts_with("file://")) {
    QUrl address(QString::fromStdString(typed));
    if (address.host() == QLatin1String("localhost")) {
      address.setHost(QString());
    }
    if (address.isLocalFile() && address.host().isEmpty()) {
      return address.toLocalFile().toStdString();
    }
  }
  return typed;
}

void resolve_file_name(const WindowControls& controls, ControlName box) {
  const std::string typed = controls.text(box);
  if (const std::string name = local_file_name(typed); name != typed) {
    controls.set_text(box, name);
  }
}

void switch_companions(const WindowControls& controls, ControlName check_box) {
  for (const auto& companions : all_companions) {
    if (companions.check_box == check_box) {
      for (const ControlName name : companions.controls) {
        SetControlEnabled(controls.widget(name), controls.is_on(check_box));
      }
    }
  }
}

void SetLoginMode(const WindowControls& controls, ControlName option_button) {
  const bool enabled = option_button == optSQLLogin;
  controls.widget(lblSQLUsername).setEnabled(enabled);
  controls.widget(lblSQLPassword).setEnabled(enabled);
  SetControlEnabled(controls.widget(txtSQLUsername), enabled);
  SetControlEnabled(controls.widget(txtSQLPassword), enabled);
}

void switch_labels_group_off(const WindowControls& controls) {
  switch_labels_group(controls, false);
}

}  // namespace importkcd
