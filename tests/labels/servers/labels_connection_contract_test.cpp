#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "labels/labels_connection.h"
#include "tests/labels/servers/labels_sides.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::UnorderedElementsAre;
namespace side_database = testing::side_database;

using Texts = std::vector<std::optional<std::string>>;

constexpr const char* languages = "SELECT LanguageName FROM Languages ORDER BY LanguageCode";

/// What every connection to a labels server does.
class LabelsConnectionContract : public testing::LabelsSideTest {
 protected:
  void SetUp() override {
    LabelsSideTest::SetUp();
    if (!IsSkipped()) {
      connection = open_labels_connection(login());
    }
  }

  /// The first column of all rows.
  Texts texts(const std::string& statement) const {
    Texts result;
    const auto rows = connection->execute(statement);
    while (rows->next()) {
      result.push_back(rows->text(0));
    }
    return result;
  }

  Texts labels_of(int language) const {
    return texts("SELECT Label FROM Labels WHERE LanguageCode = " + std::to_string(language) +
                 " ORDER BY LabelID");
  }

  std::unique_ptr<LabelsConnection> connection;
};

TEST_P(LabelsConnectionContract, ListsTheDatabases) {
  EXPECT_THAT(connection->catalogs(),
              IsSupersetOf({side_database::other, side_database::sales, side_database::stock}));
}

TEST_P(LabelsConnectionContract, ListingTheDatabasesLeavesTheDefaultOne) {
  connection->use_database(side_database::stock);
  connection->catalogs();
  EXPECT_THAT(texts(languages), ElementsAre("Deutsch"));
}

TEST_P(LabelsConnectionContract, SwitchesTheDefaultDatabaseThereAndBack) {
  connection->use_database(side_database::sales);
  EXPECT_EQ(texts(languages).size(), 8U);
  connection->use_database(side_database::stock);
  EXPECT_THAT(texts(languages), ElementsAre("Deutsch"));
  connection->use_database(side_database::sales);
  EXPECT_EQ(texts(languages).size(), 8U);
}

TEST_P(LabelsConnectionContract, AnAbsentDatabaseIsRefusedAndTheFormerOneStays) {
  connection->use_database(side_database::stock);
  EXPECT_THAT([&] { connection->use_database("importkcd absent"); },
              ::testing::ThrowsMessage<ImportError>(::testing::HasSubstr("importkcd absent")));
  EXPECT_THAT(texts(languages), ElementsAre("Deutsch"));
}

TEST_P(LabelsConnectionContract, TheEmptyDatabaseNameIsRefused) {
  EXPECT_THAT([&] { connection->use_database(""); },
              ::testing::ThrowsMessage<ImportError>(::testing::AnyOf(
                  "No database is chosen",
                  ::testing::StartsWith("There is no database '' in the folder"))));
}

TEST_P(LabelsConnectionContract, TextsComeInEveryScript) {
  connection->use_database(side_database::sales);
  EXPECT_THAT(texts(languages), ElementsAre("English", "Français", "日本語 😀", "O'Neil", "Silent",
                                            "Too high", "Without text", "Lengthy"));
  EXPECT_THAT(labels_of(3), ElementsAre("年 😀"));
}

TEST_P(LabelsConnectionContract, StatementsGoInEveryScript) {
  connection->use_database(side_database::sales);
  const std::string prefix = GetParam() == testing::LabelsSideKind::sqlite_folder ||
                                     GetParam() == testing::LabelsSideKind::mariadb
                                 ? ""
                                 : "N";
  EXPECT_THAT(
      texts("SELECT LanguageCode FROM Languages WHERE LanguageName = " + prefix + "'日本語 😀'"),
      ElementsAre("3"));
}

