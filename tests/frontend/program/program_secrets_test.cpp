#include "tests/frontend/program/program_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// Unattended runs with passwords, on every road that a run can take.
class ProgramSecrets : public ProgramTest {
 protected:
  /// Runs the program and looks for the password in all that it says and writes, the catalogue and
  /// a kept copy of the document apart. Gives the last status line.
  std::string silent(std::vector<std::string> arguments, const std::string& kcd) {
    const auto status = folder.write("status", "untouched");
    for (const auto& argument : {std::string("/file"), kcd, std::string("/statusfile"), status}) {
      arguments.push_back(argument);
    }
    const auto result = run(arguments);
    auto said = result.output + result.errors;
    if (std::filesystem::exists(status)) {
      said += read_file(status);
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      if (entry.path().extension() == ".txt") {
        said += read_file(entry.path());
      }
    }
    for (const auto* piece : {"geh", "hei", "eim"}) {
      EXPECT_THAT(said, Not(HasSubstr(piece)));
    }
    const auto text = result.output.substr(0, result.output.find_last_not_of('\n') + 1);
    return text.substr(text.rfind('\n') + 1);
  }

  /// The document with a connection string, as it stands.
  std::string with_password(const std::string& connection_string) const {
    auto text = whole_document();
    const std::string source = "Provider=SQLOLEDB;Data Source=dw1";
    return folder.write("shop.kcd",
                        text.replace(text.find(source), source.size(), connection_string));
  }

  std::vector<std::string> warehouse() const {
    return {"/machine", server(), "/dwdb", "W", "/dwuser", "u", "/dwpwd", "[geheim]"};
  }
};

TEST_F(ProgramSecrets, ARunTellsNoPassword) {
  EXPECT_EQ(silent(warehouse(), document), "Import succeeded");
  EXPECT_EQ(silent({"/machine", server(), "/incremental"}, with_password("PWD=geheim")),
            "Import succeeded");
  EXPECT_THAT(read_file(folder.file("shop.olap")), HasSubstr("Password=geheim"));
}

TEST_F(ProgramSecrets, AServerThatFailsIsToldWithoutThePassword) {
  auto arguments = warehouse();
  arguments[1] = "no.such.machine";
  EXPECT_THAT(silent(arguments, document), HasSubstr("Cannot open DSO server"));
  arguments[1] = "Provider=P;Password=geheim";
  EXPECT_THAT(silent(arguments, document), HasSubstr("machine 'Provider=P;Password=***'"));
  folder.write("shop.olap", "no catalogue, but a text");
  EXPECT_THAT(silent(warehouse(), document), HasSubstr("is no OLAP catalogue"));
}

TEST_F(ProgramSecrets, ABrokenDocumentIsToldWithoutItsPassword) {
  for (const auto* text :
       {"Password=a&geheim;b", "Password=<geheim", "Password=\" geheim\"", "Password=geheim\xFF"}) {
    EXPECT_THAT(silent(warehouse(), with_password(text)),
                HasSubstr("Cannot open kcd document file "));
  }
}

TEST_F(ProgramSecrets, AFailedSectionIsToldWithoutThePassword) {
  auto text = read_file(with_password("PWD=geheim"));
  text.replace(text.find("column_size=\"4\""), 15, "column_size=\"x\"");
  EXPECT_EQ(silent(warehouse(), folder.write("shop.kcd", text)), "Type mismatch");
}

TEST_F(ProgramSecrets, ALabelsServerThatFailsIsToldWithoutPasswords) {
  const auto kci = folder.write("sales.kci", "<database guid='x' name='$##1%'/>");
  for (const std::string labels_server :
       {"odbc:Driver=/nowhere.so;PWD=geheim", "odbc:DSN=nowhere;Password={geheim;geheim}",
        "Driver=/nowhere.so;PWD=geheim", "127.0.0.1,1"}) {
    auto arguments = warehouse();
    for (const auto& argument : std::vector<std::string>{
             "/labelserver", labels_server, "/labeltrusted", "false", "/labelusername", "u",
             "/labelpassword", "geheim", "/labeldb", "labels", "/labellanguage", "English"}) {
      arguments.push_back(argument);
    }
    EXPECT_EQ(silent(arguments, kci), "Error during checking and converting the KCI-file");
  }
}

}  // namespace
}  // namespace importkcd::testing
