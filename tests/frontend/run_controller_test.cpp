#include "frontend/run_controller.h"

#include <filesystem>
#include <stdexcept>

#include "tests/frontend/run_controller_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string not_reached =
    "Cannot open DSO server on machine 'nowhere' because: no such server";

TEST_F(RunControllerTest, ASuccessfulRunTellsItsStepsAndItsEnd) {
  controller.cmdImport_Click();
  EXPECT_EQ(shown_lines(), expected_lines("Creating database 'Sales'"));
  EXPECT_THAT(view.operations_but_lines(), ElementsAre("hourglass", "unhook", "hook",
                                                       "default pointer", "cancel button &Close"));
  EXPECT_TRUE(controller.LastRunSucceeded());
  EXPECT_FALSE(controller.ImportRunning());
  EXPECT_EQ(converter.calls, 0);
}

TEST_F(RunControllerTest, TheMinimumSizeComesBackBeforeDone) {
  controller.cmdImport_Click();
  const auto hook = std::find(view.operations.begin(), view.operations.end(), "hook");
  ASSERT_NE(hook, view.operations.end());
  EXPECT_EQ(*(hook - 1), "line Creating cubes");
  EXPECT_EQ(*(hook + 1), "line Done");
}

TEST_F(RunControllerTest, AFailedRunTellsItsErrorLast) {
  make_the_server_unreachable();
  controller.cmdImport_Click();
  EXPECT_THAT(view.lines, ElementsAre("Start", "Opening DSO server on machine 'nowhere'", "Done",
                                      "Import not succeeded due to error", not_reached));
  EXPECT_THAT(view.operations_but_lines(), ElementsAre("hourglass", "unhook", "hook",
                                                       "default pointer", "cancel button &Close"));
  EXPECT_FALSE(controller.LastRunSucceeded());
}

TEST_F(RunControllerTest, ARunIsSummedUpAtItsEndBesideTheLines) {
  controller.cmdImport_Click();
  ASSERT_EQ(view.summaries.size(), 2U);
  EXPECT_EQ(view.summaries[0], "");
  EXPECT_THAT(view.summaries[1],
              ::testing::MatchesRegex(std::to_string(view.lines.size()) + " messages, [0-9.]+ s"));
  EXPECT_THAT(view.error_lines, IsEmpty());
}

TEST_F(RunControllerTest, AFailedRunMarksItsErrorAndItsReason) {
  make_the_server_unreachable();
  controller.cmdImport_Click();
  EXPECT_THAT(view.error_lines, ElementsAre("Import not succeeded due to error", not_reached));
  EXPECT_THAT(view.summaries.back(), ::testing::MatchesRegex("5 messages, 1 error, [0-9.]+ s"));
}

TEST_F(RunControllerTest, ARunThatDoesNotStartHasNoSummary) {
  controller.cmdImport_Click();
  view.typed.olap_server = "";
  controller.cmdImport_Click();
  EXPECT_EQ(view.summaries.back(), "");
  EXPECT_THAT(view.error_lines,
              ElementsAre("Error : MS OLAP Server field is empty ! Please fill it..."));
}

TEST_F(RunControllerTest, AMessageIsOneLineWhateverItHolds) {
  view.typed.olap_server = "no\nwhere";
  controller.cmdImport_Click();
  EXPECT_THAT(view.lines[1], "Opening DSO server on machine 'no where'");
  EXPECT_THAT(view.lines.back(),
              "Cannot open DSO server on machine 'no where' because: "
              "no such server");
}

TEST_F(RunControllerTest, AFieldFailureIsShownAndTakesTheFocus) {
  view.typed.olap_server = "  ";
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations,
              ElementsAre("hourglass", "unhook",
                          "line Error : MS OLAP Server field is empty ! Please fill it...",
                          "box ImportKCD commandline|Microsoft OLAP Server : MS OLAP Server field "
                          "is empty ! Please fill it...",
                          "focus txtKCDFilename", "default pointer"));
  EXPECT_EQ(view.boxes.at(0).icon, MessageIcon::exclamation);
}

