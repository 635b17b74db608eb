#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::lines_of;
using ::testing::Not;
using testing::ProcessResult;
using testing::read_file;
using testing::run_process;
using ::testing::StartsWith;

constexpr const char* conversion_failed = "Error during checking and converting the KCI-file";
constexpr const char* mismatch = "Error reading kci-file or GUID mismatch";
constexpr const char* no_connection = "There is no connection to the labels server";

/// The object of that name in a list of a server's JSON.
nlohmann::json with_name(const nlohmann::json& list, const std::string& name) {
  for (const auto& object : list) {
    if (object.at("name") == name) {
      return object;
    }
  }
  ADD_FAILURE() << "no '" << name << "' in " << list;
  return {};
}

/// A copy of examples/sales.kci, and the labels database that the script builds.
class KcdConvert : public testing::KcdTest {
 protected:
  KcdConvert() {
    const auto built =
        run_process({.program = MAKE_LABELS_DATABASE, .arguments = {folder.file("labels")}});
    EXPECT_EQ(built.exit_status, 0) << built.errors;
    EXPECT_EQ(built.output + built.errors, "");
  }

  /// Converts a file with the labels of a language, with further arguments.
  ProcessResult convert(const std::string& file, const std::string& language,
                        const std::vector<std::string>& further = {}) {
    std::vector<std::string> arguments{"convert",    file,     "--labels-server",   server,
                                       "--language", language, "--labels-database", database};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return kcd(std::move(arguments));
  }

  /// A conversion that fails writes no document; gives the lines of its standard output.
  std::vector<std::string> failure_lines(const std::string& file,
                                         const std::string& language = "English") {
    const auto result = convert(file, language);
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_FALSE(std::filesystem::exists(document));
    errors = result.errors;
    return lines_of(result.output);
  }

  std::string write_kci(const std::string& bytes) const { return folder.write("sales.kci", bytes); }

