#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace importkcd::testing {

enum class WindowManager { openbox, xfwm4 };

/// A display of its own with a window manager, as long as this object lives.
class XDisplay {
 public:
  explicit XDisplay(WindowManager manager = WindowManager::openbox);
  ~XDisplay();
  XDisplay(const XDisplay&) = delete;
  XDisplay& operator=(const XDisplay&) = delete;

  /// The display's name, such as ":3"; empty when it could not be started.
  const QString& name() const { return name_; }

  /// This process's environment with the display, without another desktop.
  QProcessEnvironment environment() const;

  /// Runs xdotool to its end; gives what it printed.
  QString xdotool(const QStringList& arguments) const;

  /// Waits for a window of that title to have the focus.
  bool wait_for_window(const QString& title) const;

 private:
  void start_openbox();
  void start_xfwm4();

  QTemporaryDir settings_;
  QProcess server_;
  QProcess window_manager_;
  QString name_;
};

/// Waits until a condition holds, looking again and again.
template <typename Condition>
bool wait_until(Condition condition) {
  constexpr int looks = 600;
  for (int look = 0; look < looks; ++look) {
    if (condition()) {
      return true;
    }
    QProcess pause;
    pause.start("sleep", {"0.05"});
    pause.waitForFinished();
  }
  return false;
}

}  // namespace importkcd::testing
