#include <string>
#include <vector>

#include "tests/cli/kcd_fixture.h"
#include "tests/labels/labels_content.h"
#include "tests/support/tds_server.h"

namespace importkcd {
namespace {

using ::testing::HasSubstr;
using testing::insert_guid;
using testing::insert_label;
using testing::labels_tables;
using ::testing::Not;
using testing::ProcessResult;
using testing::read_file;
using testing::TdsServer;

std::vector<std::string> labels_database() {
  auto statements = labels_tables({"English"});
  statements.push_back(insert_label(1, 1, "The shop's sales €"));
  statements.push_back(insert_guid("served"));
  return statements;
}

/// `kcd convert` with a server that wants a user and a password.
class KcdConvertLogin : public testing::KcdTest {
 protected:
  /// Converts with further arguments.
  ProcessResult convert(const std::vector<std::string>& further) {
    std::vector<std::string> arguments{"convert",           kci,          "--labels-server",
                                       server.address(),    "--language", "English",
                                       "--labels-database", "labels",     "--overwrite"};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return kcd(std::move(arguments));
  }

  void expect_login(const ProcessResult& result) const {
    EXPECT_EQ(result.exit_status, 0) << result.output << result.errors;
    EXPECT_EQ(result.errors, "");
    const auto logins = server.logins();
    ASSERT_FALSE(logins.empty());
    EXPECT_EQ(logins.back().user, TdsServer::user);
    EXPECT_EQ(logins.back().password, TdsServer::password);
  }

  TdsServer server{{{"first", {}}, {"labels", labels_database()}}};
  std::string kci = folder.write("shop.kci", "<database guid='served' name='$##1%'/>");
  std::string password_file = folder.write("password", std::string(TdsServer::password) + "\n");
};

TEST_F(KcdConvertLogin, TakesThePasswordFromAFile) {
  expect_login(convert({"--user", TdsServer::user, "--password-file", password_file}));
  EXPECT_EQ(read_file(folder.file("shop.kcd")),
            "<database guid='served' name='The shop@#$%s sales €'/>\n");
}

TEST_F(KcdConvertLogin, TakesThePasswordFromStandardInput) {
  start.input = TdsServer::password;
  expect_login(convert({"--user", TdsServer::user, "--password-file", "-"}));
}

TEST_F(KcdConvertLogin, TakesThePasswordFromTheEnvironment) {
  start.environment.emplace_back("IMPORTKCD_LABELS_PASSWORD", TdsServer::password);
  expect_login(convert({"--user", TdsServer::user}));
}

TEST_F(KcdConvertLogin, ThePasswordFileCountsMoreThanTheEnvironment) {
  start.environment.emplace_back("IMPORTKCD_LABELS_PASSWORD", "other");
  expect_login(convert({"--user", TdsServer::user, "--password-file", password_file}));
}

TEST_F(KcdConvertLogin, ARefusedLoginShowsNoPassword) {
  start.environment.emplace_back("IMPORTKCD_LABELS_PASSWORD", "geheim");
  const auto result = convert({"--user", TdsServer::user});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output,
            "Problem\nThere is no connection to the labels server\n"
            "Error during checking and converting the KCI-file\n");
  EXPECT_THAT(result.errors, HasSubstr("Error while connecting to : " + server.address() + "\n"));
  EXPECT_THAT(result.errors, HasSubstr("Login failed"));
  EXPECT_THAT(result.errors, Not(HasSubstr("geheim")));
  EXPECT_EQ(server.logins().back().password, "geheim");
}

TEST_F(KcdConvertLogin, AServerThatHangsUpWritesNoDocument) {
  start.environment.emplace_back("IMPORTKCD_LABELS_PASSWORD", TdsServer::password);
  server.break_down_after(0, TdsServer::Breakdown::hangs_up);
  const auto result = convert({"--user", TdsServer::user});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.output, HasSubstr("Error during checking and converting the KCI-file\n"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("shop.kcd")));
}

}  // namespace
}  // namespace importkcd
