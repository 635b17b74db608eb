#pragma once

#include <functional>
#include <string>

class QWidget;

namespace importkcd {

/// Shows a message with the critical-stop icon and returns when the person has closed it. `owner`
/// may be null. Texts are plain UTF-8 and may hold carriage return + line feed pairs.
using ErrorBox =
    std::function<void(QWidget* owner, const std::string& title, const std::string& text)>;

/// The message box of the desktop.
void show_error_box(QWidget* owner, const std::string& title, const std::string& text);

}  // namespace importkcd
