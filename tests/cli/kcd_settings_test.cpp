#include <filesystem>

#include "tests/cli/kcd_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Options from files and from the environment.
class KcdSettings : public KcdTest {
 protected:
  KcdSettings() {
    std::filesystem::create_directories(folder.file("config/importkcd"));
    start.environment.emplace_back("XDG_CONFIG_HOME", folder.file("config"));
    start.environment.emplace_back("IMPORTKCD_SYSTEM_CONFIG", folder.file("system.toml"));
  }

  void users_file(const std::string& text) { folder.write("config/importkcd/kcd.toml", text); }
  void system_file(const std::string& text) { folder.write("system.toml", text); }
  void variable(const std::string& name, const std::string& value) {
    start.environment.emplace_back(name, value);
  }

  /// The name of the database that an import with these arguments makes in memory.
  std::string database(const std::vector<std::string>& arguments = {}) {
    auto all = arguments;
    all.insert(all.end(), {"--server", "memory:"});
    const auto result = import(whole_document(), all);
    EXPECT_EQ(result.exit_status, 0) << result.errors;
    const auto summary = summary_of(result.output);
    const auto begin = summary.find('\'') + 1;
    return summary.substr(begin, summary.find('\'', begin) - begin);
  }

  /// What is said about a command line that cannot be carried out.
  std::string refusal(const std::vector<std::string>& arguments = {}) {
    const auto result = import(whole_document(), arguments);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.output, "");
    return lines_of(result.errors).front();
  }
};

TEST_F(KcdSettings, TheCommandLineCountsMostThenTheEnvironmentThenTheUsersFile) {
  EXPECT_EQ(database(), "Shop");
  system_file("database = \"System\"\n");
  EXPECT_EQ(database(), "System");
  users_file("database = \"User\"\n");
  EXPECT_EQ(database(), "User");
  variable("KCD_DATABASE", "Variable");
  EXPECT_EQ(database(), "Variable");
  EXPECT_EQ(database({"--database", "Line"}), "Line");
  EXPECT_EQ(database({"--database=Line"}), "Line");
}

TEST_F(KcdSettings, FilesFillEachOtherUp) {
  system_file("server = \"memory:\"\n");
  users_file("database = \"User\"\n");
  EXPECT_EQ(summary_of(import(whole_document()).output),
            "Imported into 'User': 3 cubes created, 34 messages, T s");
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
}

TEST_F(KcdSettings, ANamedFileTakesThePlaceOfTheUsualOnes) {
  system_file("mode = \"nonsense\"\n");
  users_file("nonsense\n");
  const auto named = folder.write("named.toml", "database = \"Named\"\n");
  EXPECT_EQ(database({"--config", named}), "Named");
  EXPECT_EQ(database({"--config=" + named}), "Named");
  variable("KCD_CONFIG", named);
  EXPECT_EQ(database(), "Named");
}

TEST_F(KcdSettings, SectionsAreForOneSubcommandAndCountMore) {
  users_file(
      "database = \"All\"  # of them\nno-virtual = true\n\n[ import ]\n"
      "database = 'Import # one'\nno-virtual = false\n[plan]\ndatabase = \"Plan\"\n");
  EXPECT_EQ(database(), "Import # one");
  EXPECT_EQ(summary_of(import(whole_document(), {"--server", "memory:"}).output),
            "Imported into 'Import # one': 3 cubes created, 34 messages, T s");
  EXPECT_THAT(kcd({"plan", folder.file("document.kcd")}).output, HasSubstr("Plan on localhost"));
}

TEST_F(KcdSettings, ListsAreOptionsGivenSeveralTimes) {
  const auto one = folder.write("one", "Provider=One");
  const auto two = folder.write("two", "Provider=Two");
  users_file("connect-string-file = [\n  \"" + one + "\",\n  \"Warehouse=" + two + "\",\n]\n");
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  EXPECT_EQ(shown().at("databases").at(0).at("data_sources").at(0).at("connection_string"),
            "Provider=Two");
}

