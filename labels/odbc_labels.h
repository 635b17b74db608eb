#pragma once

#include <memory>
#include <string>

#include "labels/labels_connection.h"

namespace importkcd {

/// A labels server behind an ODBC driver. Throws ImportError with the driver's description when it
/// cannot be reached or refuses the login.
std::unique_ptr<LabelsConnection> open_odbc_labels(const std::string& connection_string,
                                                   const LabelsTimeouts& timeouts);

}  // namespace importkcd
