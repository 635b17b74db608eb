#pragma once

#include <string>

namespace importkcd {

/// Settings of the main window that have no control; only the command line changes them. They live
/// as long as the window and start as they stand here.
struct HiddenSettings {
  /// The start is unattended and its run has not begun yet.
  bool CommandLineRun = false;
  /// The window stays open after an unattended run.
  bool KeepOpen = false;
  /// Handed to the engine as `virtual_cubes`.
  bool ImportVirtualCubes = true;
  /// An import type was named on the command line ("replace" does not count); nothing reads it.
  bool ImportTypeGiven = false;

  /// The data warehouse login, see datawarehouse_connect_string.h. The engine gets a connection
  /// string only when DwDatabase is not empty.
  bool DwTrusted = false;
  std::string DwUser;
  std::string DwPassword;
  std::string DwDatabase;

  /// The file that takes a run's result; empty: none.
  std::string StatusFileName;
};

}  // namespace importkcd
