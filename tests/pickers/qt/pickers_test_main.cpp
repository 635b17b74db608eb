#include <gtest/gtest.h>

#include <QApplication>

#include "tests/support/temporary_folder.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const importkcd::testing::TemporaryFolder folder;
  qputenv("QT_QPA_PLATFORM", "offscreen");
  for (const char* name : {"XDG_RUNTIME_DIR", "XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
    qputenv(name, QByteArray::fromStdString(folder.path().string()));
  }
  // The bus of this computer is none of the tests' business.
  qputenv("DBUS_SYSTEM_BUS_ADDRESS",
          QByteArray::fromStdString("unix:path=" + folder.file("no-bus")));
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