TEST_F(RunControllerTest, NoFocusMovesInAnUnattendedStartThatHasNotBegun) {
  settings.CommandLineRun = true;
  view.typed.olap_server = "";
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations,
              ElementsAre("hourglass", "unhook",
                          "box ImportKCD commandline|Microsoft OLAP Server : MS OLAP Server field "
                          "is empty ! Please fill it...",
                          "default pointer"));
}

TEST_F(RunControllerTest, AFieldFailureLeavesTheStatusFileAlone) {
  settings.StatusFileName = folder.write("s.txt", "earlier");
  view.typed.kcd_filename = "";
  controller.cmdImport_Click();
  EXPECT_EQ(read_file(folder.file("s.txt")), "earlier");
}

TEST_F(RunControllerTest, ALabelReferenceFileIsConvertedFirst) {
  std::string document = view.typed.kcd_filename;
  view.typed.kcd_filename = folder.write("a.kci", "not read by the importer");
  view.typed.kci_input = true;
  view.typed.labels_server = view.typed.labels_database = view.typed.language = "x";
  converter.convert = [&document] { return document; };
  controller.cmdImport_Click();
  EXPECT_EQ(converter.calls, 1);
  EXPECT_EQ(shown_lines(), expected_lines("Creating database 'Sales'"));
}

TEST_F(RunControllerTest, AFailedConversionEndsTheRunBeforeTheEngine) {
  settings.StatusFileName = folder.write("s.txt", "earlier");
  use_output_file();
  view.typed.kci_input = true;
  view.typed.labels_server = view.typed.labels_database = view.typed.language = "x";
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations, ElementsAre("hourglass", "unhook",
                                           "line Error during checking and converting the KCI-file",
                                           "default pointer"));
  EXPECT_EQ(read_file(folder.file("s.txt")), "earlier");
  EXPECT_FALSE(std::filesystem::exists(folder.file("o.txt")));
}

TEST_F(RunControllerTest, TheLabelsFieldsAreCheckedBeforeAConversion) {
  view.typed.kci_input = true;
  controller.cmdImport_Click();
  EXPECT_EQ(converter.calls, 0);
  EXPECT_THAT(view.operations_but_lines(),
              ElementsAre("hourglass", "unhook",
                          "box ImportKCD commandline|Labels Server : The servername for the Labels "
                          "database is empty ! Please fill it...",
                          "focus txtServer", "default pointer"));
}

TEST_F(RunControllerTest, TheImportTypeComesFromTheSelectedOption) {
  controller.cmdImport_Click();
  view.lines.clear();
  controller.cmdImport_Click();
  EXPECT_EQ(shown_lines(), expected_lines("Searching database 'Sales'"));
  view.typed.replace = true;
  view.lines.clear();
  controller.cmdImport_Click();
  EXPECT_THAT(view.lines, ::testing::Contains("Creating database 'Sales'"));
}

TEST_F(RunControllerTest, TheOutputFileKeepsTheMessagesOfRunAfterRun) {
  use_output_file();
  make_the_server_unreachable();
  const std::string run =
      " \r\nNOW Start\r\nNOW Opening DSO server on machine 'nowhere'\r\nNOW Done\r\n"
      "NOW Import not succeeded due to error\r\nNOW " +
      not_reached + "\r\n";
  controller.cmdImport_Click();
  EXPECT_EQ(output(), run);
  controller.cmdImport_Click();
  EXPECT_EQ(output(), run + run);
}

TEST_F(RunControllerTest, WithoutItsBoxNoOutputFileIsTouched) {
  controller.cmdImport_Click();
  EXPECT_FALSE(std::filesystem::exists(folder.file("o.txt")));
}

TEST_F(RunControllerTest, UncheckingTheOutputFileDuringARunStopsItsLines) {
  use_output_file();
  make_the_server_unreachable();
  view.events = [this](const std::string& line) { view.typed.output_file = line == "Start"; };
  controller.cmdImport_Click();
  EXPECT_EQ(output(), " \r\nNOW Start\r\nNOW Opening DSO server on machine 'nowhere'\r\n");
}

