#include <QPushButton>
#include <array>
#include <filesystem>

#include "frontend/command_line_options.h"
#include "tests/frontend/window/window_fixture.h"

namespace importkcd::testing {
namespace {

using namespace control;
using ::testing::Contains;

class WindowCommandLineStart : public WindowTest {
 protected:
  std::string document() {
    return folder.write("a.kcd", R"(<database version="1.0.1073" name="S" description="d"/>)");
  }
  /// The options of an unattended run into the in-memory server.
  std::string run_options() { return "/machine memory: /file " + document(); }
  void run_to_its_end(const std::string& command_line) {
    load(command_line);
    window->show();
    ASSERT_TRUE(wait_for([&] { return unloaded; }));
  }
};

TEST_F(WindowCommandLineStart, WithoutArgumentsNothingRuns) {
  open();
  QCoreApplication::processEvents();
  EXPECT_FALSE(window->is_unattended());
  EXPECT_TRUE(status_lines().empty());
  EXPECT_TRUE(enabled(cmdImport));
}

TEST_F(WindowCommandLineStart, OptionsFillTheControls) {
  load(
      "/machine M /file f.kcd /databasename D-1 /datasource W /cubepartitions /patternfrom P "
      "/patternto Q");
  EXPECT_EQ(text(txtOLAPServer), "M");
  EXPECT_EQ(text(txtKCDFilename), "f.kcd");
  EXPECT_EQ(text(txtOutputFile), "f_Out_20261115.txt");
  EXPECT_EQ(text(txtOLAPDatabase), "D-1");
  EXPECT_TRUE(checked(cbAltOLAPDatabase));
  EXPECT_EQ(text(txtDatawarehouseServer), "W");
  EXPECT_TRUE(checked(cbAltDWServer));
  EXPECT_TRUE(checked(cbImportCubePartitionDefs));
  EXPECT_TRUE(checked(cbReplacePattern));
  EXPECT_EQ(text(txtReplacePatternFrom), "P");
  EXPECT_EQ(text(txtReplacePatternTo), "Q");
}

TEST_F(WindowCommandLineStart, LabelsOptionsFillTheLabelsGroup) {
  load(
      "/labelserver L /labeltrusted true /labelusername U /labelpassword P /labeldb B "
      "/labellanguage Dutch /statusfile s.txt");
  EXPECT_EQ(text(txtServer), "L");
  EXPECT_TRUE(checked(optSecureLogin));
  EXPECT_EQ(text(txtSQLUsername), "U");
  EXPECT_EQ(text(txtSQLPassword), "P");
  EXPECT_EQ(text(cmbDB), "B");
  EXPECT_EQ(text(cmbLanguage), "Dutch");
  EXPECT_EQ(window->settings().StatusFileName, "s.txt");
  EXPECT_FALSE(window->is_unattended());
  EXPECT_TRUE(enabled(cmdImport));
}

TEST_F(WindowCommandLineStart, LabelTrustedRunsTheClickOfTheLoginButton) {
  load("/labeltrusted false");
  EXPECT_TRUE(checked(optSQLLogin));
  EXPECT_TRUE(enabled(txtSQLUsername));
  EXPECT_FALSE(greyed(txtSQLUsername));
}

TEST_F(WindowCommandLineStart, OptionsClickCheckBoxesSoThatCompanionsAreEnabled) {
  load("/patternfrom P /patternto Q");
  EXPECT_TRUE(enabled(txtReplacePatternFrom));
  EXPECT_TRUE(enabled(txtReplacePatternTo));
}

TEST_F(WindowCommandLineStart, UpdateCanBeChosenInAnAttendedStart) {
  load("/update x");
  EXPECT_TRUE(checked(obUpdate));
  EXPECT_FALSE(checked(obIncremental));
}

TEST_F(WindowCommandLineStart, UnattendedStartLocksItsControlsOnly) {
  load("/machine M /databasename D /labeltrusted false");
  EXPECT_TRUE(window->is_unattended());
  for (const ControlName name : {cmdImport,
                                 txtOLAPServer,
                                 txtKCDFilename,
                                 txtOLAPDatabase,
                                 cbAltOLAPDatabase,
                                 cbAltDWServer,
                                 obReplace,
                                 obIncremental,
                                 cbImportCubePartitionDefs,
                                 lblServer,
                                 txtServer,
                                 cmdServer,
                                 optSecureLogin,
                                 optSQLLogin,
                                 lblSQLUsername,
                                 txtSQLUsername,
                                 lblSQLPassword,
                                 txtSQLPassword,
                                 lblDB,
                                 cmbDB,
                                 lblLanguage,
                                 cmbLanguage}) {
    EXPECT_FALSE(enabled(name)) << name;
  }
  for (const ControlName name : {cmdBrowseKCD, cmdBrowseOLAPServer, cmdBrowseOLAPDatabase,
                                 cbReplacePattern, cbOutputFile, txtOutputFile, cmdCancel}) {
    EXPECT_TRUE(enabled(name)) << name;
  }
}

TEST_F(WindowCommandLineStart, LockedModeIsIncrementalUnlessAnotherWasNamed) {
  load("/machine M");
  EXPECT_TRUE(checked(obIncremental));
}

TEST_F(WindowCommandLineStart, LockingClearsReplaceAndUpdateSoThatNoModeIsLeft) {
  for (const char* mode : {"/replace", "/update"}) {
    load(std::string(mode) + " /machine M");
    EXPECT_FALSE(checked(obReplace)) << mode;
    EXPECT_FALSE(checked(obIncremental)) << mode;
    EXPECT_FALSE(checked(obUpdate)) << mode;
  }
}

TEST_F(WindowCommandLineStart, LockingUnchecksAnIncompletePatternAndKeepsItsBoxes) {
  load("/patternfrom XXX /machine M");
  EXPECT_FALSE(checked(cbReplacePattern));
  EXPECT_TRUE(enabled(txtReplacePatternFrom));
}

TEST_F(WindowCommandLineStart, UnattendedRunStartsByItselfAndClosesTheWindow) {
  run_to_its_end(run_options());
  EXPECT_EQ(window->exit_status(), 0);
  EXPECT_EQ(servers_opened, 1);
  EXPECT_FALSE(window->isVisible());
  EXPECT_EQ(status_lines().back(), "Import succeeded");
}

TEST_F(WindowCommandLineStart, UnattendedRunHappensOnceOnly) {
  load(run_options() + " /noclose");
  window->show();
  ASSERT_TRUE(wait_for([&] { return get<QPushButton>(cmdCancel).text() == "&Close"; }));
  window->hide();
  window->show();
  QWidget other;
  other.show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other, 20000));
  window->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window.get(), 20000));
  QCoreApplication::processEvents();
  EXPECT_EQ(servers_opened, 1);
  EXPECT_TRUE(window->isVisible());
  EXPECT_FALSE(enabled(cmdImport));
}

