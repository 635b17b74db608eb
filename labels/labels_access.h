#pragma once

#include <memory>
#include <string>

#include "labels/labels_connection.h"
#include "labels/labels_view.h"
#include "labels/loaded_labels.h"

namespace importkcd {

/// The main window's access to the labels database. Lives as long as the window; closing it closes
/// the connection.
class LabelsAccess {
 public:
  /// `view` outlives this object.
  LabelsAccess(LabelsView& view, LabelsConnector connect);

  /// Connects to the server of the fields and fills the database list: for each opening of that
  /// list. A failure has been shown in a message box.
  void RefreshLabelDatabases();

  /// The same for a given login and list; true when connected and listed. The former connection is
  /// gone in any case.
  bool ConnectLabelsServer(const LabelsLogin& login, LabelsList list);

  /// Makes the chosen database the default one and fills the language list: for each opening of
  /// that list. False after a failure, which has been shown in a message box.
  bool LoadLanguages();

  /// Loads the labels of the chosen language. True when they are loaded, or when no language is
  /// chosen, which changes nothing; false when there are none, which has been reported. Throws
  /// ImportError for every other failure; then nothing is loaded.
  bool LoadLabels();

  /// Does what opening the database list and then the language list does, and keeps the chosen
  /// database and language. False after a failure, which has been shown in a message box.
  bool connect_with_fields();

  /// A text of a view's fields as a login.
  static LabelsLogin login_of(const LabelsFields& fields);

  /// The connection to the labels server; null before the first one and after one that failed.
  std::shared_ptr<LabelsConnection> AdoConnection;

  const LoadedLabels& labels() const { return labels_; }

  /// Why ConnectLabelsServer or LoadLanguages failed last, for those who ask; empty when none did.
  const std::string& failure() const { return failure_; }

 private:
  LabelsView& view_;
  LabelsConnector connect_;
  LoadedLabels labels_;
  std::string failure_;
};

/// The connection; throws ImportError when there is none.
std::shared_ptr<LabelsConnection> required_connection(const LabelsAccess& access);

}  // namespace importkcd
