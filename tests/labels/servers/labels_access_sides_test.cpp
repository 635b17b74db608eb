#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/import_error.h"
#include "labels/kci_conversion.h"
#include "labels/labels_access.h"
#include "tests/labels/recording_labels_view.h"
#include "tests/labels/servers/labels_sides.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::UnorderedElementsAre;
namespace side_database = testing::side_database;

const LabelsMessage no_labels_database{
    false, "ImportKCD",
    "This is not a correct labels database, languages table could not be found"};

/// The window's labels group with every kind of server behind it.
class LabelsAccessOfEverySide : public testing::LabelsSideTest {
 protected:
  void SetUp() override {
    LabelsSideTest::SetUp();
    if (!IsSkipped()) {
      const auto from = login();
      view.fields.server = from.server;
      view.fields.secure_login = from.secure_login;
      view.fields.user = from.user;
      view.fields.password = from.password;
    }
  }

  /// Opens the database list, chooses there, opens the language list, chooses there.
  void choose(const std::string& database, const std::string& language) {
    access.RefreshLabelDatabases();
    ASSERT_THAT(view.boxes, IsEmpty()) << access.failure();
    view.fields.database = database;
    ASSERT_TRUE(access.LoadLanguages()) << access.failure();
    view.fields.language = language;
  }

  testing::RecordingLabelsView view;
  LabelsAccess access{view, open_labels_connection};
};

TEST_P(LabelsAccessOfEverySide, TheListsFillAndTheFirstDatabaseIsChosen) {
  access.RefreshLabelDatabases();
  const auto& databases = view.entries[LabelsList::databases];
  EXPECT_THAT(databases,
              IsSupersetOf({side_database::other, side_database::sales, side_database::stock}));
  EXPECT_EQ(view.fields.database, databases.at(0));

  view.fields.database = side_database::sales;
  EXPECT_TRUE(access.LoadLanguages()) << access.failure();
  // "Silent" has no label.
  EXPECT_THAT(view.entries[LabelsList::languages],
              UnorderedElementsAre("English", "Français", "日本語 😀", "O'Neil", "Too high",
                                   "Without text", "Lengthy"));
  EXPECT_THAT(view.boxes, IsEmpty());
}

TEST_P(LabelsAccessOfEverySide, LabelsAreLoadedEncodedForXml) {
  choose(side_database::sales, "English");
  EXPECT_TRUE(access.LoadLabels());
  const auto& labels = access.labels();
  EXPECT_EQ(labels.MinLabelID, -2);
  EXPECT_EQ(labels.MaxLabelID, 9);
  EXPECT_THAT(labels.LabelTable,
              ElementsAre("Year &#38; &#34;month&#34;", "", "", "", "", "", "", "Line\r\nbreak", "",
                          "", "", "Men@#$%s w&#60;ea&#62;r"));
}

TEST_P(LabelsAccessOfEverySide, AnotherLanguageReplacesTheLabels) {
  choose(side_database::sales, "English");
  EXPECT_TRUE(access.LoadLabels());
  view.fields.language = "Français";
  EXPECT_TRUE(access.LoadLabels());
  EXPECT_EQ(access.labels().MinLabelID, 5);
  EXPECT_THAT(access.labels().LabelTable, ElementsAre("Année €"));
}

TEST_P(LabelsAccessOfEverySide, AnotherDatabaseReplacesTheLanguages) {
  choose(side_database::sales, "English");
  view.fields.database = side_database::stock;
  EXPECT_TRUE(access.LoadLanguages());
  EXPECT_THAT(view.entries[LabelsList::languages], ElementsAre("Deutsch"));
}

TEST_P(LabelsAccessOfEverySide, ALanguageWithoutLabelsIsReported) {
  for (const auto* language : {"Silent", "Klingon"}) {
    view.messages.clear();
    choose(side_database::sales, language);
    EXPECT_FALSE(access.LoadLabels());
    EXPECT_THAT(view.messages,
                ElementsAre(std::string("No labels found for the language ") + language));
  }
}