TEST_F(KcdSettings, WhatExcludesAnOptionThatCountsMoreIsLeftOut) {
  users_file("connect-string-file = \"" + folder.file("missing") + "\"\n");
  EXPECT_EQ(database({"--connect-string", "Provider=P"}), "Shop");
  variable("KCD_CONNECT_STRING_FILE", folder.file("missing"));
  EXPECT_EQ(database({"--connect-string", "Provider=P"}), "Shop");
}

TEST_F(KcdSettings, TheServerIsThatOfOtherSubcommandsToo) {
  const auto server = "catalogue:" + folder.file("other.olap");
  users_file("server = \"" + server + "\"\n");
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  ASSERT_EQ(import(bare_document(known_version, "Shop"), {"--mode", "replace"}).exit_status, 0);
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
  EXPECT_THAT(databases(), ElementsAre("Shop"));
  EXPECT_THAT(kcd({"restore", "--list"}).output, HasSubstr("Shop"));
  EXPECT_EQ(kcd({"restore", "Shop"}).exit_status, 0);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes").size(), 3U);
  EXPECT_THAT(shown({"localhost"}).at("databases"), IsEmpty());
  variable("KCD_SERVER", "memory:");
  EXPECT_THAT(databases(), IsEmpty());
}

TEST_F(KcdSettings, ABrokenFileIsToldWithItsLine) {
  const auto file = folder.file("config/importkcd/kcd.toml");
  const auto refusal_of = [&](const std::string& text) {
    users_file(text);
    return refusal();
  };
  EXPECT_EQ(refusal_of("# first\n\nmodee = \"update\"\n"),
            "kcd: " + file + ":3: there is no option --modee");
  EXPECT_EQ(refusal_of("[show]\nmode = \"update\"\n"),
            "kcd: " + file + ":2: there is no option --mode of kcd show");
  EXPECT_EQ(refusal_of("config = \"x\"\n"), "kcd: " + file + ":1: there is no option --config");
  EXPECT_EQ(refusal_of("mode\n"), "kcd: " + file + ":1: a setting is written NAME = VALUE");
  EXPECT_EQ(refusal_of("mode = up date\n"), "kcd: " + file + ":1: a text stands in quotes");
  EXPECT_EQ(refusal_of("mode = \"update\n"), "kcd: " + file + ":1: a text stands in quotes");
  EXPECT_EQ(refusal_of("\n[imports]\n"),
            "kcd: " + file + ":2: '[imports]' does not name a subcommand");
  EXPECT_EQ(refusal_of("mode = \"update\"\nmode = \"sync\"\n"),
            "kcd: " + file + ":2: 'mode' is set a second time");
  EXPECT_EQ(refusal_of("quiet = 1\n"), "kcd: " + file + ":1: 'quiet' is true or false");
  EXPECT_EQ(refusal_of("\nmode = \"bogus\"\n"),
            "kcd: --mode: bogus not in {incremental,replace,update,sync} (" + file + ":2)");
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
}

TEST_F(KcdSettings, AVariableThatCannotBeUsedIsNamed) {
  variable("KCD_MODE", "bogus");
  EXPECT_THAT(refusal(), HasSubstr(" (KCD_MODE)"));
}

TEST_F(KcdSettings, ANamedFileHasToBeThere) {
  const auto missing = folder.file("missing.toml");
  EXPECT_EQ(refusal({"--config", missing}), "kcd: " + missing + ": No such file or directory");
  EXPECT_THAT(refusal({"--config", folder.file("config")}), HasSubstr("Is a directory"));
}

TEST_F(KcdSettings, PasswordsOfFilesAreNotTold) {
  users_file("mode = \"Provider=P;Password=geheim\"\n");
  EXPECT_THAT(refusal(), ::testing::Not(HasSubstr("geheim")));
}

TEST_F(KcdSettings, ABrokenFileDoesNotTakeTheHelpAway) {
  users_file("nonsense\n");
  const auto help = kcd({"import", "--help"});
  EXPECT_EQ(help.exit_status, 0);
  EXPECT_THAT(help.output, HasSubstr("KCD_SERVER"));
  EXPECT_THAT(help.output, HasSubstr("/etc/importkcd/kcd.toml"));
}

}  // namespace
}  // namespace importkcd::testing
