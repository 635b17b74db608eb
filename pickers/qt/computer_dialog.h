#pragma once

#include <QDialog>
#include <cstddef>
#include <string>

#include "pickers/computer_source.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

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

}  // namespace importkcd
