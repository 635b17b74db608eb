#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/import_error.h"
#include "labels/kci_conversion.h"
#include "labels/labels_access.h"
#include "tests/labels/labels_content.h"
#include "tests/labels/recording_labels_view.h"
#include "tests/support/tds_server.h"

namespace importkcd {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::insert_label;
using ::testing::IsEmpty;
using testing::TdsServer;
using ::testing::ThrowsMessage;

testing::DatabaseContent labels_database(const std::string& name) {
  auto statements = testing::labels_tables({"English"});
  for (int id = 1; id <= 100; ++id) {
    statements.push_back(insert_label(1, id, "Label " + std::to_string(id)));
  }
  statements.push_back(testing::insert_guid("{GUID}"));
  return {name, statements};
}

/// The SQL Server side of the labels access, with the real driver.
class SqlServerLabels : public ::testing::Test {
 protected:
  SqlServerLabels() {
    view.fields.server = server.address();
    view.fields.user = TdsServer::user;
    view.fields.password = TdsServer::password;
    view.fields.database = "a]b";
    view.fields.language = "English";
  }

  LabelsLogin login() const { return LabelsAccess::login_of(view.fields); }

  /// The description of the failure to connect; "none" when there is none.
  std::string failure_to_connect(const LabelsLogin& how) const {
    try {
      open_labels_connection(how);
    } catch (const ImportError& error) {
      return error.description();
    }
    return "none";
  }

