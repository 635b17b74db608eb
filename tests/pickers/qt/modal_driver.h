#pragma once

#include <QDialog>
#include <QListWidget>
#include <QTimer>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace importkcd::testing {

/// Waits for the next modal dialog, which the test then opens by a call that returns when the
/// dialog is closed, and acts on it once it is on screen. A dialog that the action leaves open is
/// closed, and the test fails.
class ModalDriver {
 public:
  using Action = std::function<void(QDialog& dialog)>;

  explicit ModalDriver(Action action);

  /// Whether a dialog was shown.
  bool acted() const { return acted_; }

 private:
  void look();

  Action action_;
  bool acted_ = false;
  QTimer timer_;
};

/// The dialog's control of that object name; the test fails when there is none.
template <class T>
T& control(QWidget& window, const char* name) {
  T* found = window.findChild<T*>(QLatin1String(name));
  if (found == nullptr) {
    throw std::runtime_error(std::string("no control ") + name);
  }
  return *found;
}

/// The texts of a list's entries, from top to bottom.
std::vector<std::string> entries(const QListWidget& list);

/// Clicks the middle of an entry, once or twice.
void click_entry(QListWidget& list, int row);
void double_click_entry(QListWidget& list, int row);

}  // namespace importkcd::testing
