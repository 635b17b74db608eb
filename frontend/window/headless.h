#pragma once

#include <iosfwd>
#include <string>

#include "frontend/window/dialogs.h"

namespace importkcd {

// What takes the desktop's place where there is none.

/// Chooses Qt's platform by the environment, before the application object is made: what
/// QT_QPA_PLATFORM says, else the display, else (without one, or when it cannot be reached) the
/// offscreen platform.
void choose_platform();

/// Whether the application object, once made, came up without a display. The choice is then no
/// longer in the environment, so that other programs started from here make their own.
bool is_headless();

/// Messages are printed, one line each; questions are answered with what does no harm; nothing can
/// be chosen.
class HeadlessDialogs : public Dialogs {
 public:
  /// `errors` outlives this object.
  explicit HeadlessDialogs(std::ostream& errors) : errors_(errors) {}

  void show_message(QWidget* owner, const MessageBox& box) override;
  void show_notice(QWidget* owner, const MessageBox& box) override;
  bool ask_yes_no(QWidget* owner, const MessageBox& box) override;
  std::string open_file(QWidget* owner, const OpenFileRequest& request) override;
  std::string browse_for_computer(QWidget* owner, const std::string& title) override;
  std::optional<std::string> pick_database(QWidget* owner, const std::string& server) override;
  void start_viewer(const std::string& file_name) override;

 private:
  std::ostream& errors_;
};

/// A message box's title, text and detail as one line.
std::string message_line(const MessageBox& box);

}  // namespace importkcd
