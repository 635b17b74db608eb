#include "frontend/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frontend/command_line_options.h"
#include "tests/frontend/recording_target.h"

namespace importkcd {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using Texts = std::vector<std::string>;

class CommandLine : public ::testing::Test {
 protected:
  void parse(std::string_view text) { ParseCommandLine(text, settings, target); }

  HiddenSettings settings;
  importkcd::testing::RecordingTarget target;
};

std::string numbered_tokens(int count) {
  std::string text;
  for (int number = 1; number <= count; ++number) {
    text += "t" + std::to_string(number) + " ";
  }
  return text;
}

TEST(JoinCommandLine, JoinsArgumentsWithBlanks) {
  EXPECT_EQ(join_command_line({}), "");
  EXPECT_EQ(join_command_line(Texts{"/file", "a.kcd"}), "/file a.kcd");
}

TEST(JoinCommandLine, PutsAnArgumentWithBlanksInQuotes) {
  EXPECT_EQ(join_command_line(Texts{"-file", "/home/My Docs/a.kcd"}),
            "-file \"/home/My Docs/a.kcd\"");
  EXPECT_EQ(join_command_line(Texts{"a\tb"}), "\"a\tb\"");
}

TEST(JoinCommandLine, LeavesAnArgumentThatHoldsAQuoteAsItIs) {
  EXPECT_EQ(join_command_line(Texts{"-file", "My\" \"Docs", "a b\""}), "-file My\" \"Docs a b\"");
}

TEST(TokenizeCommandLine, SplitsAtBlanksAndTabs) {
  EXPECT_THAT(tokenize_command_line(""), IsEmpty());
  EXPECT_THAT(tokenize_command_line(" \t "), IsEmpty());
  EXPECT_THAT(tokenize_command_line("  /file\ta.kcd  x "), ElementsAre("/file", "a.kcd", "x"));
}

TEST(TokenizeCommandLine, OtherWhiteSpaceBelongsToAToken) {
  EXPECT_THAT(tokenize_command_line("a\nb c\rd"), ElementsAre("a\nb", "c\rd"));
}

TEST(TokenizeCommandLine, QuotesAreDroppedAndDoNotEndAToken) {
  EXPECT_THAT(tokenize_command_line("pq\"rs\"tu"), ElementsAre("pqrstu"));
  EXPECT_THAT(tokenize_command_line(R"(-file "C:\My Docs\a.kcd")"),
              ElementsAre("-file", "C:\\My Docs\\a.kcd"));
  EXPECT_THAT(tokenize_command_line(R"(-file C:\My" "Docs\a.kcd)"),
              ElementsAre("-file", "C:\\My Docs\\a.kcd"));
}

TEST(TokenizeCommandLine, QuotesAloneMakeNoToken) {
  EXPECT_THAT(tokenize_command_line("\"\" a \"\""), ElementsAre("a"));
}

TEST(TokenizeCommandLine, AQuotedBlankOrTabStartsAToken) {
  EXPECT_THAT(tokenize_command_line("\" \" \"\ta\""), ElementsAre(" ", "\ta"));
}

TEST(TokenizeCommandLine, AnUnclosedQuoteReachesToTheEnd) {
  EXPECT_THAT(tokenize_command_line("a \"b c  d"), ElementsAre("a", "b c  d"));
}

TEST(TokenizeCommandLine, StopsAtTheTwentySixthToken) {
  const auto tokens = tokenize_command_line(numbered_tokens(25) + "\"\" t26 t27");
  ASSERT_THAT(tokens, SizeIs(25));
  EXPECT_EQ(tokens.back(), "t25");
}

TEST(TokenizeCommandLine, AQuotedBlankIsATwentySixthTokenToo) {
  const auto tokens = tokenize_command_line(numbered_tokens(25) + "\" x\"");
  ASSERT_THAT(tokens, SizeIs(25));
  EXPECT_EQ(tokens.back(), "t25");
}

TEST(TokenizeCommandLine, TheTwentyFifthTokenIsTakenWhole) {
  EXPECT_EQ(tokenize_command_line(numbered_tokens(24) + "a\" b\"c").back(), "a bc");
}

TEST(OptionsOfCommandLine, PairsANameWithTheTokenThatFollows) {
  EXPECT_THAT(
      options_of_command_line(Texts{"stray", "/FILE", "X.kcd", "y", "-noclose"}),
      ElementsAre(CommandLineOptionUse{"FILE", "X.kcd"}, CommandLineOptionUse{"noclose", ""}));
}

TEST(OptionsOfCommandLine, ASingleTokenIsIgnored) {
  EXPECT_THAT(options_of_command_line({}), IsEmpty());
  EXPECT_THAT(options_of_command_line(Texts{"/noclose"}), IsEmpty());
}

TEST(OptionsOfCommandLine, AValueThatLooksLikeAnOptionIsOneToo) {
  EXPECT_THAT(options_of_command_line(Texts{"/noclose", "/machine", "SRV"}),
              ElementsAre(CommandLineOptionUse{"noclose", "/machine"},
                          CommandLineOptionUse{"machine", "SRV"}));
}

TEST(OptionsOfCommandLine, AnIntroducerAloneHasAnEmptyName) {
  EXPECT_THAT(options_of_command_line(Texts{"-", "//x"}),
              ElementsAre(CommandLineOptionUse{"", "//x"}, CommandLineOptionUse{"/x", ""}));
}

TEST_F(CommandLine, OptionNamesIgnoreCaseAndValuesKeepIt) {
  parse("/FILE X.kcd /Machine SRV");
  EXPECT_EQ(target.texts["txtKCDFilename"], "X.kcd");
  EXPECT_EQ(target.texts["txtOLAPServer"], "SRV");
  EXPECT_TRUE(settings.CommandLineRun);
}

TEST_F(CommandLine, AnAbsolutePathIsAValueAndAnOptionWithoutARow) {
  parse("/file /data/a.kcd /statusfile /data/status.txt");
  EXPECT_EQ(target.texts["txtKCDFilename"], "/data/a.kcd");
  EXPECT_EQ(settings.StatusFileName, "/data/status.txt");
}

TEST_F(CommandLine, OneTokenDoesNothingAndTwoAreACommandLine) {
  parse("/noclose");
  EXPECT_FALSE(settings.KeepOpen);
  parse("/noclose /noclose");
  EXPECT_TRUE(settings.KeepOpen);
  EXPECT_FALSE(settings.CommandLineRun);
  EXPECT_THAT(target.operations, IsEmpty());
}

TEST_F(CommandLine, ResetsTheUnattendedMarkBeforeTheOptionsAreApplied) {
  settings.CommandLineRun = true;
  parse("");
  EXPECT_FALSE(settings.CommandLineRun);
}

TEST_F(CommandLine, OptionsBeyondTheFirstEightOnlyFillTheWindow) {
  parse("/statusfile s.txt /labelserver L /incremental x /patternfrom XXX");
  EXPECT_FALSE(settings.CommandLineRun);
  EXPECT_EQ(settings.StatusFileName, "s.txt");
  EXPECT_THAT(target.operations,
              ElementsAre("set_text txtServer=L", "select obIncremental",
                          "set_text txtReplacePatternFrom=XXX", "check cbReplacePattern"));
}

TEST_F(CommandLine, UnknownOptionsAndStrayTokensAreIgnored) {
  parse("stray /unknown value machine");
  EXPECT_THAT(target.operations, IsEmpty());
  EXPECT_FALSE(settings.CommandLineRun);
}

TEST_F(CommandLine, AnUnattendedStartAppliesItsOptionsAndThenLocksTheWindow) {
  parse("/replace /machine S /file f.kcd");
  EXPECT_THAT(
      target.operations,
      ElementsAre("select obReplace", "set_text txtOLAPServer=S", "repaint txtOLAPServer",
                  "set_text txtKCDFilename=f.kcd", "repaint txtKCDFilename",
                  "derive output file name", "KCD input", "disable cmdImport",
                  "disable txtOLAPServer", "disable txtKCDFilename", "disable txtOLAPDatabase",
                  "disable cbAltOLAPDatabase", "disable cbAltDWServer", "disable obReplace",
                  "disable obIncremental", "clear obReplace", "clear obUpdate",
                  "disable cbImportCubePartitionDefs", "disable lblServer", "disable txtServer",
                  "disable cmdServer", "disable optSecureLogin", "disable optSQLLogin",
                  "disable lblSQLUsername", "disable txtSQLUsername", "disable lblSQLPassword",
                  "disable txtSQLPassword", "disable lblDB", "disable cmbDB", "disable lblLanguage",
                  "disable cmbLanguage"));
}

TEST_F(CommandLine, LockingUnchecksAPatternWithoutItsSecondHalf) {
  parse("/machine S /patternfrom XXX");
  EXPECT_FALSE(target.is_checked("cbReplacePattern"));
  const auto& steps = target.operations;
  const auto unchecked = std::find(steps.begin(), steps.end(), "uncheck cbReplacePattern");
  ASSERT_NE(unchecked, steps.end());
  EXPECT_EQ(*(unchecked - 1), "disable cbImportCubePartitionDefs");
  EXPECT_EQ(*(unchecked + 1), "disable lblServer");
}

TEST_F(CommandLine, LockingTakesBlanksForAnEmptyPattern) {
  parse("/machine S /patternto ACME /patternfrom \"  \"");
  EXPECT_FALSE(target.is_checked("cbReplacePattern"));
}

TEST_F(CommandLine, LockingKeepsAWholePattern) {
  parse("/machine S /patternfrom XXX /patternto ACME");
  EXPECT_TRUE(target.is_checked("cbReplacePattern"));
  EXPECT_THAT(target.operations, Not(Contains("uncheck cbReplacePattern")));
}

TEST_F(CommandLine, LockingLeavesAPatternAloneThatIsSwitchedOff) {
  parse("/machine S x");
  EXPECT_THAT(target.operations, Not(Contains("uncheck cbReplacePattern")));
}

TEST_F(CommandLine, AConversionErrorStopsTheParsing) {
  EXPECT_THAT([&] { parse("/machine S /dwpwd x /file f.kcd"); },
              ::testing::ThrowsMessage<StartUpError>(
                  ::testing::StrEq("Invalid procedure call or argument in option 'dwpwd'")));
  EXPECT_THAT(target.operations, ElementsAre("set_text txtOLAPServer=S", "repaint txtOLAPServer"));
}

TEST_F(CommandLine, APasswordOptionAtTheEndOfTheLineIsAnError) {
  EXPECT_THAT([&] { parse("/machine S /dwpwd"); },
              ::testing::ThrowsMessage<StartUpError>(
                  ::testing::StrEq("Invalid procedure call or argument in option 'dwpwd'")));
}

TEST_F(CommandLine, ATrustedLoginAtTheEndOfTheLineIsTrusted) {
  parse("/machine S /dwnt");
  EXPECT_TRUE(settings.DwTrusted);
}

}  // namespace
}  // namespace importkcd
