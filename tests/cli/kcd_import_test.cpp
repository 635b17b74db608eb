#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using testing::bare_document;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::known_version;
using testing::lines_of;
using testing::messages_of;
using ::testing::StartsWith;
using testing::whole_document;
using testing::whole_document_messages;

/// Files that this process and its children write end at that size while this object lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : previous_handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit limit{bytes, previous_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &previous_);
    std::signal(SIGXFSZ, previous_handler_);
  }

 private:
  void (*previous_handler_)(int);
  rlimit previous_{};
};

class KcdImport : public testing::KcdTest {
 protected:
  /// The connection string of the first data source after an import with these arguments.
  std::string connection_string_after(std::vector<std::string> arguments) {
    const auto result = import(whole_document(), std::move(arguments));
    EXPECT_EQ(result.exit_status, 0) << result.errors;
    return shown().at("databases").at(0).at("data_sources").at(0).at("connection_string");
  }

  bool temporary_folder_is_empty() { return std::filesystem::is_empty(folder.file("tmp")); }
};

TEST_F(KcdImport, PrintsExactlyTheProgressMessages) {
  for (const bool partitions : {false, true}) {
    std::vector<std::string> arguments{"--server", "memory:", "--no-virtual"};
    if (!partitions) {
      arguments.emplace_back("--no-partitions");
    }
    const auto result = import(whole_document(), arguments);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.errors, "");
    auto lines = messages_of(result.output);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines.at(0), "Opening DSO server on machine 'memory:'");
    EXPECT_THAT(lines.at(1), StartsWith("Opening kcd document file '" + folder.file("tmp")));
    lines.erase(lines.begin(), lines.begin() + 2);
    EXPECT_EQ(lines, whole_document_messages(partitions));
  }
}

TEST_F(KcdImport, TakesVirtualDimensionsAndVirtualCubesAlongUnlessToldNotTo) {
  const auto result = import(whole_document());
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.errors, "");
  auto expected = whole_document_messages(true);
  expected.insert(expected.end(),
                  {"Creating virtual dimensions", "Searching virtual dimension 'Colours'",
                   "Creating virtual dimension 'Colours'", "Creating virtual cubes",
                   "Searching virtual cube 'Overview'", "Creating virtual cube 'Overview'",
                   "Creating measure references", "Creating dimension references"});
  auto lines = messages_of(result.output);
  lines.erase(lines.begin(), lines.begin() + 2);
  EXPECT_EQ(lines, expected);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 3U);

  EXPECT_EQ(import(whole_document(), {"--no-virtual", "--mode", "replace"}).exit_status, 0);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 2U);
}

TEST_F(KcdImport, WhatOfAVirtualCubeCannotBeBuiltIsToldAndNothingIsStored) {
  auto text = whole_document();
  const std::string reference = R"(<dimension_reference name="Time"/>)";
  text.replace(text.find(reference), reference.size(), R"(<dimension_reference name="No"/>)");
  const std::string said =
      "Virtual cube 'Overview': dimension 'No' is left out: dimension 'No' not found\n";
  auto result = import(text);
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, said);
  EXPECT_THAT(databases(), IsEmpty());
  result = import(text, {"--on-error", "keep"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, said);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 3U);
  EXPECT_EQ(import(text, {"--no-virtual"}).exit_status, 0);
}

TEST_F(KcdImport, GoesIntoThisComputersServerWhenNoneIsNamed) {
  const auto result = import(whole_document());
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_EQ(lines_of(result.output).at(0), "Opening DSO server on machine 'localhost'");
  EXPECT_THAT(databases(), ElementsAre("Shop"));
  EXPECT_TRUE(temporary_folder_is_empty());
}

TEST_F(KcdImport, GoesIntoTheCatalogueThatIsNamed) {
  const auto server = "catalogue:" + folder.file("other.olap");
  EXPECT_EQ(import(whole_document(), {"--server", server}).exit_status, 0);
  EXPECT_THAT(databases(), IsEmpty());
  EXPECT_EQ(shown({server}).at("databases").at(0).at("name"), "Shop");
}

TEST_F(KcdImport, LeavesNothingBehindInMemory) {
  EXPECT_EQ(import(whole_document(), {"--server", "memory:"}).exit_status, 0);
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
}

TEST_F(KcdImport, SkipsExistingObjectsWhenNoModeIsChosen) {
  import(whole_document());
  for (const std::vector<std::string>& mode :
       {std::vector<std::string>{}, std::vector<std::string>{"--mode", "incremental"}}) {
    const auto result = import(whole_document(), mode);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.output, HasSubstr("\nSkipping data source 'Warehouse'\n"));
    EXPECT_THAT(result.output, HasSubstr("\nSkipping cube 'Sales'\n"));
  }
}

