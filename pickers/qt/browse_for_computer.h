#pragma once

#include <string>

#include "pickers/computer_source.h"

class QWidget;

namespace importkcd {

/// Lets the user choose a computer in a modal dialog with that title over `owner` (which may be
/// null). It lists the machines that are found on the network while it searches, those of the hosts
/// file and this computer; a name may also be typed. Answers the computer's name without leading
/// backslashes, or the empty text when the user cancels. Shows no error: what cannot be searched
/// finds nothing.
std::string BrowseForComputer(QWidget* owner, const std::string& title);

/// The same over other sources of names.
std::string BrowseForComputer(QWidget* owner, const std::string& title, ComputerSources sources);

/// The sources of the first form: this computer, the hosts file, and Avahi on the system's bus.
ComputerSources default_computer_sources();

}  // namespace importkcd
