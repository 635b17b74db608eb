#include <pty.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <thread>

#include "tests/cli/kcd_fixture.h"
#include "tests/support/document_generator.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// What makes an import one that nobody watches: its log, its waiting, its exit status.
class KcdOperations : public KcdTest {
 protected:
  std::vector<nlohmann::json> objects_of(const std::string& text) const {
    std::vector<nlohmann::json> objects;
    for (const auto& line : lines_of(text)) {
      objects.push_back(nlohmann::json::parse(line, nullptr, false));
    }
    return objects;
  }

  std::string large_document() const {
    GeneratorOptions options;
    options.cubes = 200;
    return folder.write("large.kcd", generate_document(options));
  }

  ProcessStart importing(const std::string& document, std::vector<std::string> arguments) const {
    auto result = start;
    result.arguments = {"import", document, "--database", "Shop"};
    result.arguments.insert(result.arguments.end(), arguments.begin(), arguments.end());
    return result;
  }

  /// What an import says on a terminal that stands in the place of its standard error.
  std::string shown_on_a_terminal(const std::vector<std::string>& arguments) {
    int terminal = -1;
    int other_end = -1;
    EXPECT_EQ(openpty(&terminal, &other_end, nullptr, nullptr, nullptr), 0);
    std::array<char, 4096> buffer{};
    EXPECT_EQ(ttyname_r(other_end, buffer.data(), buffer.size()), 0);
    start.errors_file = buffer.data();
    std::string text;
    std::thread reading([&text, terminal] {
      std::array<char, 4096> bytes{};
      for (auto count = read(terminal, bytes.data(), bytes.size()); count > 0;
           count = read(terminal, bytes.data(), bytes.size())) {
        text.append(bytes.data(), static_cast<std::size_t>(count));
      }
    });
    output_ = import(whole_document(), arguments).output;
    // The reading ends with the last of those who could write.
    close(other_end);
    reading.join();
    close(terminal);
    start.errors_file.clear();
    return text;
  }

  std::string output_;
};

TEST_F(KcdOperations, ASummaryIsTheLastLine) {
  EXPECT_EQ(summary_of(import(whole_document()).output),
            "Imported into 'Shop': 3 cubes created, 34 messages, T s");
  EXPECT_EQ(summary_of(import(whole_document()).output),
            "Imported into 'Shop': 3 cubes skipped, 29 messages, T s");
  EXPECT_THAT(
      summary_of(import(whole_document(), {"--mode", "update", "--dont-update-levels"}).output),
      StartsWith("Imported into 'Shop': 3 cubes updated, "));
  EXPECT_EQ(summary_of(import(bare_document(known_version, "Shop"), {"--mode", "sync"}).output),
            "Imported into 'Shop': 3 cubes removed, 10 messages, T s");
  EXPECT_EQ(summary_of(import(bare_document(known_version, "Shop"), {"--mode", "sync"}).output),
            "Imported into 'Shop': no cubes, 1 message, T s");
}

TEST_F(KcdOperations, TheSummaryOfAFailedImportSaysWhatIsStored) {
  auto text = whole_document();
  const std::string reference = R"(<dimension_reference name="Time"/>)";
  text.replace(text.find(reference), reference.size(), R"(<dimension_reference name="No"/>)");
  EXPECT_EQ(summary_of(import(text).output),
            "Import into 'Shop' failed: nothing was stored, 34 messages, T s");
  EXPECT_THAT(databases(), IsEmpty());
  EXPECT_EQ(summary_of(import(text, {"--on-error", "keep"}).output),
            "Import into 'Shop' failed, what it wrote is kept: 3 cubes created, 34 messages, T s");
  EXPECT_THAT(databases(), ElementsAre("Shop"));
  EXPECT_EQ(summary_of(import(bare_document("0.9", "Shop")).output),
            "Import failed: nothing was stored, 3 messages, T s");
}

TEST_F(KcdOperations, QuietLeavesSummaryAndErrors) {
  auto result = import(whole_document(), {"--quiet"});
  EXPECT_THAT(messages_of(result.output), IsEmpty());
  EXPECT_EQ(result.errors, "");
  result = import(bare_document("0.9", "Shop"), {"--quiet"});
  EXPECT_THAT(messages_of(result.output), IsEmpty());
  EXPECT_THAT(result.errors, StartsWith("Expected kcd document version"));
}

