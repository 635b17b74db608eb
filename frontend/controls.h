#pragma once

#include <string_view>

namespace importkcd {

/// Names a control of the main window; the window finds the control by this object name.
using ControlName = std::string_view;

/// The main window's controls.
namespace control {
constexpr ControlName lblKCDFilename = "lblKCDFilename";
constexpr ControlName Label1 = "Label1";
constexpr ControlName txtKCDFilename = "txtKCDFilename";
constexpr ControlName cmdBrowseKCD = "cmdBrowseKCD";

constexpr ControlName lblOLAPServer = "lblOLAPServer";
constexpr ControlName txtOLAPServer = "txtOLAPServer";
constexpr ControlName cmdBrowseOLAPServer = "cmdBrowseOLAPServer";

constexpr ControlName cbAltOLAPDatabase = "cbAltOLAPDatabase";
constexpr ControlName txtOLAPDatabase = "txtOLAPDatabase";
constexpr ControlName cmdBrowseOLAPDatabase = "cmdBrowseOLAPDatabase";
constexpr ControlName cbAltDWServer = "cbAltDWServer";
constexpr ControlName txtDatawarehouseServer = "txtDatawarehouseServer";
constexpr ControlName cmdBrowseDWServer = "cmdBrowseDWServer";

constexpr ControlName obReplace = "obReplace";
constexpr ControlName obIncremental = "obIncremental";
constexpr ControlName obUpdate = "obUpdate";
constexpr ControlName cbDontUpdateLevels = "cbDontUpdateLevels";
constexpr ControlName cbReplacePattern = "cbReplacePattern";
constexpr ControlName txtReplacePatternFrom = "txtReplacePatternFrom";
constexpr ControlName lblReplacePatternBy = "lblReplacePatternBy";
constexpr ControlName txtReplacePatternTo = "txtReplacePatternTo";
constexpr ControlName cbImportCubePartitionDefs = "cbImportCubePartitionDefs";

constexpr ControlName lblServer = "lblServer";
constexpr ControlName txtServer = "txtServer";
constexpr ControlName cmdServer = "cmdServer";
constexpr ControlName lblDB = "lblDB";
constexpr ControlName cmbDB = "cmbDB";
constexpr ControlName lblLanguage = "lblLanguage";
constexpr ControlName cmbLanguage = "cmbLanguage";
constexpr ControlName optSecureLogin = "optSecureLogin";
constexpr ControlName optSQLLogin = "optSQLLogin";
constexpr ControlName lblSQLUsername = "lblSQLUsername";
constexpr ControlName txtSQLUsername = "txtSQLUsername";
constexpr ControlName lblSQLPassword = "lblSQLPassword";
constexpr ControlName txtSQLPassword = "txtSQLPassword";

constexpr ControlName cbOutputFile = "cbOutputFile";
constexpr ControlName txtOutputFile = "txtOutputFile";
constexpr ControlName cmdBrowseOutputFile = "cmdBrowseOutputFile";
constexpr ControlName cbOutputFileOpenOnError = "cbOutputFileOpenOnError";

constexpr ControlName lstStatus = "lstStatus";
constexpr ControlName cmdImport = "cmdImport";
constexpr ControlName cmdCancel = "cmdCancel";

// The frames.
constexpr ControlName frmImportFile = "frmImportFile";
constexpr ControlName frmDestination = "frmDestination";
constexpr ControlName frmModification = "frmModification";
constexpr ControlName frmImportOptions = "frmImportOptions";
constexpr ControlName frmDatabaseImportOption = "frmDatabaseImportOption";
constexpr ControlName fraLabelsDB = "fraLabelsDB";
constexpr ControlName fraAuth = "fraAuth";
constexpr ControlName frmOutput = "frmOutput";
constexpr ControlName frmStatus = "frmStatus";
}  // namespace control

}  // namespace importkcd