  TdsServer server{{labels_database("master"), labels_database("a]b")}};
  testing::RecordingLabelsView view;
  LabelsAccess access{view, open_labels_connection};
};

TEST_F(SqlServerLabels, StatementsGoOverTheWireExactly) {
  const testing::TemporaryFolder folder;
  view.fields.kci_filename = folder.write("s.kci", "<database guid='{GUID}'>$##7%</database>");
  KciConversion conversion(access, view);
  EXPECT_EQ(conversion.ConvertKciToKcd(), folder.file("s.kcd"));
  EXPECT_THAT(
      server.batches(),
      ElementsAre("exec sp_tables", "USE [a]]b]",
                  " SELECT DISTINCT Languages.LanguageName FROM Languages, Labels WHERE "
                  "Labels.LanguageCode = Languages.LanguageCode",
                  "SELECT * FROM KCI_GUIDs",
                  " SELECT Labels.LabelID, Labels.Label\r\n FROM Labels, Languages\r\n WHERE "
                  "Labels.LanguageCode = Languages.LanguageCode AND Languages.LanguageName = "
                  "'English' ORDER BY Labels.LabelID"));
  EXPECT_EQ(testing::read_file(folder.file("s.kcd")),
            "<database guid='{GUID}'>Label 7</database>\n");
}

TEST_F(SqlServerLabels, BracesOfAStatementAreNoEscapes) {
  view.fields.language = "O'{fn x}";
  ASSERT_TRUE(access.connect_with_fields());
  EXPECT_ANY_THROW(access.LoadLabels()) << "the apostrophe ends the text early";
  EXPECT_THAT(server.batches().back(), HasSubstr("= 'O'{fn x}' ORDER BY"));
}

TEST_F(SqlServerLabels, OnlyLoadingTheLanguagesSwitchesTheDatabase) {
  access.RefreshLabelDatabases();
  EXPECT_THAT(server.batches(), ElementsAre("exec sp_tables"));
  EXPECT_THAT(view.entries[LabelsList::databases], ElementsAre("master", "a]b"));
}

TEST_F(SqlServerLabels, UserAndPasswordArriveAsTheyAre) {
  for (const auto* text :
       {"a;b", "{a}", "}", "a}", " a ", "a=b", "'\"", "ü€", "x;SERVER=evil;UID=sa", "a}b"}) {
    auto refused = login();
    refused.user = text;
    refused.password = text;
    EXPECT_THAT(failure_to_connect(refused),
                HasSubstr("Login failed for user '" + std::string(text) + "'."));
    EXPECT_EQ(server.logins().back().user, text);
    EXPECT_EQ(server.logins().back().password, text);
    EXPECT_FALSE(server.logins().back().integrated_security);
  }
}

TEST_F(SqlServerLabels, ATextThatCouldAddAnAttributeIsRefusedBeforeItLeaves) {
  auto hostile = login();
  hostile.user = "x};SERVER=evil;{";
  EXPECT_EQ(failure_to_connect(hostile),
            "A text with '};' or a NUL character cannot be part of a connection");
  hostile = login();
  hostile.password = "x};SERVER=evil;{";
  EXPECT_NE(failure_to_connect(hostile), "none");
  hostile = login();
  hostile.server = "x};SERVER=" + server.address();
  EXPECT_NE(failure_to_connect(hostile), "none");
  EXPECT_THAT(server.logins(), IsEmpty());
}

TEST_F(SqlServerLabels, ARefusedLoginIsShownWithTheServersName) {
  view.fields.password = "wrong";
  access.RefreshLabelDatabases();
  ASSERT_EQ(view.boxes.size(), 1U);
  EXPECT_EQ(view.boxes[0].text, "Error while connecting to : " + server.address());
  EXPECT_THAT(access.failure(), HasSubstr("Login failed for user 'reader'."));
}

TEST_F(SqlServerLabels, IntegratedSecurityWithoutATicketSendsNothing) {
  view.fields.secure_login = true;
  access.RefreshLabelDatabases();
  EXPECT_EQ(view.boxes.size(), 1U);
  EXPECT_THAT(server.logins(), IsEmpty());
}

TEST_F(SqlServerLabels, AServerThatIsNotThereIsShown) {
  // Nobody listens at the first port.
  view.fields.server = "127.0.0.1,1";
  access.RefreshLabelDatabases();
  ASSERT_EQ(view.boxes.size(), 1U);
  EXPECT_EQ(view.boxes[0].text, "Error while connecting to : 127.0.0.1,1");
  EXPECT_EQ(access.AdoConnection, nullptr);
}

TEST_F(SqlServerLabels, EverySixteenBitNumberCanBeALabel) {
  auto content = labels_database("all");
  content.statements.emplace_back("DELETE FROM Labels");
  content.statements.emplace_back(
      "WITH RECURSIVE ids(id) AS "
      "(SELECT -32768 UNION ALL SELECT id + 1 FROM ids WHERE id < 32767) "
      "INSERT INTO Labels SELECT id, 'Label ' || id, 1 FROM ids");
  const TdsServer large({content});
  view.fields.server = large.address();
  view.fields.database = "all";
  ASSERT_TRUE(access.connect_with_fields()) << access.failure();
  EXPECT_TRUE(access.LoadLabels());
  EXPECT_EQ(access.labels().MinLabelID, -32768);
  EXPECT_EQ(access.labels().MaxLabelID, 32767);
  ASSERT_EQ(access.labels().LabelTable.size(), 65536U);
  EXPECT_EQ(access.labels().LabelTable.front(), "Label -32768");
  EXPECT_EQ(access.labels().LabelTable.back(), "Label 32767");
}

TEST_F(SqlServerLabels, APasswordBeyondWhatADriverTakesIsAFailure) {
  auto how = login();
  how.password.assign(40'000, 'x');
  EXPECT_EQ(failure_to_connect(how), "The connection string is too long");
}

/// Fails when it lives longer than a time-out of a second explains: without one the drivers wait
/// for 20 seconds and more, or for good.
class WithinLimit {
 public:
  WithinLimit() = default;
  WithinLimit(const WithinLimit&) = delete;
  WithinLimit& operator=(const WithinLimit&) = delete;
  ~WithinLimit() { EXPECT_LT(std::chrono::steady_clock::now() - began_, std::chrono::seconds(15)); }

 private:
  std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

TEST_F(SqlServerLabels, AServerThatNeverAnswersTimesOut) {
  server.ignore_everything();
  auto how = login();
  how.timeouts.connecting = std::chrono::seconds(1);
  how.timeouts.answering = std::chrono::seconds(40);
  const WithinLimit limit;
  EXPECT_NE(failure_to_connect(how), "none");
}

TEST_F(SqlServerLabels, AServerThatHangsUpInTheMiddleOfALoadEndsIt) {
  ASSERT_TRUE(access.connect_with_fields());
  ASSERT_TRUE(access.LoadLabels());
  server.break_down_after(50, TdsServer::Breakdown::hangs_up);
  // Either of them, by how much of the end the driver has seen.
  const auto broken = ThrowsMessage<ImportError>(
      AnyOf(HasSubstr("Communication link failure"), HasSubstr("from the server")));
  EXPECT_THAT([&] { access.LoadLabels(); }, broken);
  EXPECT_THAT([&] { access.LoadLabels(); }, broken) << "the connection is gone";
  view.fields.language = "English";
  EXPECT_FALSE(access.LoadLanguages());
}

TEST_F(SqlServerLabels, AServerThatFallsSilentInTheMiddleOfALoadEndsIt) {
  LabelsAccess impatient(view, [](LabelsLogin how) {
    how.timeouts.connecting = std::chrono::seconds(40);
    how.timeouts.answering = std::chrono::seconds(1);
    return open_labels_connection(how);
  });
  ASSERT_TRUE(impatient.connect_with_fields());
  server.break_down_after(50, TdsServer::Breakdown::falls_silent);
  const WithinLimit limit;
  EXPECT_THAT([&] { impatient.LoadLabels(); },
              ThrowsMessage<ImportError>(HasSubstr("Timeout expired")));
}

TEST_F(SqlServerLabels, AServerThatHangsUpDuringAConversionEndsItWithADescription) {
  const testing::TemporaryFolder folder;
  view.fields.kci_filename = folder.write("s.kci", "<database guid='{GUID}'>$##7%</database>");
  ASSERT_TRUE(access.connect_with_fields());
  server.break_down_after(1, TdsServer::Breakdown::hangs_up);
  EXPECT_EQ(KciConversion(access, view).ConvertKciToKcd(), "");
  ASSERT_EQ(view.messages.size(), 1U) << "the one row of the GUIDs arrived";
  EXPECT_NE(view.messages[0], "");
}

}  // namespace
}  // namespace importkcd
