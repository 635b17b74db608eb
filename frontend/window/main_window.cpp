#include "frontend/window/main_window.h"

#include <QCloseEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QUrl>
#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "frontend/command_line.h"
#include "frontend/output_file_name.h"
#include "frontend/text_characters.h"
#include "frontend/window/input_boxes.h"
#include "frontend/window/main_window_layout.h"
#include "frontend/window/status_list.h"
#include "frontend/window/status_search.h"
#include "frontend/window/window_command_line.h"
#include "frontend/window/window_controls.h"
#include "frontend/window/window_help.h"
#include "frontend/window/window_icon.h"

namespace importkcd {

using namespace control;

namespace {

/// Groups of option buttons.
const std::array<std::vector<ControlName>, 2> option_groups{
    {{obReplace, obIncremental, obUpdate}, {optSecureLogin, optSQLLogin}}};

/// Tab goes to the selected button of a group, or to any when none is selected.
void set_tab_stops(const WindowControls& controls, const std::vector<ControlName>& group) {
  const bool selected = std::any_of(group.begin(), group.end(),
                                    [&](ControlName option) { return controls.is_on(option); });
  for (const ControlName option : group) {
    controls.widget(option).setFocusPolicy(selected && !controls.is_on(option) ? Qt::ClickFocus
                                                                               : Qt::StrongFocus);
  }
}

}  // namespace

frmImportKCDMain::frmImportKCDMain(Dialogs& dialogs, WindowServices services)
    : dialogs_(dialogs),
      services_(std::move(services)),
      controls_(build_main_window_frames(*this)),
      document_box_(controls_, services_.today),
      run_view_({*this, controls_, document_box_, dialogs,
                 [this](bool limited) { limit_size(limited); }, services_.copy_status_line}),
      labels_({*this, controls_, dialogs, run_view_, *this}, services_.open_labels),
      controller_(run_view_, settings_, labels_,
                  {services_.open_server, services_.computer_name, services_.time_stamp}) {
  setObjectName(QStringLiteral("frmImportKCDMain"));
  setWindowTitle(QStringLiteral("Import Cube Definitions from File"));
  setWindowIcon(window_icon());
  setAcceptDrops(true);
  connect_buttons();
  connect_boxes();
  connect_keys();
}

frmImportKCDMain::~frmImportKCDMain() {
  // The controls outlive the members that their events go to.
  for (const QWidget* control : findChildren<QWidget*>()) {
    disconnect(control, nullptr, this, nullptr);
  }
  for (const ControlName box :
       {txtKCDFilename, txtReplacePatternFrom, txtReplacePatternTo, txtOutputFile}) {
    controls_.as<FieldBox>(box).left = nullptr;
  }
}

void frmImportKCDMain::Form_Load(const std::string& command_line) {
  recorded_ = lay_out_as_designed(*this, controls_);
  loaded_ = true;
  apply_layout_rule(*this, controls_, recorded_);
  limit_size(true);
  controls_.set_text(txtOLAPServer, GetComputerName());
  settings_ = HiddenSettings{};
  labels_.drop_connection();
  switch_labels_group_off(controls_);
  WindowCommandLine target(controls_, document_box_);
  ParseCommandLine(command_line, settings_, target);
  if (services_.headless) {
    settings_.KeepOpen = false;
    // Nobody would see what is painted.
    setUpdatesEnabled(false);
  }
}

void frmImportKCDMain::PutProgressMsg(const std::string& strMessage) {
  controller_.PutProgressMsg(strMessage);
}

void frmImportKCDMain::on_click(ControlName button, std::function<void()> action) {
  connect(&controls_.as<QAbstractButton>(button), &QAbstractButton::clicked, this,
          [act = std::move(action)] { act(); });
}

void frmImportKCDMain::connect_buttons() {
  on_click(cmdImport, [this] { controller_.cmdImport_Click(); });
  on_click(cmdCancel, [this] { controller_.cmdCancel_Click(); });
  on_click(cmdBrowseKCD, [this] {
    browse_for_file({.title = "Select KCD File  ",
                     .filter = "KCD Files (*.kcd), KCI Files (*.kci)|*.kcd; *.kci",
                     .default_suffix = "kcd",
                     .must_exist = true,
                     .start = controls_.text(txtKCDFilename)},
                    txtKCDFilename);
  });
  on_click(cmdBrowseOutputFile, [this] {
    browse_for_file({.title = "Select Output File  ",
                     .filter = "Text (*.txt)|*.txt",
                     .default_suffix = "kcd",
                     .must_exist = false,
                     .start = controls_.text(txtOutputFile)},
                    txtOutputFile);
  });
  on_click(cmdBrowseOLAPServer,
           [this] { browse_for_server(txtOLAPServer, "Search your OLAP Server..."); });
  on_click(cmdBrowseDWServer, [this] {
    browse_for_server(txtDatawarehouseServer, "Search your Datawarehouse Server...");
  });
  on_click(cmdServer, [this] { browse_for_labels_server(); });
  on_click(cmdBrowseOLAPDatabase, [this] { cmdBrowseOLAPDatabase_Click(); });

  // A button that is pressed by its mnemonic takes the focus, so that the box that had it is left
  // before anything else happens.
  for (const ControlName name :
       {cmdImport, cmdCancel, cmdBrowseKCD, cmdBrowseOutputFile, cmdBrowseOLAPServer,
        cmdBrowseDWServer, cmdServer, cmdBrowseOLAPDatabase}) {
    auto& button = controls_.as<QPushButton>(name);
    connect(&button, &QPushButton::pressed, this,
            [&button] { button.setFocus(Qt::ShortcutFocusReason); });
  }
}

void frmImportKCDMain::connect_boxes() {
  for (const ControlName box : {cbAltDWServer, cbAltOLAPDatabase, cbOutputFile, cbReplacePattern}) {
    on_click(box, [this, box] { switch_companions(controls_, box); });
  }
  for (const ControlName option : {optSecureLogin, optSQLLogin}) {
    on_click(option, [this, option] { SetLoginMode(controls_, option); });
  }
  for (const auto& group : option_groups) {
    set_tab_stops(controls_, group);
    for (const ControlName option : group) {
      connect(&controls_.as<QAbstractButton>(option), &QAbstractButton::toggled, this,
              [this, &group] { set_tab_stops(controls_, group); });
    }
  }
  controls_.as<FieldBox>(txtKCDFilename).left = [this] {
    document_box_.txtKCDFilename_LostFocus();
  };
  controls_.as<FieldBox>(txtOutputFile).left = [this] {
    resolve_file_name(controls_, txtOutputFile);
  };
  for (const ControlName box : {txtReplacePatternFrom, txtReplacePatternTo}) {
    controls_.as<FieldBox>(box).left = [this, box] { trim_box(box); };
  }
  controls_.as<FieldBox>(txtOLAPDatabase).takes_key = database_box_takes_key;
  controls_.as<DropDownList>(cmbDB).opening = [this] { labels_.databases_opening(); };
  controls_.as<DropDownList>(cmbLanguage).opening = [this] { labels_.languages_opening(); };
}

void frmImportKCDMain::connect_keys() {
  auto* search = new StatusSearch(controls_.as<StatusList>(lstStatus));
  const auto on_key = [this](const QKeySequence& key, const std::function<void()>& action) {
    auto* shortcut = new QShortcut(key, this);
    connect(shortcut, &QShortcut::activated, this, action);
  };
  on_key(Qt::Key_F1, [this] { show_help(*this); });
  on_key(Qt::SHIFT | Qt::Key_F1, [this] { show_about(*this); });
  on_key(Qt::CTRL | Qt::Key_F, [search] { search->open(); });
  on_key(Qt::Key_F3, [search] { search->go_on(1); });
  on_key(Qt::SHIFT | Qt::Key_F3, [search] { search->go_on(-1); });
}

void frmImportKCDMain::trim_box(ControlName box) {
  controls_.set_text(box, std::string(trim_blanks(controls_.text(box))));
}

void frmImportKCDMain::browse_for_file(const OpenFileRequest& request, ControlName box) {
  const std::string name = dialogs_.open_file(this, request);
  if (name.empty()) {
    return;
  }
  if (box == txtKCDFilename) {
    document_box_.take_file(name);
  } else {
    controls_.set_text(box, name);
  }
}

void frmImportKCDMain::browse_for_server(ControlName box, const std::string& title) {
  // A cancelled dialog empties the box.
  controls_.set_text(box, dialogs_.browse_for_computer(this, title));
}

void frmImportKCDMain::browse_for_labels_server() {
  const std::string name = dialogs_.browse_for_computer(this, "Select your Server...");
  if (!name.empty()) {
    controls_.set_text(txtServer, name);
  }
}

void frmImportKCDMain::cmdBrowseOLAPDatabase_Click() {
  setCursor(Qt::WaitCursor);
  const auto chosen = dialogs_.pick_database(this, controls_.text(txtOLAPServer));
  if (chosen) {
    controls_.set_text(txtOLAPDatabase, *chosen);
  }
  unsetCursor();
}

void frmImportKCDMain::limit_size(bool limited) {
  if (!limited) {
    limits_.unhook(*this);
    return;
  }
  const QSize frame = frameGeometry().size() - size();
  const auto pixels = [](int twips) {
    return track_size_in_pixels(twips, twips_per_pixel_at_96_dpi);
  };
  const QSize designed(pixels(recorded_.designed_width), pixels(recorded_.designed_height));
  limits_.hook(*this, designed + frame, screen()->size());
}

void frmImportKCDMain::activate_soon() {
  // A window counts as activated when it is shown, too: not every desktop sends an activation.
  if (!loaded_ || std::exchange(activation_is_due_, true)) {
    return;
  }
  QMetaObject::invokeMethod(
      this,
      [this] {
        activation_is_due_ = false;
        controller_.Form_Activate();
      },
      Qt::QueuedConnection);
}

void frmImportKCDMain::Form_Unload() {
  limits_.unhook(*this);
  labels_.drop_connection();
  if (unloaded) {
    unloaded();
  }
}

bool frmImportKCDMain::event(QEvent* event) {
  if (event->type() == QEvent::WindowActivate) {
    activate_soon();
  }
  return QWidget::event(event);
}

void frmImportKCDMain::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  activate_soon();
}

