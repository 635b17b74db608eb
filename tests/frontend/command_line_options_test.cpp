#include "frontend/command_line_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/frontend/recording_target.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CommandLineOptions : public ::testing::Test {
 protected:
  /// Applies one option and gives what it did to the window.
  std::vector<std::string> apply(std::string_view name, const std::string& value) {
    target.operations.clear();
    ApplyCommandLineOption(name, value, settings, target);
    return target.operations;
  }

  HiddenSettings settings;
  importkcd::testing::RecordingTarget target;
};

template <class Action>
std::string start_up_error_of(Action action) {
  try {
    action();
  } catch (const StartUpError& error) {
    return error.what();
  }
  return "no error";
}

TEST(CommandLineOptionTable, HasItsRowsInOrder) {
  std::vector<std::string> names;
  for (const auto& option : command_line_options()) {
    names.emplace_back(option.name);
  }
  EXPECT_THAT(names, ElementsAre("machine", "file", "databasename", "datasource", "dwdb", "dwnt",
                                 "dwuser", "dwpwd", "novirtualcubes", "incremental", "replace",
                                 "update", "cubepartitions", "patternfrom", "patternto", "noclose",
                                 "labelserver", "labeltrusted", "labelusername", "labelpassword",
                                 "labeldb", "labellanguage", "statusfile"));
}

TEST_F(CommandLineOptions, TheFirstEightMakeTheStartUnattended) {
  std::vector<std::string> unattended;
  for (const auto& option : command_line_options()) {
    HiddenSettings fresh;
    ApplyCommandLineOption(option.name, "10", fresh, target);
    if (fresh.CommandLineRun) {
      unattended.emplace_back(option.name);
    }
  }
  EXPECT_THAT(unattended, ElementsAre("machine", "file", "databasename", "datasource", "dwdb",
                                      "dwnt", "dwuser", "dwpwd"));
}

TEST_F(CommandLineOptions, AnUnattendedStartStaysOne) {
  apply("machine", "S");
  apply("noclose", "");
  EXPECT_TRUE(settings.CommandLineRun);
}

TEST_F(CommandLineOptions, TextOptionsFillTheirBoxes) {
  EXPECT_THAT(apply("machine", "SRV"),
              ElementsAre("set_text txtOLAPServer=SRV", "repaint txtOLAPServer"));
  EXPECT_THAT(apply("databasename", "Sales 2"),
              ElementsAre("set_text txtOLAPDatabase=Sales 2", "repaint txtOLAPDatabase",
                          "check cbAltOLAPDatabase"));
  EXPECT_THAT(apply("datasource", "DW"),
              ElementsAre("set_text txtDatawarehouseServer=DW", "check cbAltDWServer"));
  EXPECT_THAT(apply("patternfrom", "%X%"),
              ElementsAre("set_text txtReplacePatternFrom=%X%", "check cbReplacePattern"));
  EXPECT_THAT(apply("patternto", "ACME"),
              ElementsAre("set_text txtReplacePatternTo=ACME", "check cbReplacePattern"));
  EXPECT_THAT(apply("labelserver", "L"), ElementsAre("set_text txtServer=L"));
  EXPECT_THAT(apply("labelusername", "me"), ElementsAre("set_text txtSQLUsername=me"));
  EXPECT_THAT(apply("labelpassword", "[p]"), ElementsAre("set_text txtSQLPassword=[p]"));
  EXPECT_THAT(apply("labeldb", "Labels"), ElementsAre("set_text cmbDB=Labels"));
  EXPECT_THAT(apply("labellanguage", "Dutch"), ElementsAre("set_text cmbLanguage=Dutch"));
}

TEST_F(CommandLineOptions, TheDocumentDecidesAboutTheOutputFileAndTheKindOfInput) {
  EXPECT_THAT(apply("file", "a.kcd"),
              ElementsAre("set_text txtKCDFilename=a.kcd", "repaint txtKCDFilename",
                          "derive output file name", "KCD input"));
  EXPECT_THAT(apply("file", "/data/a.KCI"),
              ElementsAre("set_text txtKCDFilename=/data/a.KCI", "repaint txtKCDFilename",
                          "derive output file name", "KCI input"));
}