TEST_F(KcdOperations, TheJsonLogHasAnObjectForEachMessage) {
  const auto plain = messages_of(import(whole_document(), {"--server", "memory:"}).output);
  const auto result = import(whole_document(), {"--server", "memory:", "--log", "json"});
  const auto objects = objects_of(result.output);
  ASSERT_EQ(objects.size(), plain.size() + 1);
  std::vector<std::string> messages;
  for (const auto& object : objects) {
    ASSERT_TRUE(object.is_object());
    EXPECT_EQ(object.size(), 5U);
    EXPECT_THAT(object.at("time").get<std::string>(),
                ::testing::MatchesRegex(
                    "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z"));
    messages.push_back(object.at("message"));
  }
  messages.pop_back();
  messages.erase(messages.begin() + 1);  // the temporary copy has another name each time
  auto expected = plain;
  expected.erase(expected.begin() + 1);
  EXPECT_EQ(messages, expected);
  const auto& last = objects.back();
  EXPECT_EQ(last.at("action"), "finish");
  EXPECT_EQ(last.at("kind"), "database");
  EXPECT_EQ(last.at("name"), "Shop");
  EXPECT_THAT(last.at("message").get<std::string>(), StartsWith("Imported into 'Shop': "));
}

/// Action, kind and name of the object that a message is about.
std::vector<std::string> about(const std::vector<nlohmann::json>& objects,
                               const std::string& message) {
  for (const auto& object : objects) {
    if (object.at("message") == message) {
      return {object.at("action"), object.at("kind"), object.at("name")};
    }
  }
  ADD_FAILURE() << "no message " << message;
  return {};
}

TEST_F(KcdOperations, TheJsonLogTellsTheObjectOfAMessageWhateverItsWords) {
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  const auto objects = objects_of(
      import(whole_document(), {"--mode", "update", "--dont-update-levels", "--log", "json"})
          .output);
  EXPECT_THAT(about(objects, "Updating virtual dimension 'Readers'"),
              ElementsAre("update", "role", "Readers"));
  EXPECT_THAT(about(objects, "Updating virtual dimension 'Colours'"),
              ElementsAre("update", "virtual dimension", "Colours"));
  EXPECT_THAT(about(objects, "Updating data source 'Warehouse'"),
              ElementsAre("update", "data source", "Warehouse"));
  EXPECT_THAT(about(objects, "Updating cube 'Sales'"), ElementsAre("update", "cube", "Sales"));
  EXPECT_THAT(about(objects, "Update virtual cube 'Overview'"),
              ElementsAre("update", "virtual cube", "Overview"));
  EXPECT_THAT(about(objects, "Searching database 'Shop'"),
              ElementsAre("search", "database", "Shop"));
  EXPECT_THAT(about(objects, "Creating cubes"), ElementsAre("message", "", ""));
  const auto removals = objects_of(
      import(bare_document(known_version, "Shop"), {"--mode", "sync", "--log", "json"}).output);
  EXPECT_THAT(about(removals, "Removing cube 'Sales'"), ElementsAre("remove", "cube", "Sales"));
}

TEST_F(KcdOperations, TheJsonLogHasErrorsOnStandardError) {
  const auto result = import(bare_document("0.9", "Shop"), {"--log", "json", "--quiet"});
  EXPECT_EQ(objects_of(result.output).size(), 1U);
  const auto errors = objects_of(result.errors);
  ASSERT_EQ(errors.size(), 2U);
  for (const auto& error : errors) {
    EXPECT_EQ(error.at("action"), "error");
  }
  EXPECT_THAT(errors[1].at("message").get<std::string>(), HasSubstr(":1:1: error: "));
}

TEST_F(KcdOperations, ATerminalShowsHowFarTheImportIs) {
  const auto shown = shown_on_a_terminal({"--server", "memory:"});
  EXPECT_THAT(shown, HasSubstr("] 1 of 9 objects"));
  EXPECT_THAT(shown, HasSubstr("\r[##############################] 9 of 9 objects"));
  // Nothing of it stays.
  EXPECT_TRUE(shown.ends_with("\r\x1B[K")) << shown;
  EXPECT_THAT(output_, Not(HasSubstr("9 of 9")));
  // Changes are looked for where nothing is stored, and what is told is what is changed.
  EXPECT_THAT(shown_on_a_terminal({"--mode", "sync"}), HasSubstr("] 9 of 9 objects"));
}

TEST_F(KcdOperations, NothingElseShowsHowFarTheImportIs) {
  EXPECT_EQ(import(whole_document(), {"--server", "memory:"}).errors, "");
  EXPECT_EQ(shown_on_a_terminal({"--server", "memory:", "--quiet"}), "");
  EXPECT_EQ(shown_on_a_terminal({"--server", "memory:", "--log", "json"}), "");
}

