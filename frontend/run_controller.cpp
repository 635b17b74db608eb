#include "frontend/run_controller.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>

#include "base/text.h"
#include "frontend/field_validation.h"
#include "frontend/run_files.h"
#include "frontend/run_settings.h"
#include "importer/import_olapdb_from_kcd_doc.h"

namespace importkcd {

std::optional<std::int32_t> StatusExtent::widen(std::int32_t width_twips, double twips_per_pixel) {
  if (width_twips <= value_) {
    return std::nullopt;
  }
  value_ = static_cast<std::int32_t>(std::nearbyint(width_twips / twips_per_pixel));
  return value_;
}

class RunController::Nesting {
 public:
  explicit Nesting(RunController& controller) : controller_(controller) {
    ++controller_.runs_on_stack_;
  }
  ~Nesting() {
    --controller_.runs_on_stack_;
    controller_.view_.repaint_now();
    if (controller_.runs_on_stack_ == 0 && std::exchange(controller_.close_requested_, false)) {
      controller_.view_.close_window();
    }
  }
  Nesting(const Nesting&) = delete;
  Nesting& operator=(const Nesting&) = delete;

 private:
  RunController& controller_;
};

RunController::RunController(RunView& view, HiddenSettings& settings, KciConverter& converter,
                             RunServices services)
    : view_(view),
      settings_(settings),
      converter_(converter),
      services_(std::move(services)),
      output_file_(services_.time_stamp) {}

void RunController::Form_Activate() {
  if (!settings_.CommandLineRun) {
    return;
  }
  settings_.CommandLineRun = false;
  unattended_ = true;
  const Nesting nesting(*this);
  remove_status_file(settings_.StatusFileName);
  view_.repaint_now();
  cmdImport_Click();
  unattended_run_succeeded_ = last_run_succeeded_ && !untrapped_error_;
  close_requested_ = close_requested_ || !settings_.KeepOpen;
}

void RunController::cmdImport_Click() {
  const Nesting nesting(*this);
  view_.show_summary("");
  try {
    run_once();
  } catch (const std::exception& error) {
    untrapped_error_ = true;
    import_running_ = false;
    output_file_.CloseOutputFile();
    view_.set_hourglass(false);
    view_.show_message({MessageIcon::critical, std::string(application_title), error.what()});
    close_requested_ = true;
  }
}

void RunController::run_once() {
  view_.set_hourglass(true);
  // Only a run that reaches the importer brings the minimum size back.
  view_.unhook_minimum_size();
  if (!inputs_are_valid()) {
    view_.set_hourglass(false);
    return;
  }
  const RunFields fields = view_.fields();
  const std::string document =
      fields.kci_input ? converter_.ConvertKciToKcd() : fields.kcd_filename;
  if (fields.kci_input && document.empty()) {
    PutProgressMsg("Error during checking and converting the KCI-file");
    view_.set_hourglass(false);
    return;
  }
  RunImport(document);
  view_.set_hourglass(false);
  view_.set_cancel_caption("&Close");
}

bool RunController::inputs_are_valid() {
  const auto failure = ValidateInputs(view_.fields());
  if (!failure) {
    return true;
  }
  ShowFieldError(std::string(failure->caption), std::string(failure->message));
  if (!settings_.CommandLineRun) {
    view_.move_focus(failure->focus);
  }
  return false;
}

void RunController::RunImport(const std::string& document_file_name) {
  if (view_.output_file_checked() && !open_output_file()) {
    view_.set_hourglass(false);
    return;
  }
  const RunSummary before = summary_;
  const auto begin = std::chrono::steady_clock::now();
  import_document(document_file_name);
  view_.show_summary(summary_.text(before, std::chrono::steady_clock::now() - begin));
}

void RunController::import_document(const std::string& document_file_name) {
  ImportOLAPDBFromKCDDoc importer(services_.open_server);
  importer.succeeded = true;
  importer.ReleaseDocument();
  hand_over_settings(importer, view_.fields(), settings_, document_file_name,
                     services_.computer_name);
  importer.progres_window = this;
  importer.notifications = this;

  PutProgressMsg("Start");
  import_running_ = true;
  importer.make();
  import_running_ = false;
  view_.hook_minimum_size();
  PutProgressMsg("Done");

  last_run_succeeded_ = importer.succeeded;
  if (!last_run_succeeded_) {
    report_failure(importer.last_error);
    return;
  }
  PutProgressMsg("Import succeeded");
  output_file_.CloseOutputFile();
  WriteStatusFile(settings_.StatusFileName, status_of_success);
}

void RunController::report_failure(const std::string& last_error) {
  PutProgressMsg("Import not succeeded due to error");
  PutProgressMsg(last_error);
  output_file_.CloseOutputFile();
  WriteStatusFile(settings_.StatusFileName, last_error);
  const RunFields fields = view_.fields();
  if (fields.output_file_open_on_error) {
    view_.start_viewer(fields.output_file_name);
  }
}

bool RunController::open_output_file() {
  try {
    output_file_.OpenOutputFile(view_.fields().output_file_name);
  } catch (const FileError& error) {
    view_.show_message({MessageIcon::none, std::string(application_title), error.what()});
    return false;
  }
  return true;
}

void RunController::cmdCancel_Click() {
  if (!import_running_ && may_close()) {
    view_.close_window();
  }
}

bool RunController::may_close() {
  if (runs_on_stack_ == 0) {
    return true;
  }
  if (!std::exchange(close_requested_, true)) {
    view_.announce_close();
  }
  return false;
}

void RunController::PutProgressMsg(const std::string& strMessage) {
  const std::string line = printable(strMessage);
  if (!settings_.CommandLineRun) {
    view_.add_status_line(line, summary_.take(line) ? LineKind::error : LineKind::message);
    const auto extent =
        status_extent_.widen(view_.text_width("  " + line), view_.twips_per_pixel());
    if (extent) {
      view_.set_status_extent(*extent);
    }
    view_.repaint();
  }
  if (view_.output_file_checked()) {
    output_file_.WriteOutputLine(line);
  }
  view_.process_pending_events();
}

void RunController::ShowFieldError(const std::string& caption, const std::string& message) {
  PutProgressMsg("Error : " + message);
  view_.show_message(
      {MessageIcon::exclamation, "ImportKCD commandline", caption + " : " + message});
}

void RunController::show_message(const std::string& text) {
  view_.show_message({MessageIcon::none, std::string(application_title), text});
}

void RunController::show_messages(const std::vector<std::string>& texts) {
  // More than that fits on no screen.
  constexpr std::size_t most = 20;
  std::string together;
  for (std::size_t i = 0; i < std::min(texts.size(), most); ++i) {
    together.append(i == 0 ? "" : ";\n").append(printable(texts[i]));
  }
  if (texts.size() > most) {
    together.append(";\nand " + std::to_string(texts.size() - most) + " more");
  }
  show_message(together);
}

int RunController::exit_status() const {
  const bool unattended = unattended_ || settings_.CommandLineRun;
  return unattended && !unattended_run_succeeded_ ? 1 : 0;
}

}  // namespace importkcd
