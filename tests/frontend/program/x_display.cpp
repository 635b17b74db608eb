#include "tests/frontend/program/x_display.h"

#include <gtest/gtest.h>

#include <QFile>

namespace importkcd::testing {
namespace {

constexpr int start_patience = 20000;

void stop(QProcess& process) {
  if (process.state() != QProcess::NotRunning) {
    process.terminate();
    if (!process.waitForFinished(start_patience)) {
      process.kill();
      process.waitForFinished(start_patience);
    }
  }
}

}  // namespace

XDisplay::XDisplay(WindowManager manager) {
  server_.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1600x1200x24", "-nolisten", "tcp"});
  while (server_.waitForReadyRead(start_patience)) {
    const QByteArray number = server_.peek(32);
    if (number.contains('\n')) {
      name_ = ":" + QString::fromLatin1(number.trimmed());
      break;
    }
  }
  EXPECT_FALSE(name_.isEmpty()) << "Xvfb does not start";
  if (manager == WindowManager::openbox) {
    start_openbox();
  } else {
    start_xfwm4();
  }
}

XDisplay::~XDisplay() {
  stop(server_);
  // Without its display it ends by itself, with all that it has started.
  window_manager_.waitForFinished(start_patience);
  stop(window_manager_);
}

void XDisplay::start_openbox() {
  const QString ready = settings_.filePath("ready");
  window_manager_.setProcessEnvironment(environment());
  window_manager_.start("openbox", {"--startup", "touch " + ready});
  EXPECT_TRUE(wait_until([&] { return QFile::exists(ready); })) << "openbox does not start";
}

void XDisplay::start_xfwm4() {
  // It wants a session bus, and asks for its settings there.
  auto variables = environment();
  for (const char* const folder : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"}) {
    variables.insert(folder, settings_.path());
  }
  variables.insert("NO_AT_BRIDGE", "1");
  window_manager_.setProcessEnvironment(variables);
  window_manager_.setStandardErrorFile(QProcess::nullDevice());
  window_manager_.start("dbus-run-session", {"--", "xfwm4", "--compositor=off"});
  // A window that is shown before it manages the screen stays with its title above the edge.
  EXPECT_TRUE(wait_until([&] {
    QProcess tool;
    tool.setProcessEnvironment(environment());
    tool.start("xdotool", {"get_num_desktops"});
    return tool.waitForFinished(start_patience) && tool.exitCode() == 0;
  })) << "xfwm4 does not start";
}

QProcessEnvironment XDisplay::environment() const {
  auto variables = QProcessEnvironment::systemEnvironment();
  variables.insert("DISPLAY", name_);
  variables.remove("WAYLAND_DISPLAY");
  variables.remove("QT_QPA_PLATFORM");
  return variables;
}

QString XDisplay::xdotool(const QStringList& arguments) const {
  QProcess tool;
  tool.setProcessEnvironment(environment());
  tool.start("xdotool", arguments);
  EXPECT_TRUE(tool.waitForFinished(start_patience)) << "xdotool does not end";
  return QString::fromUtf8(tool.readAllStandardOutput()).trimmed();
}

bool XDisplay::wait_for_window(const QString& title) const {
  return wait_until([&] { return xdotool({"getactivewindow", "getwindowname"}) == title; });
}

}  // namespace importkcd::testing
