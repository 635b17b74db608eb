#pragma once

#include <QDialog>
#include <cstddef>
#include <string>

#include "pickers/computer_sources.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QWidget;

namespace importkcd {

/// The dialog in which a computer is chosen (lstComputers) or typed (txtComputer). Computers are
/// listed in alphabetical order as their sources find them; the search starts with the dialog and
/// ends with it. A double click and Return confirm, Escape and closing the window cancel; OK is
/// there as soon as there is a name.
class ComputerDialog : public QDialog {
 public:
  ComputerDialog(const std::string& title, ComputerSources sources, QWidget* owner);
  ~ComputerDialog() override;

  /// The name that is selected or typed, without blanks around it and without leading backslashes;
  /// empty when there is none.
  std::string computer() const;

 private:
  void build();
  void build_list();
  void build_name_box();
  void search();
  void add(const std::string& name);
  void source_finished();

  QListWidget* list_ = nullptr;
  QLineEdit* name_ = nullptr;
  QLabel* state_ = nullptr;
  QPushButton* ok_ = nullptr;
  std::size_t searching_ = 0;
  /// Last, so that the search ends before the controls do.
  ComputerSources sources_;
};

/// Lets the user choose a computer in a modal dialog with that title over `owner` (which may be
/// null). It lists the machines that are found on the network while it searches, those of the hosts
/// file and this computer; a name may also be typed. Answers the computer's name without leading
/// backslashes, or the empty text when the user cancels. Shows no error: what cannot be searched
/// finds nothing.
std::string BrowseForComputer(QWidget* owner, const std::string& title);

/// The same over other sources of names.
std::string BrowseForComputer(QWidget* owner, const std::string& title, ComputerSources sources);

/// The sources of the first form: this computer, the hosts file, and Avahi on the system's bus.
ComputerSources default_computer_sources();

}  // namespace importkcd
