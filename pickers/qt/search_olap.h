#pragma once

#include <string>

#include "pickers/qt/search_list_dialog.h"

namespace importkcd {

/// Lets the user pick one of the OLAP databases of a server (lblSearchOLAPDB, lstOLAPDB, cmdOk,
/// cmdCancel). Made for one choice: constructed, shown by ShowDBs, read, destroyed.
class frmSearchOLAPDB : public SearchListDialog {
 public:
  /// `factory` makes the server that is listed, opened to be looked at only.
  explicit frmSearchOLAPDB(OlapServerFactory factory, ErrorBox error_box = show_error_box);

  /// Lists the databases of the server and shows them modally over `frmParentForm` (which may be
  /// null); returns when the dialog is closed. True when a choice was confirmed. A failure is shown
  /// in one error box, without the dialog, and gives false. Never throws for the server's errors.
  bool ShowDBs(const std::string& strOLAPServerName, QWidget* frmParentForm);

  /// The chosen database's name; empty when OK was pressed without a choice.
  const std::string& SelectedOLAPDB() const { return selected(); }
};

/// Lets the user pick one of the regular cubes of an OLAP database (lblSearchOLAPCube, lstOLAPCube,
/// cmdOk, cmdCancel). Made for one choice: constructed, shown by ShowCubes, read, destroyed.
class frmSearchOLAPCube : public SearchListDialog {
 public:
  /// `factory` makes the server that is listed, opened to be looked at only.
  explicit frmSearchOLAPCube(OlapServerFactory factory, ErrorBox error_box = show_error_box);

  /// Lists the cubes of the database of exactly that name and shows them modally over
  /// `frmParentForm` (which may be null); returns when the dialog is closed. True when a choice was
  /// confirmed. A database that is not there shows an empty list. A failure is shown in one error
  /// box, without the dialog, and gives false. Never throws for the server's errors.
  bool ShowCubes(const std::string& strOLAPServerName, const std::string& strOLAPDB,
                 QWidget* frmParentForm);

  /// The database whose cubes were listed last.
  const std::string& strOLAPDB() const { return database_name_; }

  /// The chosen cube's name; empty when OK was pressed without a choice.
  const std::string& SelectedOLAPCube() const { return selected(); }

 private:
  std::string database_name_;
};

}  // namespace importkcd
