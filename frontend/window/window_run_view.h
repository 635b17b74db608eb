#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <utility>

#include "frontend/run_view.h"
#include "frontend/window/dialogs.h"
#include "frontend/window/document_box.h"
#include "frontend/window/window_controls.h"

namespace importkcd {

/// What a run does to the main window, carried out by the window's controls.
class WindowRunView : public RunView {
 public:
  /// What it works on; all of it outlives this object.
  struct Surroundings {
    QWidget& window;
    const WindowControls& controls;
    const DocumentBox& document_box;
    Dialogs& dialogs;
    /// Installs (true) or removes the window's minimum size.
    std::function<void(bool)> limit_size;
    /// Gets a copy of each status line; may be empty.
    std::function<void(const std::string&)> copy_status_line;
  };

  explicit WindowRunView(Surroundings surroundings);
  ~WindowRunView() override;
  WindowRunView(const WindowRunView&) = delete;
  WindowRunView& operator=(const WindowRunView&) = delete;

  RunFields fields() const override;
  bool output_file_checked() const override;
  void add_status_line(const std::string& line, LineKind kind) override;
  void show_summary(const std::string& text) override;
  std::int32_t text_width(const std::string& text) const override;
  double twips_per_pixel() const override;
  void set_status_extent(std::int32_t pixels) override;
  void repaint() override;
  void repaint_now() override;
  void process_pending_events() override;
  void show_message(const MessageBox& box) override;
  void move_focus(ControlName control) override;
  void set_hourglass(bool hourglass) override;
  void hook_minimum_size() override { surroundings_.limit_size(true); }
  void unhook_minimum_size() override { surroundings_.limit_size(false); }
  void set_cancel_caption(const std::string& caption) override;
  void announce_close() override;
  void close_window() override;
  void start_viewer(const std::string& file_name) override;

 private:
  Surroundings surroundings_;
  /// Since the end of the last painting; not started before the first.
  QElapsedTimer since_painting_;
  /// Carries out a repaint that had to wait.
  QTimer waiting_repaint_;
  bool hourglass_ = false;
};

}  // namespace importkcd
