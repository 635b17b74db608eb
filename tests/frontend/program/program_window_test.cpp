#include <QFile>
#include <QProcess>

#include "tests/frontend/program/program_fixture.h"
#include "tests/frontend/program/x_display.h"

namespace importkcd::testing {
namespace {

constexpr int patience = 60000;
constexpr const char* main_title = "Import Cube Definitions from File";

/// The built program on a display.
class ProgramWindow : public ProgramTest {
 protected:
  explicit ProgramWindow(WindowManager manager = WindowManager::openbox) : display(manager) {}
  ~ProgramWindow() override {
    if (program.state() != QProcess::NotRunning) {
      program.kill();
      program.waitForFinished(patience);
    }
  }

  void start(const QStringList& arguments) {
    auto variables = display.environment();
    variables.insert("LC_ALL", "C");
    variables.insert("TMPDIR", QString::fromStdString(folder.path().string()));
    variables.insert("XDG_DATA_HOME", QString::fromStdString(folder.path().string()));
    variables.insert("XDG_RUNTIME_DIR", QString::fromStdString(folder.path().string()));
    program.setProcessEnvironment(variables);
    program.start(IMPORTKCD_PROGRAM, arguments);
    ASSERT_TRUE(program.waitForStarted(patience));
  }
  void key(const QString& name) { display.xdotool({"key", "--clearmodifiers", name}); }
  void type(const std::string& text) {
    display.xdotool({"type", "--delay", "2", QString::fromStdString(text)});
  }
  bool has_status(const std::string& status) {
    return wait_until([&] {
      return std::filesystem::exists(folder.file("s")) && read_file(folder.file("s")) == status;
    });
  }
  void expect_end(int exit_status) {
    ASSERT_TRUE(program.waitForFinished(patience));
    EXPECT_EQ(program.exitCode(), exit_status);
  }
  static QString text(const std::string& value) { return QString::fromStdString(value); }

  XDisplay display;
  QProcess program;
};

TEST_F(ProgramWindow, ADocumentThatTheDesktopOpensWaitsForImport) {
  const std::string opened = folder.file("my -own \"shop\".kcd");
  std::filesystem::copy_file(document, opened);
  start({"--open", text(opened)});
  ASSERT_TRUE(display.wait_for_window(main_title));
  const auto output = [&] {
    for (const auto& file : std::filesystem::directory_iterator(folder.path())) {
      if (file.path().filename().string().starts_with("my -own \"shop\"_Out_")) {
        return read_file(file.path().string());
      }
    }
    return std::string();
  };
  EXPECT_EQ(output(), "");
  key("Return");
  EXPECT_TRUE(wait_until([&] { return output().ends_with("Import succeeded\r\n"); })) << output();
  key("Escape");
  expect_end(0);
}

TEST_F(ProgramWindow, UnattendedRunClosesItsWindow) {
  start(
      {"/machine", text(server()), "/file", text(document), "/statusfile", text(folder.file("s"))});
  expect_end(0);
  EXPECT_TRUE(has_status("SUCCES\r\n"));
  EXPECT_EQ(program.readAllStandardOutput(), "");
}

TEST_F(ProgramWindow, NocloseKeepsTheWindowLockedUntilItIsClosed) {
  start({"/noclose", "/machine", text(server()), "/file", text(document), "/statusfile",
         text(folder.file("s"))});
  ASSERT_TRUE(has_status("SUCCES\r\n"));
  ASSERT_TRUE(display.wait_for_window(main_title));
  EXPECT_EQ(program.state(), QProcess::Running);
  // Import is locked: its mnemonic starts nothing.
  key("alt+i");
  key("Escape");
  expect_end(0);
  EXPECT_EQ(without_times(read_file(output_file())),
            " \r\n" + joined(expected_lines(), "TIME ", "\r\n"));
}

TEST_F(ProgramWindow, TypedDocumentIsImportedByReturn) {
  start({"/statusfile", text(folder.file("s")), "/incremental"});
  ASSERT_TRUE(display.wait_for_window(main_title));
  type(document);
  key("Return");
  ASSERT_TRUE(has_status("SUCCES\r\n"));
  key("Escape");
  expect_end(0);
  EXPECT_TRUE(std::filesystem::exists(output_file()));
}

/// The same, where window managers differ.
class ManagedWindow : public ProgramWindow, public ::testing::WithParamInterface<WindowManager> {
 protected:
  ManagedWindow() : ProgramWindow(GetParam()) {}
};

TEST_P(ManagedWindow, FillsTheScreenWhenMaximisedAndIsRestored) {
  start({});
  ASSERT_TRUE(display.wait_for_window(main_title));
  const QString window = display.xdotool({"getactivewindow"});
  const auto geometry = [&] { return display.xdotool({"getwindowgeometry", window}); };
  const auto double_click_on_title = [&] {
    // In the middle of the title, which is above the window's own corner.
    display.xdotool({"mousemove", "--window", window, "--", "200", "-10", "click", "--repeat", "2",
                     "--delay", "80", "1"});
  };
  // What would undo a change comes a moment later.
  const auto expect_that_it_stays = [&](const auto& holds) {
    for (int look = 0; look < 60; ++look) {
      ASSERT_TRUE(holds()) << geometry().toStdString();
    }
  };
  const auto is_maximised = [&] { return geometry().contains("Geometry: 1600x"); };
  const QString designed = geometry();
  double_click_on_title();
  EXPECT_TRUE(wait_until(is_maximised)) << geometry().toStdString();
  expect_that_it_stays(is_maximised);
  double_click_on_title();
  const auto is_restored = [&] { return geometry() == designed; };
  EXPECT_TRUE(wait_until(is_restored)) << geometry().toStdString();
  expect_that_it_stays(is_restored);
  key("Escape");
  expect_end(0);
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, ManagedWindow,
                         ::testing::Values(WindowManager::openbox, WindowManager::xfwm4),
                         [](const ::testing::TestParamInfo<WindowManager>& tested) {
                           return tested.param == WindowManager::openbox ? "openbox" : "xfwm4";
                         });

TEST_F(ProgramWindow, CheckOfAnUnattendedStartWaitsForAClick) {
  start({"/machine", text(server())});
  ASSERT_TRUE(display.wait_for_window("ImportKCD commandline"));
  EXPECT_EQ(program.state(), QProcess::Running);
  key("Return");
  expect_end(1);
}

TEST_F(ProgramWindow, FailedStartShowsItsBox) {
  start({"/machine", text(server()), "/dwpwd"});
  ASSERT_TRUE(display.wait_for_window("ImportKCD"));
  key("Return");
  expect_end(1);
}

TEST_F(ProgramWindow, DisplayThatIsNotThereCountsAsNone) {
  QProcess lonely;
  auto variables = display.environment();
  variables.insert("DISPLAY", ":4711");
  variables.insert("XDG_DATA_HOME", text(folder.path().string()));
  lonely.setProcessEnvironment(variables);
  lonely.start(IMPORTKCD_PROGRAM, {"/machine", text(server()), "/file", text(document)});
  ASSERT_TRUE(lonely.waitForFinished(patience));
  EXPECT_EQ(lonely.exitCode(), 0);
  EXPECT_TRUE(lonely.readAllStandardOutput().endsWith("Import succeeded\n"));
}

}  // namespace
}  // namespace importkcd::testing
