#pragma once

#include "frontend/command_line_target.h"
#include "frontend/window/document_box.h"
#include "frontend/window/window_controls.h"

namespace importkcd {

/// What the command line does to the main window, carried out by the window's controls.
class WindowCommandLine : public CommandLineTarget {
 public:
  /// Both outlive this object.
  WindowCommandLine(const WindowControls& controls, DocumentBox& document_box)
      : controls_(controls), document_box_(document_box) {}

  void set_text(ControlName box, const std::string& text) override;
  std::string text(ControlName box) const override { return controls_.text(box); }
  void repaint(ControlName control) override;
  void check(ControlName check_box) override;
  void uncheck(ControlName check_box) override;
  bool is_checked(ControlName check_box) const override { return controls_.is_on(check_box); }
  void select(ControlName option_button) override;
  void clear_selection(ControlName option_button) override;
  void disable(ControlName control) override;
  void DeriveOutputFileName() override { document_box_.DeriveOutputFileName(); }
  void set_kci_input(bool kci_input) override { document_box_.KciInput = kci_input; }

 private:
  const WindowControls& controls_;
  DocumentBox& document_box_;
};

}  // namespace importkcd