TEST_F(KcdImport, DeletesTheDatabaseFirstInReplaceMode) {
  import(whole_document());
  const auto result = import(whole_document(), {"--mode", "replace"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_THAT(result.output, HasSubstr("\nCreating database 'Shop'\n"));
}

TEST_F(KcdImport, RewritesExistingObjectsInUpdateMode) {
  import(whole_document());
  const auto result = import(whole_document(), {"--mode", "update", "--dont-update-levels"});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("\nUpdating data source 'Warehouse'\n"));
  EXPECT_THAT(result.output, HasSubstr("\nUpdating cube 'Sales'\n"));
}

TEST_F(KcdImport, DontUpdateLevelsReachesTheImporter) {
  import(whole_document(), {"--mode", "update", "--dont-update-levels", "--on-error", "keep"});
  const auto shop = shown().at("databases").at(0);
  EXPECT_THAT(shop.at("dimensions").at(0).at("levels"), IsEmpty());
}

TEST_F(KcdImport, PartitionsComeUnlessToldOtherwise) {
  const auto partitions_after = [this](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--mode", "replace"});
    EXPECT_EQ(import(whole_document(), arguments).exit_status, 0);
    return shown().at("databases").at(0).at("cubes").at(0).at("partitions").size();
  };
  EXPECT_EQ(partitions_after({}), 2U);
  EXPECT_EQ(partitions_after({"--no-partitions"}), 1U);
  EXPECT_EQ(partitions_after({"--partitions"}), 2U);
}

TEST_F(KcdImport, TheDatabaseCanHaveAnotherName) {
  import(whole_document(), {"--database", "Test@#$%s"});
  EXPECT_THAT(databases(), ElementsAre("Test@#$%s"));
}

TEST_F(KcdImport, TheDataWarehouseServerReplacesTheDataSourceItem) {
  EXPECT_EQ(connection_string_after({"--data-source", "dw2"}), "Provider=SQLOLEDB;Data Source=dw2");
}

TEST_F(KcdImport, AConnectionStringReplacesThoseOfTheDocument) {
  EXPECT_EQ(connection_string_after({"--connect-string", "Provider=P;Password=x"}),
            "Provider=P;Password=x");
}

TEST_F(KcdImport, AConnectionStringCanComeFromAFile) {
  for (const auto* content : {"Provider=P;Password=x", "Provider=P;Password=x\n",
                              "Provider=P;Password=x\r\n", "Provider=P;Password=x\n \n"}) {
    const auto file = folder.write("secret", content);
    EXPECT_EQ(connection_string_after({"--mode", "replace", "--connect-string-file", file}),
              "Provider=P;Password=x");
  }
}

TEST_F(KcdImport, AConnectionStringCanComeFromStandardInput) {
  start.input = "Provider=P;Password=from outside\n";
  EXPECT_EQ(connection_string_after({"--connect-string-file", "-"}),
            "Provider=P;Password=from outside");
}

TEST_F(KcdImport, AConnectionStringFileThatCannotBeReadEndsBeforeTheRun) {
  const auto missing = folder.file("missing");
  auto result = import(whole_document(), {"--connect-string-file", missing});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(messages_of(result.output), IsEmpty());
  EXPECT_EQ(result.errors,
            "Cannot take a connection string from '" + missing + "': No such file or directory\n");

  result = import(whole_document(), {"--connect-string-file", folder.file("tmp")});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(messages_of(result.output), IsEmpty());
  EXPECT_EQ(result.errors,
            "Cannot take a connection string from '" + folder.file("tmp") + "': Is a directory\n");
}

TEST_F(KcdImport, AConnectionStringFileHoldsOneLine) {
  auto result = import(whole_document(), {"--connect-string-file", "-"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, "Cannot take a connection string from standard input: it is empty\n");

  start.input = "\nProvider=P;Password=x";
  result = import(whole_document(), {"--connect-string-file", "-"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors,
            "Cannot take a connection string from standard input: it holds more than one line\n");
  EXPECT_THAT(databases(), IsEmpty());
}

TEST_F(KcdImport, ThePatternIsReplacedInTheDocument) {
  import(bare_document(known_version, "Shop Acme"),
         {"--pattern-from", "Acme", "--pattern-to", "Ajax"});
  EXPECT_THAT(databases(), ElementsAre("Shop Ajax"));
}

TEST_F(KcdImport, AnEmptyPatternChangesNothing) {
  import(bare_document(known_version, "Shop"), {"--pattern-from", "", "--pattern-to", "x"});
  EXPECT_THAT(databases(), ElementsAre("Shop"));
}

TEST_F(KcdImport, APatternCanBeReplacedByNothing) {
  import(bare_document(known_version, "Shop"), {"--pattern-from", "ho", "--pattern-to", ""});
  EXPECT_THAT(databases(), ElementsAre("Sp"));
}

TEST_F(KcdImport, AFailurePrintsTheErrorAndExitsWithOne) {
  const auto result = import(bare_document("0.9", "Shop"));
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors,
            "Expected kcd document version '1.0.1073', but found version '0.9'.\n" +
                folder.file("document.kcd") +
                ":1:1: error: version '0.9' is not known; it is one of 1.0.1073, 1.0.1051\n");
  EXPECT_EQ(messages_of(result.output).back(), "Processing document");
}

TEST_F(KcdImport, AMissingDocumentIsAFailure) {
  const auto missing = folder.file("missing.kcd");
  const auto result = kcd({"import", missing});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, "Error in opening document " + missing + " No such file or directory\n");
}

TEST_F(KcdImport, AServerThatCannotBeReachedIsAFailure) {
  const auto result = import(whole_document(), {"--server", "olap7"});
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_THAT(messages_of(result.output), ElementsAre("Opening DSO server on machine 'olap7'"));
  EXPECT_THAT(result.errors, StartsWith("Cannot open DSO server on machine 'olap7' because: "));
  EXPECT_EQ(lines_of(result.errors).size(), 1U);
}

TEST_F(KcdImport, ControlCharactersArePrintedAsBlanks) {
  const auto result = import(bare_document(known_version, "A&#10;B&#9;C"), {"--server", "memory:"});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("\nCreating database 'A B C'\n"));

  const auto failed = import(bare_document("1&#10;2", "A"), {"--server", "memory:"});
  EXPECT_EQ(failed.errors,
            "Expected kcd document version '1.0.1073', but found version '1 2'.\n" +
                folder.file("document.kcd") +
                ":1:1: error: version '1 2' is not known; it is one of 1.0.1073, 1.0.1051\n");
}

