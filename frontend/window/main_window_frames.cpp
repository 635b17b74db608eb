#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <array>
#include <span>

#include "frontend/window/input_boxes.h"
#include "frontend/window/status_list.h"
#include "frontend/window/window_controls.h"

namespace importkcd {
namespace {

enum class Kind { frame, label, text_box, password_box, button, check_box, option, list, status };

enum class State { usable, greyed, disabled, on, off_and_disabled, hidden };

/// A control as it is designed. Frames come before what they hold; the order is the tab order.
struct Design {
  ControlName name;
  /// The frame that holds it; empty: the window.
  ControlName parent;
  Kind kind;
  const char* caption;
  /// What assistive technology calls it; null: the caption.
  const char* spoken = nullptr;
  const char* tool_tip = "";
  State state = State::usable;
};

using namespace control;

constexpr std::array import_file{
    Design{frmImportFile, {}, Kind::frame, "Import File "},
    Design{lblKCDFilename, frmImportFile, Kind::label, "Cube Definition &Document"},
    Design{Label1, frmImportFile, Kind::label, "Cube Definition Document", nullptr, "",
           State::hidden},
    Design{txtKCDFilename, frmImportFile, Kind::text_box, "", "Cube Definition Document",
           "Enter a KCD or KCI-filename to import here ..."},
    Design{cmdBrowseKCD, frmImportFile, Kind::button, "...",
           "Browse for the Cube Definition Document"}};

constexpr std::array destination{
    Design{frmDestination, {}, Kind::frame, "Destination "},
    Design{lblOLAPServer, frmDestination, Kind::label, "Microsoft &OLAP Server"},
    Design{txtOLAPServer, frmDestination, Kind::text_box, "", "Microsoft OLAP Server"},
    Design{cmdBrowseOLAPServer, frmDestination, Kind::button, "...",
           "Browse for the Microsoft OLAP Server"}};

constexpr std::array modification{
    Design{frmModification, {}, Kind::frame, "Modifications "},
    Design{cbAltOLAPDatabase, frmModification, Kind::check_box, "Alternate OLAP &Database", nullptr,
           "Import into another OLAP database than the one specified in the Cube Definition "
           "Document."},
    Design{txtOLAPDatabase, frmModification, Kind::text_box, "",
           "Name of the Alternate OLAP Database", "", State::greyed},
    Design{cmdBrowseOLAPDatabase, frmModification, Kind::button, "...",
           "Browse for the Alternate OLAP Database", "", State::disabled},
    Design{cbAltDWServer, frmModification, Kind::check_box, "Alternate Data&warehouse Server",
           nullptr,
           "Overrule the data warehouse server that is specified in the Cube Definition Document"},
    Design{txtDatawarehouseServer, frmModification, Kind::text_box, "",
           "Name of the Alternate Datawarehouse Server", "", State::greyed},
    Design{cmdBrowseDWServer, frmModification, Kind::button, "...",
           "Browse for the Alternate Datawarehouse Server", "", State::disabled}};

constexpr std::array import_options{
    Design{frmImportOptions, {}, Kind::frame, "Import Options "},
    Design{frmDatabaseImportOption, frmImportOptions, Kind::frame, "Database "},
    Design{obReplace, frmDatabaseImportOption, Kind::option, "&Replace", nullptr,
           "First delete existing OLAP Database"},
    Design{obIncremental, frmDatabaseImportOption, Kind::option, "&Incremental", nullptr,
           "Append new definitions to the OLAP Database (nothing is removed)", State::on},
    Design{obUpdate, frmDatabaseImportOption, Kind::option, "&Update", nullptr,
           "Update Cube, Virtual Cube and Shared Dimensions only.", State::off_and_disabled},
    Design{cbDontUpdateLevels, frmImportOptions, Kind::check_box, "DontUpdateLevels", nullptr, "",
           State::off_and_disabled},
    Design{cbReplacePattern, frmImportOptions, Kind::check_box, "Company Replace &Pattern", nullptr,
           "Should a pattern be replaced in case of a Single Company Cube?"},
    Design{txtReplacePatternFrom, frmImportOptions, Kind::text_box, "%XXX%",
           "Company Pattern to replace", "", State::greyed},
    Design{lblReplacePatternBy, frmImportOptions, Kind::label, "by"},
    Design{txtReplacePatternTo, frmImportOptions, Kind::text_box, "",
           "Replacement of the Company Pattern", "", State::greyed},
    Design{cbImportCubePartitionDefs, frmImportOptions, Kind::check_box,
           "I&mport Cube Partition Definitions", nullptr,
           "Should the Partitioning info also be imported in the Cubes?"}};

constexpr std::array output_file{
    Design{frmOutput, {}, Kind::frame, "Output File "},
    Design{cbOutputFile, frmOutput, Kind::check_box, "Output to &File", nullptr, "", State::on},
    Design{txtOutputFile, frmOutput, Kind::text_box, "", "Name of the Output File"},
    Design{cmdBrowseOutputFile, frmOutput, Kind::button, "...", "Browse for the Output File"},
    Design{cbOutputFileOpenOnError, frmOutput, Kind::check_box, "Open Outputfile on &Errors",
           nullptr, "Should the OutputFile be opened with Notepad or not?"}};

constexpr std::array labels_database{
    Design{fraLabelsDB, {}, Kind::frame, "Labels Database Information"},
    Design{lblServer, fraLabelsDB, Kind::label, "&Server"},
    Design{txtServer, fraLabelsDB, Kind::text_box, "(local)", "Labels Database Server"},
    Design{cmdServer, fraLabelsDB, Kind::button, "...", "Browse for the Labels Database Server"},
    Design{fraAuth, fraLabelsDB, Kind::frame, "Authentication"},
    Design{optSecureLogin, fraAuth, Kind::option, "Use &Windows Authentication"},
    Design{optSQLLogin, fraAuth, Kind::option, "Use S&QL Login"},
    Design{lblSQLUsername, fraAuth, Kind::label, "U&sername"},
    Design{txtSQLUsername, fraAuth, Kind::text_box, "", "Username"},
    Design{lblSQLPassword, fraAuth, Kind::label, "P&assword"},
    Design{txtSQLPassword, fraAuth, Kind::password_box, "", "Password"},
    Design{lblDB, fraLabelsDB, Kind::label, "Data&base"},
    Design{cmbDB, fraLabelsDB, Kind::list, "", "Labels Database"},
    Design{lblLanguage, fraLabelsDB, Kind::label, "&Language"},
    Design{cmbLanguage, fraLabelsDB, Kind::list, "", "Language"}};

constexpr std::array run_and_status{Design{cmdImport, {}, Kind::button, "&Import"},
                                    Design{cmdCancel, {}, Kind::button, "&Cancel"},
                                    Design{frmStatus, {}, Kind::frame, "Status "},
                                    Design{lstStatus, frmStatus, Kind::status, "", "Status"}};

constexpr std::array all_designs{
    std::span<const Design>(import_file),   std::span<const Design>(destination),
    std::span<const Design>(modification),  std::span<const Design>(import_options),
    std::span<const Design>(output_file),   std::span<const Design>(labels_database),
    std::span<const Design>(run_and_status)};

struct Buddy {
  ControlName label;
  ControlName field;
};

constexpr std::array buddies{Buddy{lblKCDFilename, txtKCDFilename},
                             Buddy{lblOLAPServer, txtOLAPServer},
                             Buddy{lblReplacePatternBy, txtReplacePatternTo},
                             Buddy{lblServer, txtServer},
                             Buddy{lblSQLUsername, txtSQLUsername},
                             Buddy{lblSQLPassword, txtSQLPassword},
                             Buddy{lblDB, cmbDB},
                             Buddy{lblLanguage, cmbLanguage}};

QWidget* make_text_box(const char* text, bool password, QWidget* parent) {
  auto* box = new FieldBox(QString::fromUtf8(text), parent);
  if (password) {
    // The style sheet chooses the character shown, a star; the echo mode does the rest.
    box->setEchoMode(QLineEdit::Password);
    box->setStyleSheet(QStringLiteral("lineedit-password-character: 42"));
  }
  return box;
}

QWidget* make_control(const Design& design, QWidget* parent) {
  const QString caption = QString::fromUtf8(design.caption);
  switch (design.kind) {
    case Kind::frame:
      return new QGroupBox(caption, parent);
    case Kind::label:
      return new QLabel(caption, parent);
    case Kind::text_box:
    case Kind::password_box:
      return make_text_box(design.caption, design.kind == Kind::password_box, parent);
    case Kind::button:
      return new PressButton(caption, parent);
    case Kind::check_box:
      return new QCheckBox(caption, parent);
    case Kind::option:
      return new QRadioButton(caption, parent);
    case Kind::list:
      return new DropDownList(parent);
    case Kind::status:
      return new StatusList(parent);
  }
  return nullptr;
}

void set_state(QWidget& widget, State state) {
  auto* button = qobject_cast<QAbstractButton*>(&widget);
  switch (state) {
    case State::usable:
      break;
    case State::greyed:
      SetControlEnabled(widget, false);
      break;
    case State::disabled:
    case State::off_and_disabled:
      widget.setEnabled(false);
      break;
    case State::on:
      button->setChecked(true);
      break;
    case State::hidden:
      widget.hide();
      break;
  }
}

QString without_mnemonic(const char* caption) {
  return QString::fromUtf8(caption).remove(QLatin1Char('&')).trimmed();
}

void set_texts(QWidget& widget, const Design& design) {
  const QString tool_tip = QString::fromUtf8(design.tool_tip);
  widget.setAccessibleName(design.spoken != nullptr ? QString::fromUtf8(design.spoken)
                                                    : without_mnemonic(design.caption));
  if (const auto* list = qobject_cast<const QComboBox*>(&widget)) {
    list->lineEdit()->setAccessibleName(widget.accessibleName());
  }
  widget.setAccessibleDescription(tool_tip);
  widget.setToolTip(tool_tip);
}

}  // namespace

WindowControls build_main_window_frames(QWidget& window) {
  WindowControls controls;
  QWidget* previous = nullptr;
  for (const std::span<const Design> designs : all_designs) {
    for (const Design& design : designs) {
      QWidget* parent = design.parent.empty() ? &window : &controls.widget(design.parent);
      QWidget* widget = make_control(design, parent);
      controls.add(design.name, *widget);
      set_texts(*widget, design);
      set_state(*widget, design.state);
      if (widget->focusPolicy() != Qt::NoFocus) {
        if (previous != nullptr) {
          QWidget::setTabOrder(previous, widget);
        }
        previous = widget;
      }
    }
  }
  for (const auto& [label, field] : buddies) {
    controls.as<QLabel>(label).setBuddy(&controls.widget(field));
  }
  controls.as<QPushButton>(cmdImport).setDefault(true);
  return controls;
}

}  // namespace importkcd
