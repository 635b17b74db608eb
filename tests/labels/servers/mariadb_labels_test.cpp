#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "base/import_error.h"
#include "labels/labels_access.h"
#include "tests/labels/recording_labels_view.h"
#include "tests/labels/servers/labels_sides.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::MariaDbServer;
namespace side_database = testing::side_database;

LabelsMessage connection_failed(const std::string& server) {
  return {true, "Retrieve SQLServer Databases", "Error while connecting to : " + server};
}

/// A server that does not answer for as long as this object lives.
class Silence {
 public:
  explicit Silence(const MariaDbServer& server) : server_(server) { server_.fall_silent(); }
  ~Silence() { server_.wake_up(); }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  const MariaDbServer& server_;
};

/// The labels access with an ODBC data source behind it.
class MariaDbLabels : public ::testing::Test {
 protected:
  MariaDbLabels() {
    // Makes the databases, too.
    const auto login = testing::shared_labels_side(testing::LabelsSideKind::mariadb)->login();
    view.fields.server = login.server;
    view.fields.user = login.user;
    view.fields.password = login.password;
    view.fields.database = side_database::sales;
    view.fields.language = "English";
  }

  testing::RecordingLabelsView view;
  LabelsAccess access{view, [](LabelsLogin login) {
                        login.timeouts.connecting = std::chrono::seconds(1);
                        login.timeouts.answering = std::chrono::seconds(1);
                        return open_labels_connection(login);
                      }};
};

TEST_F(MariaDbLabels, ARefusedLoginIsShownWithTheServersText) {
  view.fields.password = "wrong";
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes, ElementsAre(connection_failed(view.fields.server)));
  EXPECT_THAT(access.failure(), HasSubstr("Access denied for user 'reader'"));
  EXPECT_THAT(view.entries[LabelsList::databases], IsEmpty());
}

TEST_F(MariaDbLabels, UserAndPasswordOfTheConnectionStringComeFirst) {
  view.fields.server += ";UID=reader;PWD={p;w}}d={1}";
  view.fields.user = "nobody";
  view.fields.password = "wrong";
  EXPECT_TRUE(access.connect_with_fields()) << access.failure();
}

TEST_F(MariaDbLabels, APasswordOfTheConnectionStringIsNotShown) {
  const auto server = view.fields.server;
  view.fields.server = server + ";UID=reader;PWD=wrong";
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes, ElementsAre(connection_failed(server + ";UID=reader;PWD=***")));
}

TEST_F(MariaDbLabels, AServerThatIsNotThereIsShown) {
  // Nobody listens at the first port.
  view.fields.server = "odbc:DRIVER={MariaDB Unicode};SERVER=127.0.0.1;PORT=1";
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes, ElementsAre(connection_failed(view.fields.server)));
}

TEST_F(MariaDbLabels, ADriverThatIsNotThereIsShown) {
  view.fields.server = "odbc:DRIVER={No such driver};SERVER=127.0.0.1";
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes, ElementsAre(connection_failed(view.fields.server)));
  EXPECT_THAT(access.failure(), HasSubstr("Can't open lib 'No such driver'"));
}

TEST_F(MariaDbLabels, AServerThatNeverAnswersALoginTimesOut) {
  const Silence silence(testing::shared_mariadb_server());
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes, ElementsAre(connection_failed(view.fields.server)));
}

TEST_F(MariaDbLabels, AServerThatStopsAnsweringEndsTheLoadAndLeavesTheLabels) {
  ASSERT_TRUE(access.connect_with_fields()) << access.failure();
  ASSERT_TRUE(access.LoadLabels());
  const auto labels = access.labels().LabelTable;
  {
    const Silence silence(testing::shared_mariadb_server());
    EXPECT_THAT([&] { access.LoadLabels(); },
                ::testing::ThrowsMessage<ImportError>(HasSubstr("Lost connection")));
  }
  EXPECT_EQ(access.labels().LabelTable, labels);
  EXPECT_EQ(access.labels().MinLabelID, -2);
  EXPECT_THAT(view.messages, IsEmpty());
}

}  // namespace
}  // namespace importkcd
