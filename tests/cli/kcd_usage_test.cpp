#include <filesystem>
#include <regex>
#include <utility>

#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using ::testing::HasSubstr;
using testing::read_file;
using ::testing::StartsWith;
using testing::whole_document;

class KcdUsage : public testing::KcdTest {
 protected:
  /// The command line is refused before anything is done; gives what standard error says.
  std::string refusal(const std::vector<std::string>& arguments) {
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 2) << ::testing::PrintToString(arguments);
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
    EXPECT_THAT(result.errors, StartsWith("kcd: "));
    return result.errors;
  }

  std::string document = folder.write("document.kcd", whole_document());
};

TEST_F(KcdUsage, SaysItsVersion) {
  const auto result = kcd({"--version"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, "kcd 1.0.0\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(KcdUsage, SaysCommitCompilerAndLibrariesWithItsVersionWhenAskedForMore) {
  for (const auto& arguments :
       {std::vector<std::string>{"--version", "--verbose"}, {"--verbose", "--version"}}) {
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.output, ::testing::MatchesRegex(
                                   "kcd 1\\.0\\.0\ncommit [0-9a-z+]+\ncompiler [^\n]+\n"
                                   "libxml2 2\\.[0-9.]+\nSQLite 3\\.[0-9.]+\nSQLiteCpp [0-9.]+\n"
                                   "utf8proc [0-9.]+\nlibcurl [0-9.]+\nunixODBC libodbc[^\n]+\n"
                                   "CLI11 [0-9.]+\nnlohmann_json [0-9.]+\n"));
  }
  refusal({"--verbose"});
  refusal({"--verbose", "show"});
}

TEST_F(KcdUsage, HasHelpOfItsOwnAndOfEachSubcommand) {
  for (const auto& [arguments, text] :
       {std::pair{std::vector<std::string>{"--help"}, "import"},
        std::pair{std::vector<std::string>{"import", "--help"}, "--connect-string-file"},
        std::pair{std::vector<std::string>{"plan", "--help"}, "--json"},
        std::pair{std::vector<std::string>{"check", "--help"}, "--for-mdx"},
        std::pair{std::vector<std::string>{"schema", "--help"}, "schema"},
        std::pair{std::vector<std::string>{"convert", "--help"}, "--labels-server"},
        std::pair{std::vector<std::string>{"show", "--help"}, "--json"},
        std::pair{std::vector<std::string>{"restore", "--help"}, "--list"},
        std::pair{std::vector<std::string>{"serve", "--help"}, "--port"},
        std::pair{std::vector<std::string>{"query", "--help"}, "--database"},
        std::pair{std::vector<std::string>{"aggregate", "--help"}, "--budget"}}) {
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.output, HasSubstr(text));
    EXPECT_EQ(result.errors, "");
  }
}

TEST_F(KcdUsage, TheManualKnowsEveryOptionOfTheHelp) {
  const auto manual = read_file(KCD_MANUAL);
  for (const auto& arguments :
       {std::vector<std::string>{"--help"}, std::vector<std::string>{"import", "--help"},
        std::vector<std::string>{"plan", "--help"}, std::vector<std::string>{"check", "--help"},
        std::vector<std::string>{"schema", "--help"}, std::vector<std::string>{"export", "--help"},
        std::vector<std::string>{"convert", "--help"}, std::vector<std::string>{"show", "--help"},
        std::vector<std::string>{"restore", "--help"}, std::vector<std::string>{"serve", "--help"},
        std::vector<std::string>{"query", "--help"},
        std::vector<std::string>{"aggregate", "--help"}}) {
    const auto help = kcd(arguments).output;
    const std::regex option("--([a-z-]+)");
    const std::sregex_iterator end;
    for (std::sregex_iterator found(help.begin(), help.end(), option); found != end; ++found) {
      EXPECT_THAT(manual, HasSubstr("\n.It Fl -" + (*found)[1].str()));
    }
  }
}

TEST_F(KcdUsage, HelpThatCannotBeWrittenIsAFailure) {
  start.output_file = "/dev/full";
  EXPECT_EQ(kcd({"--help"}).exit_status, 5);
  EXPECT_EQ(kcd({"--version"}).exit_status, 5);
}

TEST_F(KcdUsage, RefusesACommandLineWithoutOrWithUnknownSubcommand) {
  refusal({});
  refusal({"destroy"});
  refusal({"show", "import", "x", "y"});
}

