#include "tests/frontend/program/x_display.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

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

XDisplay::XDisplay() {
  server_.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1600x1200x24", "-nolisten", "tcp"});
  while (server_.waitForReadyRead(start_patience)) {
    const QByteArray number = server_.peek(32);
    if (number.contains('\n')) {
      name_ = ":" + QString::fromLatin1(number.trimmed());
      break;
    }
  }
  EXPECT_FALSE(name_.isEmpty()) << "Xvfb does not start";
  start_window_manager();
}

XDisplay::~XDisplay() {
  stop(window_manager_);
  stop(server_);
}

void XDisplay::start_window_manager() {
  const QTemporaryDir folder;
  const QString ready = folder.filePath("ready");
  window_manager_.setProcessEnvironment(environment());
  window_manager_.start("openbox", {"--startup", "touch " + ready});
  EXPECT_TRUE(wait_until([&] { return QFile::exists(ready); })) << "openbox does not start";
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
