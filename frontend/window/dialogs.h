#pragma once

#include <optional>
#include <string>

#include "frontend/run_view.h"

class QWidget;

namespace importkcd {

/// A dialog that asks for the name of a file to open.
struct OpenFileRequest {
  std::string title;
  /// What is offered: a description, a bar, and patterns separated by semicolons.
  std::string filter;
  /// Given to a typed name that has no extension.
  std::string default_suffix;
  /// Only files that exist can be chosen.
  bool must_exist = true;
  /// Where the dialog starts: a file or folder name, possibly empty.
  std::string start;
};

/// Everything the main window shows outside of itself. Each call but show_notice waits for the
/// answer; `owner` is the window that the dialog belongs to. No method throws. The programs hand in
/// dialogs of the desktop or those of headless.h; tests hand in answers.
class Dialogs {
 public:
  virtual ~Dialogs() = default;

  /// A message box with a single OK button.
  virtual void show_message(QWidget* owner, const MessageBox& box) = 0;
  /// The same without waiting: the box stands beside what goes on, until somebody closes it or the
  /// owner ends.
  virtual void show_notice(QWidget* owner, const MessageBox& box) = 0;
  /// A message box with Yes and No, of which No is the safe answer; true for Yes.
  virtual bool ask_yes_no(QWidget* owner, const MessageBox& box) = 0;
  /// The chosen file's name, or the empty text.
  virtual std::string open_file(QWidget* owner, const OpenFileRequest& request) = 0;
  /// The chosen computer's name, or the empty text.
  virtual std::string browse_for_computer(QWidget* owner, const std::string& title) = 0;
  /// Lets one of a server's databases be chosen; nothing unless a choice (possibly the empty name)
  /// was confirmed.
  virtual std::optional<std::string> pick_database(QWidget* owner, const std::string& server) = 0;
  /// Starts the desktop's text viewer on a file without waiting for it.
  virtual void start_viewer(const std::string& file_name) = 0;
};

}  // namespace importkcd
