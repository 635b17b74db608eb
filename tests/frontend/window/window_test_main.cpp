#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>

#include "tests/support/temporary_folder.h"

// Runs the window's tests without a display, on a screen large enough to widen windows.
int main(int argument_count, char** arguments) {
  const importkcd::testing::TemporaryFolder folder;
  const std::string screen =
      folder.write("screen.json",
                   R"({"screens": [{"name": "one", "x": 0, "y": 0, "width": 2400, "height": 1800,
                       "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
  qputenv("QT_QPA_PLATFORM", QByteArray("offscreen:configfile=") + screen.c_str());
  qputenv("XDG_RUNTIME_DIR", folder.path().c_str());
  qputenv("XDG_DATA_HOME", folder.path().c_str());
  qputenv("XDG_CONFIG_HOME", folder.path().c_str());
  ::testing::InitGoogleTest(&argument_count, arguments);
  const QApplication application(argument_count, arguments);
  QApplication::setQuitOnLastWindowClosed(false);
  return RUN_ALL_TESTS();
}
