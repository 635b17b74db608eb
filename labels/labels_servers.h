#pragma once

#include <memory>
#include <string>

#include "labels/labels_connection.h"

namespace importkcd {

/// The embedded labels server: every file *.db of a folder is a database, opened read-only, named
/// without its extension. Throws ImportError when the folder cannot be read.
std::unique_ptr<LabelsConnection> open_sqlite_labels(const std::string& folder);

/// A labels server behind an ODBC driver. Throws ImportError with the driver's description when it
/// cannot be reached or refuses the login.
std::unique_ptr<LabelsConnection> open_odbc_labels(const std::string& connection_string,
                                                   const LabelsTimeouts& timeouts);

}  // namespace importkcd
