#include "labels/labels_access.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/labels/recording_labels_view.h"
#include "tests/labels/scripted_connection.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const LabelsMessage no_labels_database{
    false, "ImportKCD",
    "This is not a correct labels database, languages table could not be found"};

LabelsMessage connection_failed(const std::string& server) {
  return {true, "Retrieve SQLServer Databases", "Error while connecting to : " + server};
}

class LabelsAccessTest : public ::testing::Test {
 protected:
  LabelsAccessTest() {
    view.fields.server = "(local)";
    view.fields.user = "sa";
    view.fields.password = "secret";
  }

  /// Connects with the present fields and forgets what that took.
  void connect() {
    access.RefreshLabelDatabases();
    ASSERT_NE(access.AdoConnection, nullptr);
    script.requests.clear();
  }

  /// A load whose failure has this description.
  std::string failure_of_load() {
    try {
      access.LoadLabels();
    } catch (const ImportError& error) {
      EXPECT_EQ(error.source(), error_source::labels_database);
      return error.description();
    }
    return "none";
  }

  testing::LabelsScript script;
  testing::RecordingLabelsView view;
  LabelsAccess access{view, testing::scripted_connector(script)};
};

TEST_F(LabelsAccessTest, OpeningTheDatabaseListConnectsAndListsTheCatalogs) {
  access.RefreshLabelDatabases();
  EXPECT_THAT(script.requests, ElementsAre("connect (local)|sa|secret|", "catalogs"));
  EXPECT_THAT(view.entries[LabelsList::databases], ElementsAre("Sales", "Stock"));
  EXPECT_EQ(view.fields.database, "Sales");
  EXPECT_THAT(view.boxes, IsEmpty());
}

TEST_F(LabelsAccessTest, IntegratedSecurityGoesWithoutUserAndPassword) {
  view.fields.secure_login = true;
  access.RefreshLabelDatabases();
  EXPECT_EQ(script.requests.at(0), "connect (local)|||SSPI");
}

TEST_F(LabelsAccessTest, AnotherOpeningDropsTheFormerConnectionFirst) {
  connect();
  access.RefreshLabelDatabases();
  EXPECT_THAT(script.requests, ElementsAre("close", "connect (local)|sa|secret|", "catalogs"));
}

TEST_F(LabelsAccessTest, ConnectingVoidsTheChoiceOfALanguage) {
  view.entries[LabelsList::languages] = {"English"};
  view.fields.language = "English";
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.entries[LabelsList::languages], IsEmpty());
  EXPECT_EQ(view.fields.language, "");
}

TEST_F(LabelsAccessTest, AFailedConnectionIsShownAndLeavesTheLanguagesAlone) {
  view.entries[LabelsList::databases] = {"Old"};
  view.fields.database = "Old";
  view.fields.language = "English";
  for (const auto* step : {"connect", "catalogs"}) {
    script.failing = step;
    view.boxes.clear();
    EXPECT_FALSE(
        access.ConnectLabelsServer(LabelsAccess::login_of(view.fields), LabelsList::databases));
    EXPECT_THAT(view.boxes, ElementsAre(connection_failed("(local)")));
    EXPECT_THAT(view.entries[LabelsList::databases], IsEmpty());
    EXPECT_EQ(view.fields.language, "English");
    EXPECT_EQ(access.AdoConnection, nullptr);
    EXPECT_EQ(access.failure(), std::string("the server failed: ") + step);
  }
}

TEST_F(LabelsAccessTest, AServerWithoutCatalogsCountsAsFailed) {
  script.catalogs.clear();
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes, ElementsAre(connection_failed("(local)")));
}

TEST_F(LabelsAccessTest, PasswordsOfAConnectionStringAreNotShown) {
  script.failing = "connect";
  view.fields.server = "odbc:DRIVER={X};UID=sa;PWD={a;b};Server=S";
  access.RefreshLabelDatabases();
  EXPECT_THAT(view.boxes,
              ElementsAre(connection_failed("odbc:DRIVER={X};UID=sa;PWD=***;Server=S")));
}

TEST_F(LabelsAccessTest, AConnectionStringThatADriverQuotesIsNotShownWithItsPassword) {
  LabelsAccess quoting(view, [](const LabelsLogin&) -> std::unique_ptr<LabelsConnection> {
    throw ImportError("no 'DSN=a;PWD={x;y};UID=u' here", error_source::labels_database);
  });
  quoting.RefreshLabelDatabases();
  EXPECT_EQ(quoting.failure(), "no 'DSN=a;PWD=***;UID=u' here");
}