TEST_F(KcdImport, AnErrorThatDidNotStopTheRunIsAWarning) {
  // What is lost of the copy is white space behind the document.
  const auto text = bare_document(known_version, "Shop") + std::string(65536, '\n');
  const auto document = folder.write("document.kcd", text);
  const auto result = [&] {
    const FileSizeLimit limit(16384);
    return kcd({"import", document, "--server", "memory:"});
  }();
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_THAT(messages_of(result.output).back(), "Creating cubes");
  EXPECT_THAT(result.errors, StartsWith("Error in writing to file " + folder.file("tmp")));
  EXPECT_EQ(lines_of(result.errors).size(), 1U);
}

/// A document whose last cube, "Extra", refers to a dimension that is not there.
std::string failing_document() {
  auto text = whole_document();
  const std::string end = "</cubes>";
  return text.replace(text.find(end), end.size(),
                      R"(<cube name="Extra" description="" data_source="Warehouse" fact_table="f"
                         aggregation_prefix="" from_clause="" join_clause="" schema_layout=""
                         olap_mode="" estimated_rows="1"><cube_dimensions>
                         <cube_dimension_reference name="Missing"><cube_levels_reference/>
                         </cube_dimension_reference></cube_dimensions><cube_measures/>
                         <cube_calculated_members/><cube_roles/></cube></cubes>)");
}

TEST_F(KcdImport, AFailureStoresNothingInAnyMode) {
  import(whole_document());
  const auto before = shown();
  for (const auto* mode : {"incremental", "update", "replace"}) {
    EXPECT_EQ(import(failing_document(), {"--mode", mode}).exit_status, 1) << mode;
    EXPECT_EQ(shown(), before) << mode;
    EXPECT_EQ(import(bare_document("0.9", "Shop"), {"--mode", mode}).exit_status, 1) << mode;
    EXPECT_EQ(shown(), before) << mode;
  }
  EXPECT_EQ(kcd({"restore", "--list"}).output, "No kept copies on localhost.\n");
}

TEST_F(KcdImport, AFailureThatIsKeptStoresWhatWasWritten) {
  const auto result = import(failing_document(), {"--on-error", "keep"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.errors, HasSubstr("Cube 'Extra' is stored although it is not complete"));
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 3U);
  import(bare_document("0.9", "Shop"), {"--mode", "replace", "--on-error", "keep"});
  EXPECT_THAT(databases(), IsEmpty());
}

TEST_F(KcdImport, AfterAFailureTheNextIncrementalImportBuildsTheCube) {
  import(failing_document());
  EXPECT_EQ(import(whole_document(), {"--no-virtual"}).exit_status, 0);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 2U);
}

TEST_F(KcdImport, AnOutputThatCannotBeWrittenIsAFailure) {
  start.output_file = "/dev/full";
  const auto result = import(whole_document());
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_EQ(result.errors, "Cannot write to standard output\n");
}

}  // namespace
}  // namespace importkcd