  /// A further database in the labels folder.
  void write_database(const std::string& name, const std::vector<std::string>& statements) const {
    SQLite::Database made(folder.file("labels/" + name + ".db"),
                          SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    for (const auto& statement : statements) {
      made.exec(statement);
    }
  }

  /// A labels database without the table of the files that it serves.
  void write_unregistered_database() const {
    write_database("unregistered",
                   {"CREATE TABLE Languages (LanguageCode INTEGER, LanguageName TEXT)",
                    "CREATE TABLE Labels (LabelID INTEGER, Label TEXT, LanguageCode INTEGER)",
                    "INSERT INTO Languages VALUES (1, 'English')",
                    "INSERT INTO Labels VALUES (1, 'Sales', 1)"});
  }

  std::string text = read_file(EXAMPLES_FOLDER "/sales.kci");
  std::string kci = write_kci(text);
  std::string document = folder.file("sales.kcd");
  std::string server = "sqlite:" + folder.file("labels");
  std::string database = "labels";
  std::string errors;
};

TEST_F(KcdConvert, PrintsTheNameOfTheDocument) {
  const auto result = convert(kci, "English");
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, document + "\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(std::filesystem::exists(document));
}

TEST_F(KcdConvert, NamesTheDocumentInLowerCaseInTheFolderThatExists) {
  std::filesystem::create_directory(folder.file("Cubes"));
  const auto result = convert(folder.write("Cubes/SALES.Kci", text), "English");
  EXPECT_EQ(result.output, folder.file("Cubes/sales.kcd") + "\n");
  EXPECT_TRUE(std::filesystem::exists(folder.file("Cubes/sales.kcd")));
}

TEST_F(KcdConvert, ConvertedDocumentsImportInTwoLanguages) {
  ASSERT_EQ(convert(kci, "English").exit_status, 0);
  ASSERT_EQ(kcd({"import", document}).exit_status, 0);
  ASSERT_EQ(convert(kci, "Français", {"--overwrite"}).exit_status, 0);
  ASSERT_EQ(kcd({"import", document}).exit_status, 0);
  EXPECT_THAT(databases(), ElementsAre("Sales", "Ventes"));

  const auto english = with_name(shown().at("databases"), "Sales");
  EXPECT_EQ(english.at("description"), "The shops' sales, every night");
  const auto revenue = with_name(english.at("cubes"), "Revenue");
  EXPECT_EQ(with_name(revenue.at("measures"), "Customer's discount").at("description"),
            "Less than the list price (< 100 %)");
  EXPECT_EQ(with_name(english.at("roles"), "Head office").at("description"),
            "Sees everything: sales & cost, \"all\" <regions>");

  const auto french = with_name(shown().at("databases"), "Ventes");
  EXPECT_EQ(french.at("description"), "Les ventes des magasins, chaque nuit jusqu'à l'aube");
  const auto turnover = with_name(french.at("cubes"), "Chiffre d'affaires");
  EXPECT_EQ(with_name(turnover.at("measures"), "Montant").at("description"),
            "Ce qu'a payé le client");
  EXPECT_EQ(with_name(turnover.at("measures"), "Quantité").at("description"), "Unknown56");
}

TEST_F(KcdConvert, EveryLanguageOfTheExampleImports) {
  for (const auto& [language, name] :
       {std::pair{"English", "Sales"}, std::pair{"Français", "Ventes"},
        std::pair{"Deutsch", "Verkäufe"}, std::pair{"Nederlands", "Verkopen"}}) {
    ASSERT_EQ(convert(kci, language, {"--overwrite"}).exit_status, 0) << language;
    const auto imported = kcd({"import", document, "--server", "memory:"});
    EXPECT_EQ(imported.exit_status, 0) << imported.errors;
    EXPECT_THAT(imported.output, HasSubstr(std::string("\nCreating database '") + name + "'\n"));
    EXPECT_THAT(read_file(document), Not(HasSubstr("$##")));
  }
}

TEST_F(KcdConvert, ChangesNothingButTheReferences) {
  write_kci(
      "<database guid='{0E7D3B52-9C41-4F6A-8B1D-5A2C7E90F314}'>\r\n"
      " <a b='$##1%%' c=\"$##3.5%\" d='$##-1%'>$##x% $##40</a></database>");
  ASSERT_EQ(convert(kci, "English").exit_status, 0);
  EXPECT_EQ(read_file(document),
            "<database guid='{0E7D3B52-9C41-4F6A-8B1D-5A2C7E90F314}'>\r\n"
            " <a b='Sales%' c=\"Unknown4\" d='The warehouse@#$%s reader'>$##x% $##40</a>"
            "</database>\n");
}

TEST_F(KcdConvert, ADocumentThatExistsStaysWithoutOverwrite) {
  folder.write("sales.kcd", "mine");
  const auto result = convert(kci, "English");
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, std::string(conversion_failed) + "\n");
  EXPECT_EQ(result.errors,
            "File " + document + " already exists; kcd convert --overwrite replaces it\n");
  EXPECT_EQ(read_file(document), "mine");
}

TEST_F(KcdConvert, OverwriteReplacesTheDocument) {
  folder.write("sales.kcd", "mine");
  const auto result = convert(kci, "English", {"--overwrite"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, document + "\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(read_file(document), HasSubstr("name=\"Sales\""));
}

TEST_F(KcdConvert, ARefusedConversionLeavesTheDocumentAlone) {
  folder.write("sales.kcd", "mine");
  EXPECT_EQ(convert(kci, "Español", {"--overwrite"}).exit_status, 1);
  EXPECT_EQ(read_file(document), "mine");
}

TEST_F(KcdConvert, SaysThatTheFileIsMissing) {
  const auto missing = folder.file("missing.kci");
  EXPECT_THAT(failure_lines(missing), ElementsAre("KCI file " + missing + " does not exist",
                                                  no_connection, conversion_failed));
  EXPECT_EQ(errors, "");
}

TEST_F(KcdConvert, SaysThatTheFileIsNotWellFormed) {
  write_kci("<database guid='x'>$##1%");
  EXPECT_THAT(failure_lines(kci),
              ElementsAre("File " + kci + " is not well formed xml or is not a KCI file",
                          no_connection, conversion_failed));
}