TEST_F(CommandLineOptions, ModesSelectTheirOptionButtons) {
  EXPECT_THAT(apply("replace", "ignored"), ElementsAre("select obReplace"));
  EXPECT_FALSE(settings.ImportTypeGiven);
  EXPECT_THAT(apply("incremental", "ignored"), ElementsAre("select obIncremental"));
  EXPECT_TRUE(settings.ImportTypeGiven);
  settings.ImportTypeGiven = false;
  EXPECT_THAT(apply("update", "ignored"), ElementsAre("select obUpdate"));
  EXPECT_TRUE(settings.ImportTypeGiven);
  EXPECT_THAT(apply("cubepartitions", "no"), ElementsAre("check cbImportCubePartitionDefs"));
}

TEST_F(CommandLineOptions, HiddenSettingsAreSetWithoutTouchingTheWindow) {
  apply("dwdb", "Warehouse");
  apply("dwuser", "Reader");
  apply("statusfile", "Status.txt");
  apply("novirtualcubes", "no");
  apply("noclose", "no");
  EXPECT_EQ(settings.DwDatabase, "Warehouse");
  EXPECT_EQ(settings.DwUser, "Reader");
  EXPECT_EQ(settings.StatusFileName, "Status.txt");
  EXPECT_FALSE(settings.ImportVirtualCubes);
  EXPECT_TRUE(settings.KeepOpen);
  EXPECT_THAT(target.operations, IsEmpty());
}

TEST_F(CommandLineOptions, OnlyNoMeansNotTrusted) {
  apply("dwnt", "NO");
  EXPECT_FALSE(settings.DwTrusted);
  for (const std::string value : {"yes", "0", "", "false", "n", "no "}) {
    settings.DwTrusted = false;
    apply("dwnt", value);
    EXPECT_TRUE(settings.DwTrusted) << value;
  }
  apply("dwnt", "nO");
  EXPECT_FALSE(settings.DwTrusted);
}

TEST_F(CommandLineOptions, APasswordLosesItsWrapping) {
  apply("dwpwd", "[pass]");
  EXPECT_EQ(settings.DwPassword, "pass");
  apply("dwpwd", "ab");
  EXPECT_EQ(settings.DwPassword, "");
  apply("dwpwd", "\u00a7p\u00e4ss\u20ac");
  EXPECT_EQ(settings.DwPassword, "p\u00e4ss");
}

TEST_F(CommandLineOptions, APasswordTooShortForItsWrappingIsAnError) {
  for (const std::string value : {"", "x", "\u00a7"}) {
    EXPECT_EQ(start_up_error_of([&] { apply("dwpwd", value); }),
              "Invalid procedure call or argument in option 'dwpwd'")
        << value;
  }
  EXPECT_FALSE(settings.CommandLineRun);
}

TEST_F(CommandLineOptions, TheLabelsLoginIsABoolean) {
  for (const std::string value : {"True", "true", "TRUE", "1", "-1", "0.5", "+2e3", " 7 ", ".1"}) {
    EXPECT_THAT(apply("labeltrusted", value), ElementsAre("select optSecureLogin")) << value;
  }
  for (const std::string value : {"False", "fALSE", "0", "-0.00", "0e9", "0."}) {
    EXPECT_THAT(apply("labeltrusted", value), ElementsAre("select optSQLLogin")) << value;
  }
}

TEST_F(CommandLineOptions, ALabelsLoginThatIsNoBooleanIsAnError) {
  for (const std::string value :
       {"", "yes", "no", "1x", "e5", "1e", ".", "-", "0x1", "inf", "--1"}) {
    EXPECT_EQ(start_up_error_of([&] { apply("labeltrusted", value); }),
              "Type mismatch in option 'labeltrusted'")
        << value;
  }
  EXPECT_THAT(target.operations, IsEmpty());
}

TEST_F(CommandLineOptions, NamesAreComparedWholeAndWithoutCase) {
  EXPECT_THAT(apply("MaChInE", "Srv"),
              ElementsAre("set_text txtOLAPServer=Srv", "repaint txtOLAPServer"));
  for (const std::string_view name : {"", "machin", "machines", " machine", "/machine"}) {
    EXPECT_THAT(apply(name, "S"), IsEmpty()) << name;
  }
}

}  // namespace
}  // namespace importkcd