TEST_F(KcdOperations, WaitsForADatabaseThatAnotherImportHolds) {
  const auto document = large_document();
  RunningProcess first(importing(document, {}));
  first.read_until("Creating cubes");
  auto waiting = importing(folder.write("whole.kcd", whole_document()),
                           {"--mode", "replace", "--wait", "600"});
  ProcessResult second;
  std::thread other([&] { second = run_process(waiting); });
  EXPECT_EQ(first.finish(), 0) << first.errors();
  other.join();
  EXPECT_EQ(second.exit_status, 0);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 3U);
}

TEST_F(KcdOperations, TheWaitingHasAnEnd) {
  RunningProcess first(importing(large_document(), {}));
  first.read_until("Creating cubes");
  const auto second = import(whole_document(), {"--wait", "1"});
  EXPECT_EQ(second.exit_status, 4);
  EXPECT_EQ(lines_of(second.errors).front(),
            "Waiting for database 'Shop', which is in use by another import, for at most 1 s");
  EXPECT_THAT(second.errors, HasSubstr("database 'Shop' is in use by another import"));
  const auto impatient = import(whole_document());
  EXPECT_EQ(impatient.exit_status, 4);
  EXPECT_THAT(impatient.errors, Not(HasSubstr("Waiting")));
  EXPECT_EQ(import(whole_document(), {"--mode", "sync"}).exit_status, 4);
}

TEST_F(KcdOperations, TheExitStatusTellsTheCause) {
  const auto document = folder.write("whole.kcd", whole_document());
  const auto status = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "import");
    return kcd(std::move(arguments)).exit_status;
  };
  EXPECT_EQ(status({document}), 0);
  EXPECT_EQ(status({folder.write("broken.kcd", "<kcd>")}), 1);
  EXPECT_EQ(status({folder.write("old.kcd", bare_document("0.9", "Shop")), "--mode", "sync"}), 1);
  EXPECT_EQ(status({folder.file("missing.kcd")}), 1);
  EXPECT_EQ(status({document, "--mode", "none"}), 2);
  EXPECT_EQ(status({document, "--server", "olap7"}), 5);
  EXPECT_EQ(status({document, "--server", "olap7", "--mode", "sync"}), 5);
  EXPECT_EQ(status({document, "--server", "catalogue:" + folder.file("no/folder")}), 5);
  EXPECT_EQ(kcd({"plan", document, "--server", "olap7"}).exit_status, 5);
  EXPECT_EQ(kcd({"show", "catalogue:" + document}).exit_status, 5);
}

TEST_F(KcdOperations, TheExitStatusTellsThatTheTemporaryCopyHasNoPlace) {
  start.environment.emplace_back("TMPDIR", folder.file("nowhere"));
  EXPECT_EQ(kcd({"import", folder.write("whole.kcd", whole_document())}).exit_status, 5);
}

TEST_F(KcdOperations, TheHelpListsTheExitStatuses) {
  const auto help = kcd({"--help"}).output;
  const auto manual = read_file(KCD_MANUAL);
  for (const auto* number : {"0", "1", "2", "3", "4", "5", "10"}) {
    EXPECT_THAT(help, HasSubstr("\n  " + std::string(number) + " "));
    EXPECT_THAT(manual, HasSubstr("\n.It " + std::string(number) + "\n"));
  }
}

TEST_F(KcdOperations, ADocumentCanComeFromStandardInput) {
  start.input = whole_document();
  EXPECT_EQ(kcd({"import", "-"}).exit_status, 0);
  EXPECT_THAT(databases(), ElementsAre("Shop"));
  const auto plan = kcd({"plan", "-", "--mode", "sync"});
  EXPECT_EQ(plan.exit_status, 0) << plan.output;
  start.input = bare_document("0.9", "Shop");
  EXPECT_THAT(kcd({"import", "-"}).errors, HasSubstr("<stdin>:1:1: error: "));
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("tmp")));
}

TEST_F(KcdOperations, StandardInputIsReadOnce) {
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{"--connect-string-file", "-"},
        std::vector<std::string>{"--pattern-from", "a", "--pattern-to-file", "-"}}) {
    std::vector<std::string> arguments{"import", "-"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_THAT(result.errors, HasSubstr("standard input can be read only once"));
  }
}

TEST_F(KcdOperations, ADocumentThatIsNotThereMakesNoServer) {
  for (const auto* mode : {"incremental", "replace", "sync"}) {
    const auto result = kcd({"import", folder.file("missing.kcd"), "--mode", mode});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
  }
}

/// Connection strings for single data sources.
class KcdConnections : public KcdTest {
 protected:
  std::vector<std::string> connection_strings() {
    std::vector<std::string> texts;
    const auto server = shown();
    for (const auto& source : server.at("databases").at(0).at("data_sources")) {
      texts.push_back(source.at("connection_string"));
    }
    return texts;
  }