TEST_F(KcdConvert, SaysThatTheRootIsAnotherOne) {
  for (const auto* other : {"Database", "cube"}) {
    write_kci(std::string("<") + other + " guid='x' name='$##1%'/>");
    EXPECT_THAT(failure_lines(kci), ElementsAre("File " + kci + " is not a KCI file", no_connection,
                                                conversion_failed));
  }
}

TEST_F(KcdConvert, SaysThatThereIsNoGuid) {
  for (const auto* root : {"<database name='$##1%'/>", "<database name='$##1%' guid=''/>"}) {
    write_kci(root);
    EXPECT_THAT(failure_lines(kci),
                ElementsAre("No GUID found in KCI file " + kci, no_connection, conversion_failed));
  }
}

TEST_F(KcdConvert, SaysThatTheGuidIsUnknown) {
  for (const auto* guid :
       {"{0e7d3b52-9c41-4f6a-8b1d-5a2c7e90f314}", "0E7D3B52-9C41-4F6A-8B1D-5A2C7E90F314"}) {
    write_kci("<database name='$##1%' guid='" + std::string(guid) + "'/>");
    EXPECT_THAT(failure_lines(kci), ElementsAre(mismatch, conversion_failed));
  }
}

TEST_F(KcdConvert, SaysThatTheCheckMetAProblem) {
  database = "unregistered";
  write_unregistered_database();
  EXPECT_THAT(failure_lines(kci), ElementsAre("Problem", mismatch, conversion_failed));
  EXPECT_EQ(errors, "");
}

TEST_F(KcdConvert, SaysThatTheLanguageHasNoLabels) {
  for (const auto* language : {"Español", "english", "Klingon"}) {
    EXPECT_THAT(failure_lines(kci, language),
                ElementsAre(std::string("No labels found for the language ") + language,
                            conversion_failed));
  }
}

TEST_F(KcdConvert, TheReportsOfTheCheckComeBeforeThoseOfTheLabels) {
  database = "unregistered";
  write_unregistered_database();
  EXPECT_THAT(
      failure_lines(kci, "Español"),
      ElementsAre("Problem", "No labels found for the language Español", conversion_failed));
}

TEST_F(KcdConvert, SaysThatNoReferenceIsResolved) {
  for (const auto* name : {"Sales", "$##61%", "$##-4%", "$##1"}) {
    write_kci("<database guid='{0E7D3B52-9C41-4F6A-8B1D-5A2C7E90F314}' name='" + std::string(name) +
              "'/>");
    EXPECT_THAT(failure_lines(kci),
                ElementsAre("No matching labels found in the chosen language", conversion_failed));
  }
}

TEST_F(KcdConvert, SaysThatALabelIdIsTooLarge) {
  write_kci("<database guid='{0E7D3B52-9C41-4F6A-8B1D-5A2C7E90F314}' name='$##1%$##32768%'/>");
  EXPECT_THAT(failure_lines(kci),
              ElementsAre("Label ID 32768 is out of range (-32768 to 32767)", conversion_failed));
}

TEST_F(KcdConvert, SaysThatTheServerCannotBeReached) {
  server = "sqlite:" + folder.file("nowhere");
  EXPECT_THAT(failure_lines(kci), ElementsAre("Problem", no_connection, conversion_failed));
  EXPECT_EQ(errors, "Error while connecting to : " + server + "\nCannot read the folder '" +
                        folder.file("nowhere") + "': No such file or directory\n");
}

TEST_F(KcdConvert, SaysThatThereIsNoSuchDatabase) {
  database = "nothing";
  EXPECT_THAT(failure_lines(kci),
              ElementsAre("Problem", "No database is chosen", conversion_failed));
  EXPECT_EQ(errors,
            "This is not a correct labels database, languages table could not be found\n"
            "There is no database 'nothing' in the folder '" +
                folder.file("labels") + "'\n");
}

