#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "frontend/run_files.h"
#include "frontend/run_settings.h"
#include "frontend/run_summary.h"
#include "frontend/run_view.h"
#include "importer/import_options.h"
#include "model/olap_server.h"

namespace importkcd {

/// How far the status list can be scrolled to the right. One for the whole program.
class StatusExtent {
 public:
  /// Takes the width of a new line, in twips. Gives the list's new extent in pixels when the width
  /// exceeds what is stored, nothing otherwise.
  ///
  /// What is stored is the extent in pixels, so a width in twips is compared with pixels: nearly
  /// every line counts as wider, and the extent follows the last one rather than the widest.
  std::optional<std::int32_t> widen(std::int32_t width_twips, double twips_per_pixel);

  std::int32_t value() const { return value_; }

 private:
  std::int32_t value_ = 0;
};

/// What the run controller needs of the world outside of the window.
struct RunServices {
  /// Makes the OLAP server of the server box's text.
  OlapServerFactory open_server;
  /// This computer's name, which stands for "(local)" as a data warehouse server.
  std::string computer_name;
  /// Gives the time stamps of the output file.
  TimeStampSource time_stamp;
};

/// What happens between a click on Import and the end of one import.
///
/// The controller is driven from the window's thread only. Import stays usable during a run, so
/// that every operation may be called again from within RunView::process_pending_events; a nested
/// run takes over the output file and clears ImportRunning when it ends. The window is never closed
/// under a run: a close that is asked for meanwhile is carried out once, after the outermost run
/// has returned. No operation throws.
class RunController : public ProgressSink, public NotificationSink {
 public:
  /// `view`, `settings` and `converter` must outlive the controller.
  RunController(RunView& view, HiddenSettings& settings, KciConverter& converter,
                RunServices services);

  /// The window was activated. Starts the run of an unattended start, once, and closes the window
  /// after it unless HiddenSettings::KeepOpen holds.
  void Form_Activate();

  /// A whole run: validation, conversion of a label-reference file, import, report.
  ///
  /// A status file that cannot be written is an error nothing traps: a message box shows it and the
  /// program ends (the window is closed).
  void cmdImport_Click();

  /// Closes the window unless ImportRunning.
  void cmdCancel_Click();

  /// Asked by the window's close event. True: the window may close now. False: a run is under way,
  /// the event is to be ignored, the person is told, and RunView::close_window will be called after
  /// the run.
  bool may_close();

  /// Adds one status line to the list and the output file, asks for a repaint, and lets pending
  /// window events run. Whatever was added is painted before a long step and at a run's end. In an
  /// unattended start whose run has not begun the list is left alone.
  void PutProgressMsg(const std::string& strMessage);

  /// Reports a field error: a status line "Error : MESSAGE" and a message box "CAPTION : MESSAGE".
  void ShowFieldError(const std::string& caption, const std::string& message);

  /// The importer's messages arrive here.
  void put_progres_message(const std::string& message) override { PutProgressMsg(message); }
  void before_a_long_step() override { view_.repaint_now(); }
  void show_message(const std::string& text) override;
  void show_messages(const std::vector<std::string>& texts) override;

  /// True while the importer's `make` executes (but see nested runs above).
  bool ImportRunning() const { return import_running_; }
  /// Whether the last run that reached the importer succeeded; false before the first.
  bool LastRunSucceeded() const { return last_run_succeeded_; }

  /// The program's exit status: 1 when the start was an unattended one whose run did not succeed
  /// (or never began), 0 otherwise.
  int exit_status() const;

 private:
  /// Counts the runs on the stack; the outermost one closes the window if that was asked for.
  class Nesting;

  void run_once();
  bool inputs_are_valid();
  void RunImport(const std::string& document_file_name);
  void import_document(const std::string& document_file_name);
  bool open_output_file();
  void report_failure(const std::string& last_error);

  RunView& view_;
  HiddenSettings& settings_;
  KciConverter& converter_;
  RunServices services_;
  OutputFile output_file_;
  StatusExtent status_extent_;
  RunSummary summary_;
  int runs_on_stack_ = 0;
  bool close_requested_ = false;
  bool import_running_ = false;
  bool last_run_succeeded_ = false;
  bool unattended_ = false;
  bool unattended_run_succeeded_ = false;
  /// An error that nothing traps was met.
  bool untrapped_error_ = false;
};

}  // namespace importkcd