TEST_F(LabelsAccessTest, OpeningTheLanguageListSwitchesTheDatabaseAndAsksForThem) {
  connect();
  view.fields.database = "Typed";
  script.columns = {"LanguageName"};
  script.rows = {{"Nederlands"}, {"English"}};
  EXPECT_TRUE(access.LoadLanguages());
  EXPECT_THAT(script.requests,
              ElementsAre("use Typed",
                          " SELECT DISTINCT Languages.LanguageName FROM Languages, Labels WHERE "
                          "Labels.LanguageCode = Languages.LanguageCode"));
  EXPECT_THAT(view.entries[LabelsList::languages], ElementsAre("Nederlands", "English"));
  EXPECT_EQ(view.fields.language, "");
}

TEST_F(LabelsAccessTest, EveryFailureOfLoadingLanguagesIsTheSameMessage) {
  access.LoadLanguages();
  EXPECT_THAT(view.boxes, ElementsAre(no_labels_database)) << "without a connection";
  connect();
  script.columns = {"LanguageName"};
  script.rows = {{"English"}, {"Deutsch"}};
  for (const auto* step : {"use", "execute", "row 1"}) {
    script.failing = step;
    view.boxes.clear();
    EXPECT_FALSE(access.LoadLanguages());
    EXPECT_THAT(view.boxes, ElementsAre(no_labels_database)) << step;
  }
  EXPECT_THAT(view.entries[LabelsList::languages], ElementsAre("English")) << "as far as filled";
}

TEST_F(LabelsAccessTest, ALanguageListWithoutTheColumnOrWithNullFails) {
  connect();
  script.columns = {"Other"};
  EXPECT_FALSE(access.LoadLanguages());
  script.columns = {"LanguageName"};
  script.rows = {{std::nullopt}};
  EXPECT_FALSE(access.LoadLanguages());
  EXPECT_THAT(view.boxes, ElementsAre(no_labels_database, no_labels_database));
}

TEST_F(LabelsAccessTest, LoadsTheLabelsOfTheLanguageWithOneStatement) {
  connect();
  view.fields.language = "English";
  script.rows = {{"5", "Five"}, {"7", "Seven"}, {"9", "Nine"}};
  EXPECT_TRUE(access.LoadLabels());
  EXPECT_THAT(script.requests,
              ElementsAre(" SELECT Labels.LabelID, Labels.Label\r\n FROM Labels, Languages\r\n "
                          "WHERE Labels.LanguageCode = Languages.LanguageCode AND "
                          "Languages.LanguageName = 'English' ORDER BY Labels.LabelID"));
  EXPECT_EQ(access.labels().MinLabelID, 5);
  EXPECT_EQ(access.labels().MaxLabelID, 9);
  EXPECT_THAT(access.labels().LabelTable, ElementsAre("Five", "", "Seven", "", "Nine"));
  EXPECT_THAT(view.messages, IsEmpty());
}

TEST_F(LabelsAccessTest, ALanguageWithAnApostropheGoesIntoTheStatementAsItIs) {
  connect();
  view.fields.language = "Pa'anga";
  script.rows = {{"1", "x"}};
  access.LoadLabels();
  EXPECT_THAT(script.requests.at(0), ::testing::HasSubstr("LanguageName = 'Pa'anga' ORDER BY"));
}

TEST_F(LabelsAccessTest, ApostrophesBecomeThePlaceholderAndMarkupIsEscaped) {
  connect();
  view.fields.language = "English";
  script.rows = {{"1", "Men's w<e>ar & \"so\""}};
  access.LoadLabels();
  EXPECT_THAT(access.labels().LabelTable,
              ElementsAre("Men@#$%s w&#60;e&#62;ar &#38; &#34;so&#34;"));
}

TEST_F(LabelsAccessTest, OfAnIdThatOccursTwiceTheLastRowWins) {
  connect();
  view.fields.language = "English";
  script.rows = {{"-1", "first"}, {"-1", "second"}, {"0", "zero"}};
  access.LoadLabels();
  EXPECT_EQ(access.labels().MinLabelID, -1);
  EXPECT_THAT(access.labels().LabelTable, ElementsAre("second", "zero"));
}

TEST_F(LabelsAccessTest, WithoutALanguageNothingIsAskedAndNothingChanges) {
  EXPECT_TRUE(access.LoadLabels()) << "not even a connection is needed";
  connect();
  view.fields.language = "English";
  script.rows = {{"3", "Three"}};
  access.LoadLabels();
  script.requests.clear();
  view.fields.language = "";
  EXPECT_TRUE(access.LoadLabels());
  EXPECT_THAT(script.requests, IsEmpty());
  EXPECT_EQ(access.labels().MinLabelID, 3);
}