TEST_F(RunControllerTest, LinesOutsideOfARunDoNotReachTheOutputFile) {
  use_output_file();
  controller.cmdImport_Click();
  const std::string before = output();
  view.typed.olap_server = "";
  controller.cmdImport_Click();
  controller.PutProgressMsg("alone");
  EXPECT_EQ(output(), before);
}

TEST_F(RunControllerTest, AnOutputFileThatCannotBeOpenedAbandonsTheRun) {
  settings.StatusFileName = folder.file("s.txt");
  use_output_file();
  view.typed.output_file_name = folder.file("no/o.txt");
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations,
              ElementsAre("hourglass", "unhook",
                          "box ImportKCD|Unable to write to file '" + folder.file("no/o.txt") +
                              "'\r\nNo such file or directory",
                          "default pointer", "default pointer", "cancel button &Close"));
  EXPECT_EQ(view.boxes.at(0).icon, MessageIcon::none);
  EXPECT_FALSE(std::filesystem::exists(folder.file("s.txt")));
}

TEST_F(RunControllerTest, TheStatusFileHoldsTheOutcomeOfTheLastRun) {
  settings.StatusFileName = folder.file("s.txt");
  controller.cmdImport_Click();
  EXPECT_EQ(read_file(folder.file("s.txt")), "SUCCES\r\n");
  make_the_server_unreachable();
  controller.cmdImport_Click();
  EXPECT_EQ(read_file(folder.file("s.txt")), not_reached + "\r\n");
}

TEST_F(RunControllerTest, AStatusFileThatCannotBeWrittenEndsTheProgram) {
  settings.StatusFileName = folder.file("no/s.txt");
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations_but_lines(),
              ElementsAre("hourglass", "unhook", "hook", "default pointer",
                          "box ImportKCD|Unable to write to file '" + folder.file("no/s.txt") +
                              "'\r\nNo such file or directory",
                          "close window"));
  EXPECT_EQ(controller.exit_status(), 0) << "nobody started the program unattended";
}

TEST_F(RunControllerTest, AnErrorOfTheConversionEndsTheProgram) {
  view.typed.kci_input = true;
  view.typed.labels_server = view.typed.labels_database = view.typed.language = "x";
  converter.convert = []() -> std::string { throw std::runtime_error("connection lost"); };
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations, ElementsAre("hourglass", "unhook", "default pointer",
                                           "box ImportKCD|connection lost", "close window"));
}

TEST_F(RunControllerTest, TheViewerStartsAfterAFailedRunEvenWithoutAnOutputFile) {
  make_the_server_unreachable();
  view.typed.output_file_open_on_error = true;
  view.typed.output_file_name = "my output.txt";
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations_but_lines(),
              ElementsAre("hourglass", "unhook", "hook", "viewer my output.txt", "default pointer",
                          "cancel button &Close"));
}

TEST_F(RunControllerTest, TheViewerStaysAwayAfterASuccessfulRun) {
  view.typed.output_file_open_on_error = true;
  controller.cmdImport_Click();
  EXPECT_THAT(view.operations_but_lines(),
              ::testing::Not(::testing::Contains(HasSubstr("viewer"))));
}

TEST_F(RunControllerTest, AnEnginesNotificationIsAPlainMessageBox) {
  controller.show_message("Error in deleting file x (y)");
  EXPECT_THAT(view.boxes, ElementsAre(MessageBox{MessageIcon::none, "ImportKCD",
                                                 "Error in deleting file x (y)"}));
}

TEST_F(RunControllerTest, SeveralNotificationsAreOneBox) {
  controller.show_messages({"Cube 'A\nB' is torn", "so is 'C'"});
  EXPECT_THAT(view.boxes, ElementsAre(MessageBox{MessageIcon::none, "ImportKCD",
                                                 "Cube 'A B' is torn;\nso is 'C'"}));
}