  /// A document with the data sources "Warehouse" and "Personnel".
  std::string document() const {
    auto text = whole_document();
    const std::string end = "</data_sources>";
    return text.replace(text.find(end), 0,
                        R"(<data_source name="Personnel" connection_string="Provider=Q"/>)");
  }

  std::string one = folder.write("one", "Provider=One;Password=geheim");
  std::string two = folder.write("t=wo", "Provider=Two;Password=geheim");
};

TEST_F(KcdConnections, ADataSourceGetsItsOwn) {
  EXPECT_EQ(import(document(), {"--connect-string-file", "personnel=" + one}).exit_status, 0);
  EXPECT_THAT(connection_strings(),
              ElementsAre(StartsWith("Provider=SQLOLEDB"), "Provider=One;Password=geheim"));
  const auto result = import(document(), {"--mode", "replace", "--connect-string-file", "=" + two,
                                          "--connect-string-file", "Personnel=" + one});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_THAT(result.output + result.errors, Not(HasSubstr("geheim")));
  EXPECT_THAT(connection_strings(),
              ElementsAre("Provider=Two;Password=geheim", "Provider=One;Password=geheim"));
}

TEST_F(KcdConnections, AnUnknownDataSourceIsAnErrorBeforeAnythingIsDone) {
  ASSERT_EQ(import(bare_document(known_version, "Shop")).exit_status, 0);
  const auto before = shown();
  for (const auto* command : {"import", "plan"}) {
    const auto result = kcd({command, folder.write("document.kcd", document()), "--mode", "replace",
                             "--connect-string-file", "Elsewhere=" + one});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.errors,
              "kcd: --connect-string-file: the document has no data source 'Elsewhere'; it has "
              "'Warehouse', 'Personnel'\n");
  }
  EXPECT_EQ(shown(), before);
  EXPECT_EQ(import(document(), {"--server", "catalogue:" + folder.file("new"),
                                "--connect-string-file", "Elsewhere=" + one})
                .exit_status,
            2);
  EXPECT_FALSE(std::filesystem::exists(folder.file("new")));
}

TEST_F(KcdConnections, NamesAreThoseOfTheDocumentWithItsPatternReplaced) {
  const auto result = import(document(), {"--pattern-from", "Personnel", "--pattern-to", "Staff",
                                          "--connect-string-file", "Staff=" + one});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_EQ(connection_strings().back(), "Provider=One;Password=geheim");
}

TEST_F(KcdConnections, TheLongestNameOfADataSourceCountsWhereNamesHaveEqualSigns) {
  auto text = whole_document();
  const std::string end = "</data_sources>";
  text.replace(text.find(end), 0,
               R"(<data_source name="A" connection_string="a"/>)"
               R"(<data_source name="A=B" connection_string="ab"/>)"
               R"(<data_source name="A=C" connection_string="ac"/>)");
  // The second file is named "t=wo", so that A=C and A=C=... would do as names, too.
  const auto result =
      import(text, {"--connect-string-file", "a=b=" + one, "--connect-string-file", "A=C=" + two});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_THAT(connection_strings(),
              ElementsAre(StartsWith("Provider=SQLOLEDB"), "a", "Provider=One;Password=geheim",
                          "Provider=Two;Password=geheim"));
  const auto twice =
      import(text, {"--connect-string-file", "A=B=" + one, "--connect-string-file", "A=B=" + two});
  EXPECT_EQ(twice.exit_status, 2);
  EXPECT_EQ(twice.errors, "kcd: --connect-string-file: two files for data source 'A=B'\n");
  const auto unknown = import(document(), {"--connect-string-file", "No=Such=" + one});
  EXPECT_EQ(unknown.errors,
            "kcd: --connect-string-file: the document has no data source 'No'; it has 'Warehouse', "
            "'Personnel'\n");
}

TEST_F(KcdConnections, ADocumentThatIsAPipeHasNoNamesToLookFor) {
  const auto pipe = folder.file("pipe.kcd");
  ASSERT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
  EXPECT_EQ(kcd({"import", pipe, "--connect-string-file", "Personnel=" + one}).exit_status, 2);
}

TEST_F(KcdConnections, TwoForTheSameAreRefused) {
  for (const auto* name : {"", "Personnel="}) {
    const auto result = import(
        document(), {"--connect-string-file", name + one, "--connect-string-file", name + one});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_THAT(result.errors, HasSubstr("two files for "));
  }
}

}  // namespace
}  // namespace importkcd::testing