TEST_P(LabelsAccessOfEverySide, AnApostropheInTheLanguageBreaksTheStatement) {
  choose(side_database::sales, "O'Neil");
  EXPECT_THAT([&] { access.LoadLabels(); },
              ::testing::ThrowsMessage<ImportError>(::testing::AnyOf(
                  "near \"Neil\": syntax error", ::testing::HasSubstr("error in your SQL syntax"),
                  ::testing::HasSubstr("Incorrect syntax near 'Neil'"))));
  EXPECT_THAT(view.messages, IsEmpty());
}

TEST_P(LabelsAccessOfEverySide, AnIdBeyondSixteenBitsAndALabelWithoutTextAreFailures) {
  choose(side_database::sales, "Too high");
  EXPECT_THAT([&] { access.LoadLabels(); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::StrEq("Label ID 32768 is out of range (-32768 to 32767)")));
  choose(side_database::sales, "Without text");
  EXPECT_THAT([&] { access.LoadLabels(); },
              ::testing::ThrowsMessage<ImportError>(::testing::StrEq("Label 1 has no text")));
}

TEST_P(LabelsAccessOfEverySide, ADatabaseWithoutTheTablesIsNoLabelsDatabase) {
  access.RefreshLabelDatabases();
  view.fields.database = side_database::other;
  EXPECT_FALSE(access.LoadLanguages());
  EXPECT_THAT(view.boxes, ElementsAre(no_labels_database));
  EXPECT_THAT(view.entries[LabelsList::languages], IsEmpty());

  view.fields.language = "English";
  EXPECT_THAT([&] { access.LoadLabels(); },
              ::testing::ThrowsMessage<ImportError>(::testing::AnyOf(
                  "no such table: Labels", "Table 'importkcd other.Labels' doesn't exist",
                  ::testing::HasSubstr("Invalid object name 'Labels'"))));
}

TEST_P(LabelsAccessOfEverySide, AnAbsentDatabaseIsNoLabelsDatabase) {
  access.RefreshLabelDatabases();
  view.fields.database = "importkcd absent";
  EXPECT_FALSE(access.LoadLanguages());
  EXPECT_THAT(view.boxes, ElementsAre(no_labels_database));
}

TEST_P(LabelsAccessOfEverySide, AKciFileConvertsFromTheFieldsAlone) {
  const testing::TemporaryFolder folder;
  view.fields.database = side_database::sales;
  view.fields.language = "English";
  view.fields.kci_filename =
      folder.write("Sales.KCI", "<database guid='{GUID-2}' name='$##9%'><a b='$##5%'/></database>");
  KciConversion conversion(access, view);
  EXPECT_EQ(conversion.ConvertKciToKcd(), folder.file("sales.kcd"));
  EXPECT_THAT(view.messages, IsEmpty());
  EXPECT_EQ(testing::read_file(folder.file("sales.kcd")),
            "<database guid='{GUID-2}' name='Men@#$%s w&#60;ea&#62;r'>"
            "<a b='Line&#13;&#10;break'/></database>\n");
}

TEST_P(LabelsAccessOfEverySide, AnUnknownGuidIsRefused) {
  const testing::TemporaryFolder folder;
  view.fields.database = side_database::sales;
  view.fields.language = "English";
  view.fields.kci_filename =
      folder.write("Sales.kci", "<database guid='{GUID-3}'>$##5%</database>");
  KciConversion conversion(access, view);
  EXPECT_EQ(conversion.ConvertKciToKcd(), "");
  EXPECT_THAT(view.messages, ElementsAre("Error reading kci-file or GUID mismatch"));
}

INSTANTIATE_FOR_EVERY_LABELS_SIDE(LabelsAccessOfEverySide);

}  // namespace
}  // namespace importkcd
