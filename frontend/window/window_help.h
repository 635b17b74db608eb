#pragma once

class QWidget;

namespace importkcd {

/// Shows the help of the window beside it: what its parts are for, and its keys. There is one at a
/// time, which belongs to `owner`.
void show_help(QWidget& owner);

/// Shows the program's version and its licence beside the window. There is one at a time, which
/// belongs to `owner`.
void show_about(QWidget& owner);

}  // namespace importkcd
