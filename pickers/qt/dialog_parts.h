#pragma once

class QDialogButtonBox;
class QListWidget;
class QString;

namespace importkcd {

// What the dialogs of this folder have in common. Object names are the controls' names.

/// Names a list and gives it the size that its font asks for.
void set_up_list(QListWidget& list, const QString& object_name, const QString& accessible_name,
                 const QString& accessible_description);

/// The buttons cmdOk, which Return presses, and cmdCancel. The caller puts them into a layout,
/// which then owns them.
QDialogButtonBox* make_ok_and_cancel(const QString& ok_description);

}  // namespace importkcd