TEST_F(LabelsAccessTest, ALanguageWithoutLabelsIsReportedAndUnloadsTheRange) {
  connect();
  view.fields.language = "English";
  script.rows = {{"3", "Three"}};
  access.LoadLabels();
  script.rows.clear();
  view.fields.language = "Klingon";
  EXPECT_FALSE(access.LoadLabels());
  EXPECT_THAT(view.messages, ElementsAre("No labels found for the language Klingon"));
  EXPECT_EQ(access.labels().MinLabelID, -1);
  EXPECT_EQ(access.labels().MaxLabelID, -1);
  EXPECT_FALSE(access.labels().in_range(-1));
  EXPECT_THAT(access.labels().LabelTable, ElementsAre("Three"));
}

TEST_F(LabelsAccessTest, ALoadEndsWithTheFailureOfTheServer) {
  view.fields.language = "English";
  EXPECT_EQ(failure_of_load(), "There is no connection to the labels server");
  connect();
  view.fields.language = "English";
  script.rows = {{"3", "Three"}, {"4", "Four"}};
  script.failing = "execute";
  EXPECT_EQ(failure_of_load(), "the server failed: execute");
  script.failing = "row 1";
  EXPECT_EQ(failure_of_load(), "the server failed: row 1");
  EXPECT_FALSE(access.labels().loaded);
}

TEST_F(LabelsAccessTest, ALoadEndsAtAnIdOrALabelThatIsNone) {
  connect();
  view.fields.language = "English";
  script.rows = {{"1", "a"}, {"2", std::nullopt}};
  EXPECT_EQ(failure_of_load(), "Label 2 has no text");
  script.rows = {{"1", "a"}, {"32768", "b"}};
  EXPECT_EQ(failure_of_load(), "Label ID 32768 is out of range (-32768 to 32767)");
  script.rows = {{"-32769", "a"}, {"1", "b"}};
  EXPECT_EQ(failure_of_load(), "Label ID -32769 is out of range (-32768 to 32767)");
  script.rows = {{std::nullopt, "a"}};
  EXPECT_EQ(failure_of_load(), "A label has no ID");
  script.rows = {{"one", "a"}};
  EXPECT_EQ(failure_of_load(), "Label ID 'one' is no number");
  script.rows = {{"1", "a"}, {"9", "b"}, {"2", "c"}};
  EXPECT_EQ(failure_of_load(), "The labels are not in the order of their IDs");
  script.rows = {{"5", "a"}, {"4", "b"}, {"9", "c"}};
  EXPECT_EQ(failure_of_load(), "The labels are not in the order of their IDs");
  script.rows = {{"9", "b"}, {"2", "c"}};
  EXPECT_EQ(failure_of_load(), "The labels are not in the order of their IDs");
  EXPECT_EQ(access.labels().MinLabelID, -1);
  EXPECT_EQ(access.labels().MaxLabelID, -1);
}

TEST_F(LabelsAccessTest, ALabelOf32768CharactersEndsTheLoad) {
  connect();
  view.fields.language = "English";
  script.rows = {{"1", std::string(32767, 'x')}};
  EXPECT_EQ(failure_of_load(), "none");
  script.rows = {{"1", std::string(32768, 'x')}};
  EXPECT_EQ(failure_of_load(), "A label is longer than 32767 characters");
}

TEST_F(LabelsAccessTest, AllIdsOf16BitsCanBeLoaded) {
  connect();
  view.fields.language = "English";
  for (int id = -32768; id <= 32767; ++id) {
    script.rows.push_back({std::to_string(id), "L" + std::to_string(id)});
  }
  EXPECT_TRUE(access.LoadLabels());
  const auto& loaded = access.labels();
  ASSERT_EQ(loaded.LabelTable.size(), 65536U);
  EXPECT_EQ(loaded.LabelTable.at(loaded.index_of(-32768)), "L-32768");
  EXPECT_EQ(loaded.LabelTable.at(loaded.index_of(32767)), "L32767");
}

TEST_F(LabelsAccessTest, ConnectingWithTheFieldsKeepsDatabaseAndLanguage) {
  view.fields.database = "Stock";
  view.fields.language = "English";
  script.columns = {"LanguageName"};
  script.rows = {{"Deutsch"}};
  EXPECT_TRUE(access.connect_with_fields());
  EXPECT_EQ(script.requests.at(2), "use Stock");
  EXPECT_EQ(view.fields.database, "Stock");
  EXPECT_EQ(view.fields.language, "English");
  EXPECT_THAT(view.entries[LabelsList::languages], ElementsAre("Deutsch"));
  script.failing = "connect";
  EXPECT_FALSE(access.connect_with_fields());
  EXPECT_EQ(view.fields.database, "Stock");
  EXPECT_EQ(view.fields.language, "English");
}

}  // namespace
}  // namespace importkcd