TEST_F(RunControllerTest, OfManyNotificationsTheBoxHasTwenty) {
  controller.show_messages(std::vector<std::string>(23, "x"));
  std::string text;
  for (int i = 0; i < 20; ++i) {
    text += "x;\n";
  }
  EXPECT_THAT(view.boxes,
              ElementsAre(MessageBox{MessageIcon::none, "ImportKCD", text + "and 3 more"}));
}

TEST_F(RunControllerTest, AStatusLineIsMeasuredWithTwoBlanksBeforeIt) {
  view.width_of = [](const std::string& text) {
    return static_cast<std::int32_t>(150 * text.size());
  };
  controller.PutProgressMsg("12345678");
  controller.PutProgressMsg("12");
  controller.PutProgressMsg("");
  EXPECT_THAT(view.extents, ElementsAre(100, 40, 20));
  EXPECT_EQ(view.repaints, 3);
  EXPECT_EQ(view.event_rounds, 3);
}

TEST_F(RunControllerTest, BeforeAnUnattendedRunTheListIsLeftAloneAndEventsStillRun) {
  settings.CommandLineRun = true;
  controller.PutProgressMsg("text");
  EXPECT_THAT(view.lines, IsEmpty());
  EXPECT_EQ(view.repaints, 0);
  EXPECT_EQ(view.event_rounds, 1);
}

TEST_F(RunControllerTest, AnUnattendedRunLeavesNoEarlierResultBehind) {
  settings.StatusFileName = folder.write("status", "SUCCES\r\n");
  settings.CommandLineRun = true;
  view.typed.olap_server.clear();
  controller.Form_Activate();
  EXPECT_EQ(controller.exit_status(), 1);
  EXPECT_FALSE(std::filesystem::exists(settings.StatusFileName));
}

TEST_F(RunControllerTest, ARunOfTheWindowLeavesTheStatusFileUntilItHasAResult) {
  settings.StatusFileName = folder.write("status", "SUCCES\r\n");
  view.typed.olap_server.clear();
  controller.cmdImport_Click();
  EXPECT_EQ(testing::read_file(settings.StatusFileName), "SUCCES\r\n");
}

TEST_F(RunControllerTest, CancelClosesTheIdleWindow) {
  controller.cmdCancel_Click();
  EXPECT_THAT(view.operations, ElementsAre("close window"));
  EXPECT_TRUE(controller.may_close());
}

TEST_F(RunControllerTest, CancelDuringARunIsIgnored) {
  view.events = [this](const std::string& line) {
    if (line == "Processing document") {
      EXPECT_TRUE(controller.ImportRunning());
      controller.cmdCancel_Click();
    }
  };
  controller.cmdImport_Click();
  EXPECT_EQ(shown_lines(), expected_lines("Creating database 'Sales'"));
  EXPECT_THAT(view.operations, ::testing::Not(::testing::Contains("close window")));
}

TEST_F(RunControllerTest, ClosingTheWindowWaitsForTheEndOfTheRun) {
  view.events = [this](const std::string& line) {
    if (line == "Processing document") {
      EXPECT_FALSE(controller.may_close());
      EXPECT_FALSE(controller.may_close());
    }
  };
  controller.cmdImport_Click();
  EXPECT_EQ(shown_lines(), expected_lines("Creating database 'Sales'"));
  EXPECT_THAT(view.operations_but_lines(),
              ElementsAre("hourglass", "unhook", "announce close", "hook", "default pointer",
                          "cancel button &Close", "close window"));
  EXPECT_TRUE(controller.may_close());
}

TEST_F(RunControllerTest, CancelAfterTheEngineButInsideOfTheRunWaitsForItsEnd) {
  view.events = [this](const std::string& line) {
    if (line == "Done") {
      controller.cmdCancel_Click();
    }
  };
  controller.cmdImport_Click();
  EXPECT_EQ(view.lines.back(), "Import succeeded");
  EXPECT_EQ(view.operations.back(), "close window");
}