TEST_F(KcdUsage, RefusesUnknownOptions) {
  EXPECT_THAT(refusal({"import", document, "--colour"}), HasSubstr("--colour"));
  EXPECT_THAT(refusal({"show", "--yaml"}), HasSubstr("--yaml"));
  refusal({"--json"});
  refusal({"import", document, "--part"});
}

TEST_F(KcdUsage, RefusesAnImportWithoutOrWithTwoDocuments) {
  EXPECT_THAT(refusal({"import"}), HasSubstr("FILE"));
  refusal({"import", document, document});
}

TEST_F(KcdUsage, RefusesOptionsWithoutTheirValueOrGivenTwice) {
  refusal({"import", document, "--server"});
  refusal({"import", document, "--database", "a", "--database", "b"});
  refusal({"import", document, "--partitions=no"});
}

TEST_F(KcdUsage, RefusesUnknownModes) {
  EXPECT_THAT(refusal({"import", document, "--mode", "destroy"}), HasSubstr("destroy"));
  refusal({"import", document, "--mode", ""});
}

TEST_F(KcdUsage, RefusesDontUpdateLevelsOutsideOfUpdateMode) {
  for (const auto& mode :
       {std::vector<std::string>{}, std::vector<std::string>{"--mode", "incremental"},
        std::vector<std::string>{"--mode", "replace"}}) {
    std::vector<std::string> arguments{"import", document, "--dont-update-levels"};
    arguments.insert(arguments.end(), mode.begin(), mode.end());
    EXPECT_THAT(refusal(arguments), HasSubstr("--dont-update-levels"));
  }
}

TEST_F(KcdUsage, RefusesHalfAPattern) {
  EXPECT_THAT(refusal({"import", document, "--pattern-from", "a"}), HasSubstr("--pattern-to"));
  EXPECT_THAT(refusal({"import", document, "--pattern-to", "a"}), HasSubstr("--pattern-from"));
}

TEST_F(KcdUsage, RefusesARestoreWithoutOrWithTwoDatabases) {
  EXPECT_EQ(refusal({"restore"}), "kcd: DATABASE is required\nTry 'kcd restore --help'.\n");
  refusal({"restore", ".", "Shop", "Office"});
  EXPECT_EQ(refusal({"restore", "--list", ".", "Shop"}),
            "kcd: DATABASE: does not go with --list\nTry 'kcd restore --help'.\n");
}

TEST_F(KcdUsage, RefusesTwoConnectionStrings) {
  EXPECT_THAT(refusal({"import", document, "--connect-string", "a", "--connect-string-file", "-"}),
              HasSubstr("--connect-string-file"));
}

TEST_F(KcdUsage, RefusesKciFilesAndNamesTheirConversion) {
  for (const auto* name : {"sales.kci", "SALES.KCI", "sales.Kci", ".kci"}) {
    EXPECT_THAT(refusal({"import", folder.write(name, "")}), HasSubstr("kcd convert"));
  }
}

TEST_F(KcdUsage, ATextMayLookLikeAnOption) {
  const auto result = kcd({"import", document, "--server", "memory:", "--pattern-from",
                           "--partitions", "--pattern-to", "-x"});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
}

TEST_F(KcdUsage, AnEmptyTextAfterAnEqualSignIsAValue) {
  const auto result = kcd({"import", document, "--server=memory:", "--pattern-from=Shop",
                           "--pattern-to=", "--database", "--server=", "--partitions"});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("\nCreating database '--server='\n"));
  EXPECT_THAT(result.output, HasSubstr("\nCreating cube partitions\n"));
}

TEST_F(KcdUsage, TwoDashesMayBeAValue) {
  const auto result = kcd({"import", document, "--server", "memory:", "--database", "--",
                           "--pattern-from=Shop", "--pattern-to="});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("\nCreating database '--'\n"));
}

TEST_F(KcdUsage, AfterTwoDashesEverythingIsAName) {
  for (const auto* name : {"--server=", "--partitions"}) {
    const auto result = kcd({"import", "--server", "memory:", "--", name});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_EQ(result.errors,
              std::string("Error in opening document ") + name + " No such file or directory\n");
  }
}

TEST_F(KcdUsage, ANameMayBeThatOfASubcommand) {
  EXPECT_EQ(kcd({"show", ".", "import"}).errors, "database 'import' not found\n");
}

TEST_F(KcdUsage, AUsageErrorIsShownWithoutControlCharacters) {
  EXPECT_THAT(refusal({"import", document, "--a\x1B[1m\nb"}), HasSubstr("--a [1m b"));
}

}  // namespace
}  // namespace importkcd