TEST_F(KcdConvert, SaysThatTheDatabaseHasNoLabels) {
  database = "other";
  write_database(database, {"CREATE TABLE Other (Number INTEGER)"});
  const auto lines = failure_lines(kci);
  EXPECT_EQ(lines.front(), "Problem");
  EXPECT_EQ(lines.back(), conversion_failed);
  EXPECT_EQ(errors,
            "This is not a correct labels database, languages table could not be found\n"
            "no such table: Languages\n");
}

TEST_F(KcdConvert, ALanguageWithAnApostropheIsAStatementThatFails) {
  const auto lines = failure_lines(kci, "Valley d'Aosta");
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], HasSubstr("syntax error"));
  EXPECT_EQ(lines[1], conversion_failed);
}

TEST_F(KcdConvert, SaysThatTheDocumentCannotBeWritten) {
  std::filesystem::create_directory(document);
  const auto result = convert(kci, "English", {"--overwrite"});
  EXPECT_EQ(result.exit_status, 1);
  const auto lines = lines_of(result.output);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], HasSubstr(document));
  EXPECT_EQ(lines[1], conversion_failed);
  EXPECT_TRUE(std::filesystem::is_empty(document));
}

TEST_F(KcdConvert, MessagesThatCannotBeWrittenAreAFailure) {
  start.output_file = "/dev/full";
  EXPECT_EQ(convert(kci, "English").exit_status, 5);
}

TEST_F(KcdConvert, AMessageStaysOneLine) {
  const auto lines = failure_lines(kci, "a\nb");
  EXPECT_THAT(lines, ElementsAre("No labels found for the language a b", conversion_failed));
}

/// Command lines that are refused before anything is done.
class KcdConvertUsage : public KcdConvert {
 protected:
  std::string refusal(const ProcessResult& result) {
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(std::filesystem::exists(document));
    EXPECT_THAT(result.errors, StartsWith("kcd: "));
    EXPECT_THAT(result.errors, EndsWith("Try 'kcd convert --help'.\n"));
    return result.errors;
  }
};

TEST_F(KcdConvertUsage, NamesWhatIsMissing) {
  EXPECT_THAT(refusal(kcd({"convert"})), HasSubstr("required"));
  const std::vector<std::pair<std::string, std::string>> options{
      {"--labels-server", server}, {"--labels-database", database}, {"--language", "English"}};
  for (const auto& left_out : options) {
    std::vector<std::string> arguments{"convert", kci};
    for (const auto& option : options) {
      if (option.first != left_out.first) {
        arguments.insert(arguments.end(), {option.first, option.second});
      }
    }
    EXPECT_THAT(refusal(kcd(arguments)), HasSubstr(left_out.first));
    arguments.push_back(left_out.first + "=");
    EXPECT_THAT(refusal(kcd(arguments)), HasSubstr(left_out.first));
  }
}

TEST_F(KcdConvertUsage, RefusesFilesThatAreNoLabelReferenceFiles) {
  for (const auto* name : {"sales.kcd", "sales", "sales.kci.txt"}) {
    EXPECT_THAT(refusal(convert(folder.file(name), "English")), HasSubstr(".kci"));
  }
}

TEST_F(KcdConvertUsage, RefusesTwoWaysToLogIn) {
  refusal(convert(kci, "English", {"--trusted", "--user", "u"}));
  refusal(convert(kci, "English", {"--trusted", "--password-file", "p"}));
  EXPECT_THAT(refusal(convert(kci, "English", {"--password-file", "p"})), HasSubstr("--user"));
}

TEST_F(KcdConvertUsage, TakesNoPasswordAsAnArgument) {
  refusal(convert(kci, "English", {"--user", "u", "--password", "geheim"}));
}