TEST_F(RunControllerTest, ASecondClickDuringARunNests) {
  bool nested = false;
  bool running_after_nested = true;
  view.events = [&](const std::string& line) {
    if (line == "Processing document" && !std::exchange(nested, true)) {
      view.typed.olap_server = "nowhere";
      controller.cmdImport_Click();
      running_after_nested = controller.ImportRunning();
      controller.cmdCancel_Click();
    }
  };
  controller.cmdImport_Click();
  EXPECT_FALSE(running_after_nested) << "the nested run's end is taken for the end of all";
  EXPECT_THAT(
      shown_lines(),
      ElementsAre("Start", "Opening DSO server on machine 'memory:'",
                  "Opening kcd document file 'TEMP'", "Processing document", "Start",
                  "Opening DSO server on machine 'nowhere'", "Done",
                  "Import not succeeded due to error", not_reached, "Creating database 'Sales'",
                  "Creating library", "Creating data sources", "Creating shared dimensions",
                  "Creating roles", "Creating cubes", "Done", "Import succeeded"));
  EXPECT_THAT(view.operations_but_lines(),
              ElementsAre("hourglass", "unhook", "hourglass", "unhook", "hook", "default pointer",
                          "cancel button &Close", "announce close", "hook", "default pointer",
                          "cancel button &Close", "close window"));
}

TEST_F(RunControllerTest, ANestedRunTakesOverTheOutputFile) {
  use_output_file();
  make_the_server_unreachable();
  bool nested = false;
  view.events = [&](const std::string& line) {
    if (line == "Start" && !std::exchange(nested, true)) {
      controller.cmdImport_Click();
    }
  };
  controller.cmdImport_Click();
  EXPECT_EQ(output(),
            " \r\nNOW Start\r\n \r\nNOW Start\r\n"
            "NOW Opening DSO server on machine 'nowhere'\r\nNOW Done\r\n"
            "NOW Import not succeeded due to error\r\nNOW " +
                not_reached + "\r\n");
}

TEST_F(RunControllerTest, AnInteractiveActivationStartsNothing) {
  controller.Form_Activate();
  EXPECT_THAT(view.operations, IsEmpty());
  EXPECT_EQ(controller.exit_status(), 0);
}

TEST_F(RunControllerTest, TheFirstActivationRunsAnUnattendedStartAndClosesTheWindow) {
  settings.CommandLineRun = true;
  EXPECT_EQ(controller.exit_status(), 1) << "no run yet";
  view.events = [this](const std::string&) {
    EXPECT_FALSE(settings.CommandLineRun);
    controller.Form_Activate();
  };
  controller.Form_Activate();
  controller.Form_Activate();
  EXPECT_EQ(shown_lines(), expected_lines("Creating database 'Sales'"));
  EXPECT_THAT(view.operations_but_lines(),
              ElementsAre("hourglass", "unhook", "hook", "default pointer", "cancel button &Close",
                          "close window"));
  EXPECT_EQ(controller.exit_status(), 0);
}

TEST_F(RunControllerTest, TheWindowIsRepaintedBeforeAnUnattendedRun) {
  settings.CommandLineRun = true;
  settings.KeepOpen = true;
  view.typed.olap_server = "";
  controller.Form_Activate();
  EXPECT_EQ(view.repaints, 1) << "for the error's line";
  EXPECT_EQ(view.repaints_at_once, 3) << "at the start, and at the ends of the click and the run";
}

TEST_F(RunControllerTest, EveryLineIsSeenBeforeAServerIsOpenedAndAtTheEnd) {
  RunController slow(view, settings, converter,
                     {[this](std::string_view) -> std::unique_ptr<OlapServer> {
                        EXPECT_EQ(view.lines.size(), 2U);
                        EXPECT_EQ(view.seen_lines, view.lines.size());
                        return make_memory_server(store);
                      },
                      "HERE", [] { return std::string("NOW"); }});
  slow.cmdImport_Click();
  EXPECT_EQ(view.lines.back(), "Import succeeded");
  EXPECT_EQ(view.seen_lines, view.lines.size());
}

