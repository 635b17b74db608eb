#include <filesystem>

#include "frontend/command_line_options.h"
#include "tests/frontend/program/program_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

using Program = ProgramTest;

TEST_F(Program, UnattendedRunImportsIntoACatalogue) {
  const auto result = run(
      {"/machine", server(), "/file", document, "/incremental", "/statusfile", folder.file("s")});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(without_times(result.output), joined(expected_lines(), "", "\n"));
  EXPECT_EQ(without_times(read_file(output_file())),
            " \r\n" + joined(expected_lines(), "TIME ", "\r\n"));
  EXPECT_EQ(read_file(folder.file("s")), "SUCCES\r\n");
  EXPECT_THAT(databases(), ElementsAre("Shop"));
}

TEST_F(Program, FailedRunTellsWhyInTheStatusFile) {
  const std::string broken = folder.write("bad.kcd", "<database");
  const auto result = run({"/machine", server(), "/file", broken, "/statusfile", folder.file("s")});
  EXPECT_EQ(result.exit_status, 1);
  const std::string status = read_file(folder.file("s"));
  EXPECT_TRUE(result.output.ends_with("Done\nImport not succeeded due to error\n" +
                                      status.substr(0, status.size() - 2) + "\n"))
      << result.output << status;
  EXPECT_TRUE(status.ends_with("\r\n"));
}

TEST_F(Program, RunStoppedByACheckLeavesNoEarlierStatusFile) {
  const std::string status = folder.write("s", "before");
  const auto result = run({"/machine", server(), "/statusfile", status});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, "Error : KCD Filename field is empty ! Please fill it...\n");
  EXPECT_EQ(result.errors,
            "ImportKCD commandline: Cube Definition Document : KCD Filename field is empty ! "
            "Please fill it...\n");
  EXPECT_FALSE(std::filesystem::exists(status));
}

TEST_F(Program, UnwritableStatusFileIsAFailure) {
  const auto result =
      run({"/machine", server(), "/file", document, "/statusfile", folder.path().string()});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.errors, HasSubstr("Is a directory"));
  EXPECT_THAT(databases(), ElementsAre("Shop"));
}

TEST_F(Program, TokensBeyondTheTwentyFifthAreDropped) {
  std::vector<std::string> arguments{"/machine", server(), "/file", document};
  while (arguments.size() < 25) {
    arguments.emplace_back("x");
  }
  arguments.emplace_back("/statusfile");
  arguments.push_back(folder.file("s"));
  EXPECT_EQ(run(arguments).exit_status, 0);
  EXPECT_FALSE(std::filesystem::exists(folder.file("s")));
}

TEST_F(Program, ArgumentsWithBlanksStayWhole) {
  const std::string with_blank = folder.write("my shop.kcd", whole_document());
  const auto result = run({"/machine", server(), "-file", with_blank});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_TRUE(std::filesystem::exists(output_file("my shop")));
}

TEST_F(Program, QuotesWithinAnArgumentCount) {
  const std::string with_blank = folder.write("my shop.kcd", whole_document());
  const std::string quoted = folder.file("my\" \"shop.kcd");
  EXPECT_EQ(run({"/machine", server(), "/FILE", quoted}).exit_status, 0);
  EXPECT_THAT(databases(), ElementsAre("Shop"));
}

TEST_F(Program, OptionsOfTheToolkitMeanNothing) {
  const auto result = run({"/machine", server(), "/file", document, "-platform", "none", "-style"});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
}

TEST_F(Program, PasswordLosesItsWrappingAndIsShownNowhere) {
  const auto result = run({"/machine", server(), "/file", document, "/dwpwd", "[geheim]", "/dwdb",
                           "W", "/dwuser", "u"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output.find("geheim"), std::string::npos);
  EXPECT_EQ(read_file(output_file()).find("geheim"), std::string::npos);
  const std::string catalogue = read_file(folder.file("shop.olap"));
  EXPECT_NE(catalogue.find("Password=geheim"), std::string::npos);
}

TEST_F(Program, PasswordOfOneCharacterIsAFailedStart) {
  const auto result = run({"/machine", server(), "/file", document, "/dwpwd", "x"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "ImportKCD: Invalid procedure call or argument in option 'dwpwd'\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("shop.olap")));
}

TEST_F(Program, HelpAndVersionAnswerWithoutADisplay) {
  const auto help = run({"--help"});
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_EQ(help.errors, "");
  for (const auto& option : command_line_options()) {
    EXPECT_THAT(help.output, HasSubstr("/" + std::string(option.name)));
  }
  const auto version = run({"--version"});
  EXPECT_EQ(version.exit_status, 0);
  EXPECT_EQ(version.errors, "");
  EXPECT_EQ(version.output, "ImportKCD " IMPORTKCD_VERSION "\n");
}

TEST_F(Program, RequestForHelpAmongOptionsMeansNothing) {
  const auto result = run({"/machine", server(), "/file", document, "--help"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_TRUE(result.output.starts_with("Start\n")) << result.output;
}

TEST_F(Program, AttendedStartNeedsADisplay) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"/machine"}, {"/noclose", "/noclose"}}) {
    const auto result = run(arguments);
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(result.errors, HasSubstr("There is no display for the window."));
    EXPECT_EQ(result.output, "");
  }
}

TEST_F(Program, NocloseIsIgnoredWithoutADisplay) {
  EXPECT_EQ(run({"/noclose", "/machine", server(), "/file", document}).exit_status, 0);
}

TEST_F(Program, TwoRunsAppendToOneOutputFile) {
  run({"/machine", server(), "/file", document});
  const std::string first = read_file(output_file());
  EXPECT_EQ(run({"/machine", server(), "/file", document}).exit_status, 0);
  EXPECT_TRUE(read_file(output_file()).starts_with(first + " \r\n"));
}

TEST_F(Program, ServerThatCannotBeReachedIsAFailure) {
  const auto result = run({"/machine", "no.such.machine", "/file", document});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.output, HasSubstr("Import not succeeded due to error\n"));
}

}  // namespace
}  // namespace importkcd::testing
