#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "frontend/window/window_controls.h"

namespace importkcd {

/// What the document box (txtKCDFilename) does to other controls.
class DocumentBox {
 public:
  /// `today` gives the date in the output file's name. `controls` outlives this object.
  DocumentBox(const WindowControls& controls, std::function<std::chrono::year_month_day()> today)
      : controls_(controls), today_(std::move(today)) {}

  /// A file was chosen or dropped: its name fills the box, which then counts as left.
  void take_file(const std::string& name);

  /// The box was left, or a file was chosen: switches the labels group, derives the output file's
  /// name, and switches the company pattern.
  void txtKCDFilename_LostFocus();

  /// Names the output file after the document.
  void DeriveOutputFileName() const;

  /// Whether the run that follows takes the document for a label-reference file.
  bool KciInput = false;

 private:
  const WindowControls& controls_;
  std::function<std::chrono::year_month_day()> today_;
};

/// A typed file name as the name of a file: `file://` addresses of this computer become paths, a
/// `~` at the start (alone or before a slash) becomes the home folder. Other texts stay as they
/// are.
std::string local_file_name(const std::string& typed);

/// The same for the text of a box.
void resolve_file_name(const WindowControls& controls, ControlName box);

/// The click behaviour of a check box that has companions: they are switched on or off with it.
/// Does nothing for other check boxes.
void switch_companions(const WindowControls& controls, ControlName check_box);

/// The click behaviour of optSecureLogin and optSQLLogin: user name and password are for the
/// latter.
void SetLoginMode(const WindowControls& controls, ControlName option_button);

/// Switches all of the labels group off.
void switch_labels_group_off(const WindowControls& controls);

}  // namespace importkcd
