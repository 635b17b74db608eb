#pragma once

#include <QWidget>
#include <string>

#include "frontend/run_view.h"
#include "frontend/window/dialogs.h"
#include "frontend/window/window_controls.h"
#include "importer/import_options.h"
#include "labels/kci_conversion.h"
#include "labels/labels_access.h"
#include "labels/labels_view.h"

namespace importkcd {

/// Connects the labels group of the window with the labels database: fills the two lists when they
/// are opened, and converts label-reference files.
class WindowLabels : public LabelsView, public KciConverter {
 public:
  /// What it works on; all of it outlives this object.
  struct Surroundings {
    QWidget& window;
    const WindowControls& controls;
    Dialogs& dialogs;
    RunView& run_view;
    ProgressSink& progress;
  };

  WindowLabels(const Surroundings& surroundings, LabelsConnector connect);

  /// The lists of cmbDB and cmbLanguage are about to open.
  void databases_opening();
  void languages_opening();

  /// Closes the connection to the labels server, if there is one.
  void drop_connection() { access_.AdoConnection.reset(); }

  std::string ConvertKciToKcd() override { return conversion_.ConvertKciToKcd(); }

  LabelsFields labels_fields() const override;
  void clear_list(LabelsList list) override;
  void add_entry(LabelsList list, const std::string& text) override;
  void select_first(LabelsList list) override;
  void set_list_text(LabelsList list, const std::string& text) override;
  void show_labels_message(const LabelsMessage& message) override;
  bool ask_yes_no(const std::string& title, const std::string& question) override;
  void PutProgressMsg(const std::string& strMessage) override;
  void set_default_pointer() override;

 private:
  Surroundings surroundings_;
  LabelsAccess access_;
  KciConversion conversion_;
};

}  // namespace importkcd
