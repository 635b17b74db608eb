#pragma once

#include <string>

#include "frontend/controls.h"

namespace importkcd {

/// What the command line does to the main window. The window implements each verb by its controls;
/// what is done to which control, and in which order, is command_line_options.h's.
class CommandLineTarget {
 public:
  virtual ~CommandLineTarget() = default;

  /// Puts a text into a text box or a combo box. Rules that belong to typing or to leaving the box
  /// do not run.
  virtual void set_text(ControlName box, const std::string& text) = 0;
  virtual std::string text(ControlName box) const = 0;
  /// Repaints one control at once.
  virtual void repaint(ControlName control) = 0;

  /// Checks a check box; its click behaviour runs, whether or not it was checked before.
  virtual void check(ControlName check_box) = 0;
  /// Unchecks a check box; its click behaviour does not run, so its companions keep their state.
  virtual void uncheck(ControlName check_box) = 0;
  virtual bool is_checked(ControlName check_box) const = 0;

  /// Selects an option button; its click behaviour runs.
  virtual void select(ControlName option_button) = 0;
  /// Takes the selection from an option button, so that none of its group may be selected.
  virtual void clear_selection(ControlName option_button) = 0;

  /// Disables a control of any kind, whatever its state was.
  virtual void disable(ControlName control) = 0;

  /// Derives the output file's name from the document box's text (output_file_name.h).
  virtual void DeriveOutputFileName() = 0;
  /// Whether the run that follows takes its document for a label-reference file.
  virtual void set_kci_input(bool kci_input) = 0;
};

}  // namespace importkcd