void frmImportKCDMain::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::WindowStateChange && loaded_ && limits_.is_hooked(*this)) {
    // The frame around a maximised window is another one.
    limit_size(true);
  }
  if (event->type() == QEvent::PaletteChange) {
    for (QWidget* control : findChildren<QWidget*>()) {
      if (is_greyed(*control)) {
        refresh_look(*control);
      }
    }
  }
}

void frmImportKCDMain::closeEvent(QCloseEvent* event) {
  if (!controller_.may_close()) {
    event->ignore();
    return;
  }
  event->accept();
  Form_Unload();
}

void frmImportKCDMain::dragEnterEvent(QDragEnterEvent* event) {
  const QList<QUrl> dropped = event->mimeData()->urls();
  if (dropped.size() == 1 && dropped.first().isLocalFile() &&
      controls_.widget(txtKCDFilename).isEnabled()) {
    event->acceptProposedAction();
  }
}

void frmImportKCDMain::dropEvent(QDropEvent* event) {
  event->acceptProposedAction();
  document_box_.take_file(event->mimeData()->urls().first().toLocalFile().toStdString());
}

void frmImportKCDMain::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      // Held down, it would tell an empty field again and again.
      if (!event->isAutoRepeat()) {
        controls_.as<QPushButton>(cmdImport).click();
      }
      break;
    case Qt::Key_Escape:
      controller_.cmdCancel_Click();
      break;
    default:
      QWidget::keyPressEvent(event);
  }
}

void frmImportKCDMain::moveEvent(QMoveEvent* event) {
  QWidget::moveEvent(event);
  // The frame around the window becomes known with its place.
  if (loaded_ && limits_.is_hooked(*this)) {
    limit_size(true);
  }
}

void frmImportKCDMain::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (!loaded_) {
    return;
  }
  apply_layout_rule(*this, controls_, recorded_);
  if (limits_.is_hooked(*this)) {
    limit_size(true);
  }
}

}  // namespace importkcd