TEST_F(KcdConvert, PasswordFilesThatCannotBeUsedAreFailures) {
  const auto missing = folder.file("missing");
  const auto empty = folder.write("empty", "");
  const auto two_lines = folder.write("two", "geheim\nstreng\n");
  for (const auto& [file, reason] :
       {std::pair{missing, "'" + missing + "': No such file or directory"},
        std::pair{empty, "'" + empty + "': it is empty"},
        std::pair{two_lines, "'" + two_lines + "': it holds more than one line"},
        std::pair{std::string("-"), std::string("standard input: it is empty")}}) {
    const auto result = convert(kci, "English", {"--user", "u", "--password-file", file});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "Cannot take a password from " + reason + "\n");
    EXPECT_FALSE(std::filesystem::exists(document));
  }
}

TEST_F(KcdConvert, PasswordsAreShownNowhere) {
  const auto file = folder.write("password", "geheim\n");
  start.environment.emplace_back("IMPORTKCD_LABELS_PASSWORD", "geheim");
  start.input = "geheim\n";
  // A driver that is not there: the failure names the server text, passwords apart.
  server = "odbc:Driver=/nowhere.so;UID=u;PWD=geheim";
  for (const auto& further :
       std::vector<std::vector<std::string>>{{},
                                             {"--user", "u"},
                                             {"--user", "u", "--password-file", file},
                                             {"--user", "u", "--password-file", "-"}}) {
    const auto result = convert(kci, "English", further);
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(lines_of(result.output), ElementsAre("Problem", no_connection, conversion_failed));
    EXPECT_THAT(result.errors, HasSubstr("Error while connecting to : odbc:"));
    EXPECT_THAT(result.errors, Not(HasSubstr("geheim")));
  }
}

TEST_F(KcdConvert, APasswordIsNoHindranceToAServerWithoutLogin) {
  const auto file = folder.write("password", "geheim\n");
  EXPECT_EQ(convert(kci, "English", {"--user", "u", "--password-file", file}).exit_status, 0);
  EXPECT_EQ(convert(kci, "English", {"--trusted", "--overwrite"}).exit_status, 0);
  EXPECT_THAT(read_file(document), Not(HasSubstr("geheim")));
}

TEST_F(KcdConvert, TheScriptBuildsTheLabelsDatabaseAnew) {
  folder.write("labels/labels.db", "no database");
  ASSERT_EQ(run_process({.program = MAKE_LABELS_DATABASE, .arguments = {folder.file("labels")}})
                .exit_status,
            0);
  EXPECT_EQ(convert(kci, "English").exit_status, 0);
  EXPECT_EQ(run_process({.program = MAKE_LABELS_DATABASE}).exit_status, 2);
}

TEST_F(KcdConvert, StrictLabelsRefuseADocumentWithMissingOnes) {
  const auto file = folder.write("sales.kci", read_file(EXAMPLES_FOLDER "/sales.kci"));
  const auto result = convert(file, "Français", {"--strict-labels"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(lines_of(result.errors),
              ElementsAre(file + ":108:9: error: cube '$##40%' > measure '$##52%': attribute "
                                 "'description': label 56 has no text in 'Français'"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("sales.kcd")));
  EXPECT_EQ(convert(file, "English", {"--strict-labels"}).exit_status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder.file("sales.kcd")));
}

TEST_F(KcdConvert, ACheckListsTheLabelsThatAreMissingInALanguage) {
  const auto file = folder.write("sales.kci", read_file(EXAMPLES_FOLDER "/sales.kci"));
  const std::vector<std::string> labels{
      "check", file, "--labels-server", server, "--labels-database", database};
  const auto in_language = [&](const std::string& language) {
    auto arguments = labels;
    arguments.insert(arguments.end(), {"--language", language});
    return kcd(arguments);
  };
  EXPECT_EQ(in_language("English").output, "0 errors, 0 warnings in " + file + "\n");
  EXPECT_EQ(in_language("Deutsch").output,
            file +
                ":110:9: warning: cube '$##40%' > measure '$##53%': attribute 'description': "
                "label 57 has no text in 'Deutsch'\n0 errors, 1 warning in " +
                file + "\n");
  EXPECT_EQ(in_language("Latin").exit_status, 1);
  EXPECT_NE(in_language("Latin").errors, "");
}

}  // namespace
}  // namespace importkcd
