#pragma once

#include <string>

namespace importkcd {

struct ImportOptions;

/// The main window's fields as a run reads them, each named after its control: texts as typed
/// (UTF-8, not trimmed), check boxes and option buttons as flags.
struct RunFields {
  std::string kcd_filename;
  std::string olap_server;
  std::string olap_database;
  std::string datawarehouse_server;
  std::string replace_pattern_from;
  std::string replace_pattern_to;
  std::string output_file_name;
  /// txtServer, txtSQLUsername, cmbDB and cmbLanguage.
  std::string labels_server;
  std::string sql_username;
  std::string labels_database;
  std::string language;

  bool alt_olap_database = false;
  bool alt_dw_server = false;
  bool replace_pattern = false;
  bool import_cube_partition_defs = false;
  bool dont_update_levels = false;
  bool output_file = false;
  bool output_file_open_on_error = false;

  /// Option buttons. Of the first three at most one is selected, and possibly none.
  bool incremental = false;
  bool replace = false;
  bool update = false;
  /// The labels server asks for a user name: optSQLLogin, unless the server has no logins.
  bool sql_login = false;

  /// The document is a label-reference file; this follows the document box when that loses the
  /// focus.
  bool kci_input = false;
};

/// Settings of the main window that have no control; only the command line changes them. They live
/// as long as the window and start as they stand here.
struct HiddenSettings {
  /// The start is unattended and its run has not begun yet.
  bool CommandLineRun = false;
  /// The window stays open after an unattended run.
  bool KeepOpen = false;
  /// Handed to the importer as `virtual_cubes`.
  bool ImportVirtualCubes = true;
  /// An import type was named on the command line ("replace" does not count); nothing reads it.
  bool ImportTypeGiven = false;

  /// The data warehouse login, see datawarehouse_connect_string.h. The importer gets a
  /// connection string only when DwDatabase is not empty.
  bool DwTrusted = false;
  std::string DwUser;
  std::string DwPassword;
  std::string DwDatabase;

  /// The file that takes a run's result; empty: none.
  std::string StatusFileName;
};

/// Copies what the window says into the importer's options. What is not handed over keeps the value
/// it has: the connection string without a data warehouse database, the import type when no option
/// is selected, `DontUpdateLevels` outside of update mode, the patterns when they are switched off.
/// `incremental`, `replace_yn` and the sinks are never touched. `computer_name` is this computer's.
void hand_over_settings(ImportOptions& options, const RunFields& fields,
                        const HiddenSettings& settings, const std::string& document_file_name,
                        const std::string& computer_name);

}  // namespace importkcd
