#pragma once

#include <string>

namespace importkcd {

/// The two drop-down lists of the labels group.
enum class LabelsList { databases, languages };

/// The fields of the window that the labels code reads: texts as typed (UTF-8, not trimmed).
struct LabelsFields {
  /// txtKCDFilename.
  std::string kci_filename;
  /// txtServer, txtSQLUsername and txtSQLPassword.
  std::string server;
  std::string user;
  std::string password;
  /// The texts of cmbDB and cmbLanguage.
  std::string database;
  std::string language;
  /// optSecureLogin.
  bool secure_login = false;
};

/// A modal message box with a single OK button.
struct LabelsMessage {
  /// The critical-stop icon, else none.
  bool critical = false;
  std::string title;
  std::string text;
  bool operator==(const LabelsMessage&) const = default;
};

/// What the labels code needs of the main window. The window implements it by its controls, the
/// command line by its arguments, a test records it. No method throws.
class LabelsView {
 public:
  virtual ~LabelsView() = default;

  /// The fields as they stand at this moment.
  virtual LabelsFields labels_fields() const = 0;

  /// Removes all entries of a list and empties its text.
  virtual void clear_list(LabelsList list) = 0;
  virtual void add_entry(LabelsList list, const std::string& text) = 0;
  /// Selects the first entry of a list that has one, which becomes the list's text.
  virtual void select_first(LabelsList list) = 0;
  /// Sets the text of a list, whether an entry has it or not.
  virtual void set_list_text(LabelsList list, const std::string& text) = 0;

  /// Shows a message box and waits for its answer.
  virtual void show_labels_message(const LabelsMessage& message) = 0;
  /// A message box with Yes and No and the exclamation icon; true for Yes.
  virtual bool ask_yes_no(const std::string& title, const std::string& question) = 0;
  /// Reports a line of progress.
  virtual void PutProgressMsg(const std::string& strMessage) = 0;
  /// Sets the mouse pointer back to the default arrow.
  virtual void set_default_pointer() = 0;
};

}  // namespace importkcd
