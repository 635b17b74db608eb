#pragma once

#include <QWidget>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "frontend/run_controller.h"
#include "frontend/run_settings.h"
#include "frontend/window/dialogs.h"
#include "frontend/window/document_box.h"
#include "frontend/window/window_controls.h"
#include "frontend/window/window_labels.h"
#include "frontend/window/window_run_view.h"
#include "importer/import_options.h"
#include "model/olap_server.h"
#include "pickers/qt/limit_resizing.h"
#include "pickers/window_layout.h"

namespace importkcd {

/// What the main window needs of the world. The programs put the real things in, tests their own.
struct WindowServices {
  OlapServerFactory open_server;
  LabelsConnector open_labels;
  /// This computer's name.
  std::string computer_name;
  /// Gives the time stamps of the output file.
  TimeStampSource time_stamp;
  /// Gives the date in the output file's name.
  std::function<std::chrono::year_month_day()> today;
  /// There is no screen for the window: a run is watched by nobody, so the window never stays open
  /// after it.
  bool headless = false;
  /// Gets a copy of each status line; may be empty.
  std::function<void(const std::string&)> copy_status_line;
};

/// The main window: every setting of a run as a control, found by its object name (controls.h).
/// The window is loaded once, shown, and ends with being closed.
class frmImportKCDMain : public QWidget, public ProgressSink {
 public:
  /// `dialogs` outlives the window.
  frmImportKCDMain(Dialogs& dialogs, WindowServices services);
  ~frmImportKCDMain() override;

  /// Lays the window out, fills in the defaults, and applies the command line (the arguments as one
  /// text). Called once, before the window is shown. Throws StartUpError when a value of the
  /// command line cannot be converted.
  void Form_Load(const std::string& command_line);

  std::string GetComputerName() const { return services_.computer_name; }
  /// Adds a status line to the list and the output file.
  void PutProgressMsg(const std::string& strMessage);
  void put_progres_message(const std::string& message) override { PutProgressMsg(message); }
  /// Puts a document into its box, as if it had been chosen there. A name of no file is taken, too.
  void open_document(const std::string& file_name) { document_box_.take_file(file_name); }

  /// The start is an unattended one whose run has not begun.
  bool is_unattended() const { return settings_.CommandLineRun; }
  const HiddenSettings& settings() const { return settings_; }
  /// 1 after an unattended start whose run did not succeed, 0 otherwise.
  int exit_status() const { return controller_.exit_status(); }

  /// Called once the window has been closed.
  std::function<void()> unloaded;

 protected:
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void connect_buttons();
  void connect_boxes();
  void connect_keys();
  void on_click(ControlName button, std::function<void()> action);
  void browse_for_file(const OpenFileRequest& request, ControlName box);
  void browse_for_server(ControlName box, const std::string& title);
  void browse_for_labels_server();
  void cmdBrowseOLAPDatabase_Click();
  void trim_box(ControlName box);
  void limit_size(bool limited);
  void activate_soon();
  void Form_Unload();

  Dialogs& dialogs_;
  WindowServices services_;
  HiddenSettings settings_;
  WindowControls controls_;
  DocumentBox document_box_;
  WindowRunView run_view_;
  WindowLabels labels_;
  RunController controller_;
  LimitResizing limits_;
  RecordedLayout recorded_;
  bool loaded_ = false;
  bool activation_is_due_ = false;
};

}  // namespace importkcd
