#pragma once

#include <QDialog>
#include <string>
#include <vector>

#include "model/olap_server.h"
#include "pickers/olap_listing.h"
#include "pickers/qt/dialog_parts.h"

class QLabel;
class QListWidget;

namespace importkcd {

/// What the pickers of OLAP objects share: a modal dialog with a caption, a list, and the buttons
/// cmdOk and cmdCancel. A double click on an entry and Return confirm, Escape and closing the
/// window cancel. Nothing is selected at first; confirming without a selection gives the empty
/// name.
class SearchListDialog : public QDialog {
 public:
  ~SearchListDialog() override;

  /// The server whose objects were listed last.
  const std::string& strOLAPServerName() const { return server_name_; }

  /// Whether the dialog was last closed with OK or a double click.
  bool confirmed() const { return confirmed_; }

  /// Whether the last listing failed.
  bool failed() const { return failed_; }

  void reject() override;

 protected:
  /// The controls' object names and the texts that stay.
  struct Controls {
    const char* dialog = "";
    const char* label = "";
    const char* list = "";
    const char* title = "";
    /// What the list holds, for assistive technology.
    const char* list_name = "";
    const char* list_description = "";
  };

  SearchListDialog(const Controls& controls, OlapServerFactory factory, ErrorBox error_box);

  /// What one showing says.
  struct Texts {
    /// The label's text; may hold a mnemonic, names in it are made by quoted_for_caption.
    QString caption;
    /// The message of a failed listing.
    std::string failure;
  };

  /// Shows the listing modally over `owner` (which may be null) and returns when the dialog is
  /// closed, or, when the listing failed, shows the error box instead. Answers confirmed().
  bool show_listing(OlapListing listing, const Texts& texts, QWidget* owner);

  /// Makes the dialog ready for a listing of that server, unconfirmed and empty.
  void reset(const std::string& server_name);

  /// The chosen name; empty without a choice.
  const std::string& selected() const { return selected_; }

  const OlapServerFactory& factory() const { return factory_; }

  /// A name in quotes, shortened in its middle when long, with its ampersands kept from being taken
  /// for mnemonics.
  QString quoted_for_caption(const std::string& name) const;

 private:
  void build(const Controls& controls);
  void confirm();

  OlapServerFactory factory_;
  ErrorBox error_box_;
  std::string server_name_;
  std::vector<std::string> names_;
  std::string selected_;
  bool confirmed_ = false;
  bool failed_ = false;
  QLabel* label_ = nullptr;
  QListWidget* list_ = nullptr;
};

}  // namespace importkcd
