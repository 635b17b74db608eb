#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frontend/controls.h"
#include "frontend/run_settings.h"

namespace importkcd {

/// The title of message boxes that have none of their own.
constexpr std::string_view application_title = "ImportKCD";

/// What a status line is to the person who reads it.
enum class LineKind { message, error };

enum class MessageIcon { none, exclamation, critical };

/// A modal message box with a single OK button.
struct MessageBox {
  MessageIcon icon = MessageIcon::none;
  std::string title;
  std::string text;
  /// What is shown to those who ask for more; may be empty.
  std::string detail{};
  bool operator==(const MessageBox&) const = default;
};

/// What a run needs of the main window. The window implements it by its controls, a test records
/// it. No method throws.
class RunView {
 public:
  virtual ~RunView() = default;

  /// The fields as they stand at this moment.
  virtual RunFields fields() const = 0;
  /// RunFields::output_file alone; asked for every status line, so it must be cheap.
  virtual bool output_file_checked() const = 0;

  /// Appends a line to the status list, marked when it tells an error; with the next repaint it is
  /// selected and scrolled to. Must not process events.
  virtual void add_status_line(const std::string& line, LineKind kind) = 0;
  /// Shows beside the status list how the last run went; nothing for the empty text.
  virtual void show_summary(const std::string& text) = 0;
  /// The width of a text in the window's font, in twips.
  virtual std::int32_t text_width(const std::string& text) const = 0;
  /// Horizontal twips per pixel of the window's screen, more than 0.
  virtual double twips_per_pixel() const = 0;
  /// Sets how far the status list scrolls to the right.
  virtual void set_status_extent(std::int32_t pixels) = 0;
  /// Asks for a repaint of the window. It comes at once or, when the last one was a moment ago,
  /// with the events that run after that moment.
  virtual void repaint() = 0;
  /// Repaints the window at once.
  virtual void repaint_now() = 0;
  /// Lets pending window events run. They may call back into the controller.
  virtual void process_pending_events() = 0;

  /// Shows a message box and waits for its answer.
  virtual void show_message(const MessageBox& box) = 0;
  virtual void move_focus(ControlName control) = 0;
  /// Shows the hourglass pointer, or the default one again. Calls do not nest: the last one holds.
  virtual void set_hourglass(bool hourglass) = 0;
  /// Installs or removes the window's minimum size; each may be called when it is so already.
  virtual void hook_minimum_size() = 0;
  virtual void unhook_minimum_size() = 0;
  virtual void set_cancel_caption(const std::string& caption) = 0;
  /// Says, without waiting for an answer, that the window closes when the run has ended.
  virtual void announce_close() = 0;

  /// Closes the window, which ends the program. Never called during a run.
  virtual void close_window() = 0;
  /// Starts the desktop's text viewer on a file, named as typed, without waiting for it.
  virtual void start_viewer(const std::string& file_name) = 0;
};

/// Turns the label-reference file that the window names into a cube definition document.
class KciConverter {
 public:
  virtual ~KciConverter() = default;

  /// The name of the document that was written; empty on any failure, which the converter has
  /// reported by itself.
  virtual std::string ConvertKciToKcd() = 0;
};

}  // namespace importkcd
