#include <QProcess>

#include "tests/frontend/program/program_fixture.h"
#include "tests/frontend/program/x_display.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

constexpr const char* failed = "Error during checking and converting the KCI-file";

/// Unattended runs on a copy of examples/sales.kci, with the labels of examples/labels.
class ProgramKci : public ProgramTest {
 protected:
  ProgramKci() {
    const auto built =
        run_process({.program = MAKE_LABELS_DATABASE, .arguments = {folder.file("labels")}});
    EXPECT_EQ(built.exit_status, 0) << built.errors;
  }

  /// The options of an unattended run on the file in a language.
  std::vector<std::string> options(const std::string& language) const {
    return {"/machine",      server(),        "/file",    kci,      "/labelserver",   labels_server,
            "/labeltrusted", "true",          "/labeldb", database, "/labellanguage", language,
            "/statusfile",   folder.file("s")};
  }

  /// Runs the program with these options and further ones, without any display.
  ProcessResult run_language(const std::string& language,
                             const std::vector<std::string>& further = {}) const {
    auto arguments = options(language);
    arguments.insert(arguments.end(), further.begin(), further.end());
    return run(std::move(arguments));
  }

  /// A run whose conversion fails: no import, no document. Gives the status lines.
  std::string failure(const std::string& language) {
    const auto result = run_language(language);
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.file("shop.olap")));
    EXPECT_FALSE(std::filesystem::exists(folder.file("sales.kcd")));
    EXPECT_FALSE(std::filesystem::exists(folder.file("s")));
    errors = result.errors;
    return result.output;
  }

  std::string kci = folder.write("sales.kci", read_file(EXAMPLES_FOLDER "/sales.kci"));
  std::string labels_server = "sqlite:" + folder.file("labels");
  std::string database = "labels";
  std::string errors;
};

TEST_F(ProgramKci, ConvertsAndImportsInTheLanguageOfTheCommandLine) {
  const auto result = run_language("Français", {"/incremental"});
  EXPECT_EQ(result.exit_status, 0) << result.output;
  EXPECT_EQ(result.errors, "");
  EXPECT_TRUE(result.output.starts_with("Start\nOpening DSO server on machine '")) << result.output;
  EXPECT_THAT(result.output, HasSubstr("\nCreating database 'Ventes'\n"));
  EXPECT_THAT(result.output, HasSubstr("\nCreating cube 'Chiffre d'affaires'\n"));
  EXPECT_TRUE(result.output.ends_with("Done\nImport succeeded\n")) << result.output;
  EXPECT_EQ(read_file(folder.file("s")), "SUCCES\r\n");
  EXPECT_THAT(databases(), ElementsAre("Ventes"));
  EXPECT_THAT(read_file(folder.file("sales.kcd")), HasSubstr("name=\"Chiffre d@#$%affaires\""));
}

TEST_F(ProgramKci, ASecondLanguageArrivesBesideTheFirst) {
  EXPECT_EQ(run_language("English").exit_status, 0);
  std::filesystem::remove(folder.file("sales.kcd"));
  EXPECT_EQ(run_language("Nederlands").exit_status, 0);
  EXPECT_THAT(databases(), UnorderedElementsAre("Sales", "Verkopen"));
}

TEST_F(ProgramKci, ADocumentThatExistsIsNotOverwritten) {
  folder.write("sales.kcd", "mine");
  const auto result = run_language("English");
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, std::string(failed) + "\n");
  EXPECT_EQ(result.errors, "Create KCD file: File " + folder.file("sales.kcd") +
                               " already exists; overwrite ? (answered with No; "
                               "'kcd convert --overwrite' replaces the file)\n");
  EXPECT_EQ(read_file(folder.file("sales.kcd")), "mine");
}

TEST_F(ProgramKci, ALanguageWithoutLabelsIsAFailure) {
  EXPECT_EQ(failure("Español"),
            std::string("No labels found for the language Español\n") + failed + "\n");
  EXPECT_EQ(errors, "");
}

TEST_F(ProgramKci, AGuidThatIsNotRegisteredIsAFailure) {
  folder.write("sales.kci", "<database guid='unknown' name='$##1%'/>");
  EXPECT_EQ(failure("English"),
            std::string("Error reading kci-file or GUID mismatch\n") + failed + "\n");
}

TEST_F(ProgramKci, AServerThatCannotBeReachedIsAFailure) {
  labels_server = "sqlite:" + folder.file("nowhere");
  EXPECT_EQ(failure("English"),
            std::string("Problem\nThere is no connection to the labels server\n") + failed + "\n");
  EXPECT_EQ(errors, "Retrieve SQLServer Databases: Error while connecting to : " + labels_server +
                        " (Cannot read the folder '" + folder.file("nowhere") +
                        "': No such file or directory)\n");
}

TEST_F(ProgramKci, APasswordIsShownNowhere) {
  labels_server = "odbc:Driver=/nowhere.so";
  const auto result = run_language(
      "English", {"/labeltrusted", "false", "/labelusername", "u", "/labelpassword", "geheim"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.output, HasSubstr("Problem\n"));
  EXPECT_THAT(result.output + result.errors, Not(HasSubstr("geheim")));
}

/// The same on a display, where a person answers.
class ProgramKciWindow : public ProgramKci {
 protected:
  ~ProgramKciWindow() override {
    if (program.state() != QProcess::NotRunning) {
      program.kill();
      program.waitForFinished(patience);
    }
  }

  void start(const std::string& language) {
    const auto folder_name = QString::fromStdString(folder.path().string());
    auto variables = display.environment();
    variables.insert("LC_ALL", "C");
    for (const auto* name : {"TMPDIR", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
      variables.insert(name, folder_name);
    }
    program.setProcessEnvironment(variables);
    QStringList arguments;
    for (const auto& option : options(language)) {
      arguments.append(QString::fromStdString(option));
    }
    program.start(IMPORTKCD_PROGRAM, arguments);
    ASSERT_TRUE(program.waitForStarted(patience));
  }

  void expect_end(int exit_status) {
    ASSERT_TRUE(program.waitForFinished(patience));
    EXPECT_EQ(program.exitCode(), exit_status);
  }

  static constexpr int patience = 60000;
  static constexpr const char* question = "Create KCD file";
  XDisplay display;
  QProcess program;
};

TEST_F(ProgramKciWindow, ConvertsAndImports) {
  start("Deutsch");
  expect_end(0);
  EXPECT_EQ(read_file(folder.file("s")), "SUCCES\r\n");
  EXPECT_THAT(databases(), ElementsAre("Verkäufe"));
}

TEST_F(ProgramKciWindow, YesOverwritesTheDocumentWithTheSecondLanguage) {
  ASSERT_EQ(run_language("English").exit_status, 0);
  start("Français");
  ASSERT_TRUE(display.wait_for_window(question));
  display.xdotool({"key", "--clearmodifiers", "alt+y"});
  expect_end(0);
  EXPECT_THAT(databases(), UnorderedElementsAre("Sales", "Ventes"));
}

TEST_F(ProgramKciWindow, NoLeavesTheDocumentAlone) {
  folder.write("sales.kcd", "mine");
  start("English");
  ASSERT_TRUE(display.wait_for_window(question));
  display.xdotool({"key", "--clearmodifiers", "alt+n"});
  expect_end(1);
  EXPECT_EQ(read_file(folder.file("sales.kcd")), "mine");
  EXPECT_FALSE(std::filesystem::exists(folder.file("shop.olap")));
}

}  // namespace
}  // namespace importkcd::testing