TEST_F(WindowCommandLineStart, WindowThatClosesItselfDuringTheRunClosesOnce) {
  int times = 0;
  load(run_options());
  window->unloaded = [&] {
    ++times;
    unloaded = true;
  };
  during_run = [&] { window->close(); };
  window->show();
  ASSERT_TRUE(wait_for([&] { return unloaded; }));
  QCoreApplication::processEvents();
  EXPECT_EQ(times, 1);
}

TEST_F(WindowCommandLineStart, WithoutAScreenTheWindowNeverStaysOpen) {
  services.headless = true;
  run_to_its_end(run_options() + " /noclose");
  EXPECT_FALSE(window->settings().KeepOpen);
}

TEST_F(WindowCommandLineStart, StatusLinesAreCopied) {
  std::vector<std::string> copied;
  services.copy_status_line = [&](const std::string& line) { copied.push_back(line); };
  run_to_its_end(run_options());
  EXPECT_EQ(copied, status_lines());
}

TEST_F(WindowCommandLineStart, FailedRunGivesAFailedExitStatus) {
  run_to_its_end("/machine elsewhere /file " + document());
  EXPECT_EQ(window->exit_status(), 1);
  EXPECT_THAT(status_lines(), Contains("Import not succeeded due to error"));
}

TEST_F(WindowCommandLineStart, RunStoppedByACheckShowsItsBoxAndLeavesNoEarlierStatusFile) {
  const std::string status = folder.write("s.txt", "before");
  run_to_its_end("/machine memory: /statusfile " + status);
  ASSERT_EQ(dialogs.boxes.size(), 1U);
  EXPECT_EQ(dialogs.boxes[0].text,
            "Cube Definition Document : KCD Filename field is empty ! Please fill it...");
  EXPECT_FALSE(std::filesystem::exists(status));
  EXPECT_EQ(window->exit_status(), 1);
}

TEST_F(WindowCommandLineStart, StatusFileHoldsTheResult) {
  run_to_its_end(run_options() + " /statusfile " + folder.file("s.txt"));
  EXPECT_EQ(read_file(folder.file("s.txt")), "SUCCES\r\n");
}

TEST_F(WindowCommandLineStart, UnattendedDocumentOfLabelReferencesIsConverted) {
  const std::string kci = folder.write(
      "b.kci", "<database guid='{G}' version='1.0.1073' name='$##1%' description='d'/>");
  run_to_its_end("/machine memory: /file " + kci +
                 " /labelserver labels /labelusername u /labeldb labels /labellanguage Dutch");
  EXPECT_EQ(labels_connections, 1);
  EXPECT_EQ(status_lines().back(), "Import succeeded");
  EXPECT_THAT(databases(), ::testing::ElementsAre("Verkoop"));
}

TEST_F(WindowCommandLineStart, LabelFileThatIsUnknownStopsTheRun) {
  const std::string kci = folder.write("b.kci", "<database guid='other'/>");
  run_to_its_end("/machine memory: /file " + kci +
                 " /labelserver labels /labelusername u /labeldb labels /labellanguage Dutch");
  EXPECT_EQ(status_lines().back(), "Error during checking and converting the KCI-file");
  EXPECT_EQ(window->exit_status(), 1);
}

TEST_F(WindowCommandLineStart, ValueThatCannotBeConvertedIsThrown) {
  EXPECT_THAT([&] { load("/dwpwd a"); },
              ::testing::ThrowsMessage<StartUpError>(
                  ::testing::StrEq("Invalid procedure call or argument in option 'dwpwd'")));
  EXPECT_THAT([&] { load("/labeltrusted maybe"); },
              ::testing::ThrowsMessage<StartUpError>(
                  ::testing::StrEq("Type mismatch in option 'labeltrusted'")));
}

}  // namespace
}  // namespace importkcd::testing