TEST_P(LabelsConnectionContract, NullAndTheEmptyTextAreTwoThings) {
  connection->use_database(side_database::sales);
  EXPECT_THAT(labels_of(1), ElementsAre("Year & \"month\"", "Line\r\nbreak", "", "Men's w<ea>r"));
  EXPECT_THAT(labels_of(7), ElementsAre(std::nullopt));
  EXPECT_THAT(texts("SELECT GUID FROM KCI_GUIDs"),
              UnorderedElementsAre("{GUID-1}", std::nullopt, "{GUID-2}"));
}

TEST_P(LabelsConnectionContract, NumbersComeAsDecimalText) {
  connection->use_database(side_database::sales);
  EXPECT_THAT(texts("SELECT LabelID FROM Labels WHERE LanguageCode = 1 ORDER BY LabelID"),
              ElementsAre("-2", "5", "7", "9"));
}

TEST_P(LabelsConnectionContract, TextsOfEveryLengthComeWhole) {
  connection->use_database(side_database::sales);
  const auto labels = labels_of(8);
  ASSERT_EQ(labels.size(), 7U);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const auto units = i < 6 ? 4093 + i : 32000;
    // Not compared by EXPECT_EQ, which would print them.
    EXPECT_TRUE(labels[i] == testing::text_of_units(units)) << units;
  }
}

TEST_P(LabelsConnectionContract, ColumnsAreReadOneAfterTheOther) {
  connection->use_database(side_database::sales);
  const auto rows = connection->execute(
      "SELECT LanguageCode, LabelID, Label FROM Labels WHERE LabelID = 5 AND LanguageCode = 2");
  ASSERT_TRUE(rows->next());
  EXPECT_EQ(rows->text(0), "2");
  EXPECT_EQ(rows->text(1), "5");
  EXPECT_EQ(rows->text(2), "Année €");
  EXPECT_FALSE(rows->next());
}

TEST_P(LabelsConnectionContract, AColumnIsFoundByItsNameInAnyLetterCase) {
  connection->use_database(side_database::sales);
  const auto rows = connection->execute("SELECT * FROM KCI_GUIDs");
  EXPECT_EQ(rows->column("Remark"), 0U);
  EXPECT_EQ(rows->column("guid"), 1U);
  EXPECT_THAT([&] { rows->column("UID"); },
              ::testing::ThrowsMessage<ImportError>(::testing::StrEq("no such column: UID")));
}

TEST_P(LabelsConnectionContract, AStatementMayHaveNoRows) {
  connection->use_database(side_database::sales);
  EXPECT_FALSE(connection->execute("SELECT Label FROM Labels WHERE LabelID = 12345")->next());
}

TEST_P(LabelsConnectionContract, RowsMayBeLeftUnread) {
  connection->use_database(side_database::sales);
  EXPECT_TRUE(connection->execute("SELECT Label FROM Labels ORDER BY LabelID")->next());
  EXPECT_THAT(labels_of(2), ElementsAre("Année €"));
}

TEST_P(LabelsConnectionContract, AfterAWrongStatementTheConnectionGoesOn) {
  connection->use_database(side_database::stock);
  for (const auto* statement : {"SELECT FROM WHERE", "SELECT x FROM Absent", "SELECT 'x"}) {
    try {
      const auto rows = connection->execute(statement);
      rows->next();
      ADD_FAILURE() << statement;
    } catch (const ImportError& error) {
      EXPECT_EQ(error.source(), error_source::labels_database);
      EXPECT_NE(error.description(), "");
    }
    EXPECT_THAT(labels_of(1), ElementsAre("Lager"));
  }
}

TEST_P(LabelsConnectionContract, ConnectionsKnowNothingOfEachOther) {
  const auto second = open_labels_connection(login());
  connection->use_database(side_database::stock);
  second->use_database(side_database::sales);
  EXPECT_THAT(texts(languages), ElementsAre("Deutsch"));
}

INSTANTIATE_FOR_EVERY_LABELS_SIDE(LabelsConnectionContract);

}  // namespace
}  // namespace importkcd
