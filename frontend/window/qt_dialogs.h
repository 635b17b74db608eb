#pragma once

#include "frontend/window/dialogs.h"
#include "model/olap_server.h"

namespace importkcd {

/// The dialogs of the desktop.
class QtDialogs : public Dialogs {
 public:
  /// `browse_server` makes servers that are opened to be looked at only.
  explicit QtDialogs(OlapServerFactory browse_server);

  void show_message(QWidget* owner, const MessageBox& box) override;
  void show_notice(QWidget* owner, const MessageBox& box) override;
  bool ask_yes_no(QWidget* owner, const MessageBox& box) override;
  std::string open_file(QWidget* owner, const OpenFileRequest& request) override;
  std::string browse_for_computer(QWidget* owner, const std::string& title) override;
  std::optional<std::string> pick_database(QWidget* owner, const std::string& server) override;
  void start_viewer(const std::string& file_name) override;

 private:
  OlapServerFactory browse_server_;
};

/// A request's filter as Qt writes it: the description, then the patterns in parentheses.
std::string qt_name_filter(const std::string& filter);

}  // namespace importkcd