TEST_F(RunControllerTest, EveryLineIsSeenBeforeTheDocumentIsLoadedAndBeforeTheServerStores) {
  std::vector<std::string> last_seen;
  view.on_repaint = [&] { last_seen.push_back(view.lines.empty() ? "" : view.lines.back()); };
  view.typed.kcd_filename = folder.write(
      "b.kcd", R"(<database version="1.0.1073" name="Sales" description="d"><cubes/></database>)");
  controller.cmdImport_Click();
  ASSERT_EQ(last_seen.size(), 4U);
  EXPECT_THAT(last_seen[1], ::testing::StartsWith("Opening kcd document file '"));
  EXPECT_EQ(last_seen[2], "Creating cubes");
}

TEST_F(RunControllerTest, WhatAnEngineHasToSayToAPersonIsShown) {
  view.typed.kcd_filename =
      folder.write("b.kcd", R"(<database version="1.0.1073" name="Sales" description="d">
      <library><data_sources><data_source name="W" connection_string="c"/></data_sources></library>
      <cubes><cube name="Torn" description="" data_source="W" fact_table="f" from_clause=""
      join_clause="" aggregation_prefix="" schema_layout="" olap_mode="" estimated_rows="1">
      <cube_dimensions><cube_dimension_reference name="Missing"><cube_levels_reference/>
      </cube_dimension_reference></cube_dimensions><cube_measures/><cube_calculated_members/>
      <cube_roles/></cube></cubes></database>)");
  controller.cmdImport_Click();
  EXPECT_FALSE(controller.LastRunSucceeded());
  ASSERT_EQ(view.boxes.size(), 1U);
  EXPECT_THAT(view.boxes[0].text, HasSubstr("'Torn'"));
}

TEST_F(RunControllerTest, AnUnattendedRunMayLeaveTheWindowOpen) {
  settings.CommandLineRun = settings.KeepOpen = true;
  controller.Form_Activate();
  EXPECT_EQ(view.operations.back(), "cancel button &Close");
  controller.cmdCancel_Click();
  EXPECT_EQ(view.operations.back(), "close window");
}

TEST_F(RunControllerTest, AWindowClosedDuringAnUnattendedRunIsClosedOnce) {
  settings.CommandLineRun = true;
  view.events = [this](const std::string&) { EXPECT_FALSE(controller.may_close()); };
  controller.Form_Activate();
  EXPECT_EQ(std::count(view.operations.begin(), view.operations.end(), "close window"), 1);
}

TEST_F(RunControllerTest, AFieldFailureOfAnUnattendedRunMovesTheFocusAndClosesTheWindow) {
  settings.CommandLineRun = true;
  settings.StatusFileName = folder.write("s.txt", "earlier");
  view.typed.olap_server = "";
  controller.Form_Activate();
  EXPECT_THAT(view.operations,
              ElementsAre("hourglass", "unhook",
                          "line Error : MS OLAP Server field is empty ! Please fill it...",
                          "box ImportKCD commandline|Microsoft OLAP Server : MS OLAP Server field "
                          "is empty ! Please fill it...",
                          "focus txtKCDFilename", "default pointer", "close window"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("s.txt")));
  EXPECT_EQ(controller.exit_status(), 1);
}

TEST_F(RunControllerTest, TheExitStatusOfAnUnattendedStartTellsItsOutcome) {
  settings.CommandLineRun = true;
  make_the_server_unreachable();
  controller.Form_Activate();
  EXPECT_EQ(controller.exit_status(), 1);
}

TEST_F(RunControllerTest, AnUnwritableStatusFileFailsAnUnattendedStart) {
  settings.CommandLineRun = settings.KeepOpen = true;
  settings.StatusFileName = folder.path().string();
  controller.Form_Activate();
  EXPECT_TRUE(controller.LastRunSucceeded());
  EXPECT_EQ(controller.exit_status(), 1);
  EXPECT_EQ(view.operations.back(), "close window") << "also when the window was to stay open";
}

}  // namespace
}  // namespace importkcd::testing
