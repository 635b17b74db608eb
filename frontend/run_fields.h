#pragma once

#include <string>

namespace importkcd {

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
  bool sql_login = false;

  /// The document is a label-reference file; this follows the document box when that loses the
  /// focus.
  bool kci_input = false;
};

}  // namespace importkcd
