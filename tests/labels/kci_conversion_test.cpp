#include "labels/kci_conversion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "base/text_encoding.h"
#include "document/kcd_document.h"
#include "tests/labels/labels_content.h"
#include "tests/labels/recording_labels_view.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using testing::insert_guid;
using testing::insert_label;
using ::testing::IsEmpty;
using testing::labels_tables;
using testing::read_file;
namespace fs = std::filesystem;

const auto* const mismatch = "Error reading kci-file or GUID mismatch";
const auto* const no_connection = "There is no connection to the labels server";

/// Converts with the embedded labels server in a folder of its own.
class KciConversionTest : public ::testing::Test {
 protected:
  KciConversionTest() {
    fs::create_directory(folder.file("labels"));
    auto statements = labels_tables({"English", "Français", "Silent", "O'Neil"});
    statements.push_back(insert_label(1, 1, "Year"));
    statements.push_back(insert_label(1, 3, "Men's w<ea>r"));
    statements.push_back(insert_label(2, 1, "Année €"));
    statements.push_back(insert_label(4, 1, "x"));
    statements.push_back(insert_guid("{GUID-1}"));
    statements.emplace_back("INSERT INTO KCI_GUIDs VALUES ('null', NULL)");
    statements.push_back(insert_guid("{GUID-2}"));
    write_database("Good", statements);
    write_database("Bad", {"CREATE TABLE Other (x INTEGER)"});
    view.fields.server = "sqlite:" + folder.file("labels");
    view.fields.database = "Good";
    view.fields.language = "English";
    use_kci("<database guid='{GUID-2}' name='$##1%'/>");
  }

  /// Makes this SQL value the text of label 1 in English.
  void set_label(const std::string& sql_value) {
    SQLite::Database(folder.file("labels/Good.db"), SQLite::OPEN_READWRITE)
        .exec("UPDATE Labels SET Label = " + sql_value + " WHERE LabelID = 1 AND LanguageCode = 1");
  }

  void write_database(const std::string& name, const std::vector<std::string>& statements) {
    write_sqlite_database(folder, {"labels/" + name, statements});
  }

  /// The window names a KCI file of this content.
  void use_kci(const std::string& text, const std::string& name = "Sales.kci") {
    view.fields.kci_filename = folder.write(name, text);
  }

  /// Connects as a user does who opens both lists and chooses.
  void connect() { ASSERT_TRUE(access.connect_with_fields()); }

  std::string convert() { return conversion.ConvertKciToKcd(); }

  /// A conversion that fails with these messages and leaves no file.
  void expect_refusal(const std::vector<std::string>& messages) {
    view.messages.clear();
    const auto before = entries();
    EXPECT_EQ(convert(), "");
    EXPECT_EQ(view.messages, messages);
    EXPECT_FALSE(fs::exists(folder.file("sales.kcd")));
    EXPECT_EQ(entries(), before);
  }

  std::size_t entries() const {
    const auto all = fs::recursive_directory_iterator(folder.path());
    return static_cast<std::size_t>(std::distance(fs::begin(all), fs::end(all)));
  }

  testing::TemporaryFolder folder;
  testing::RecordingLabelsView view;
  LabelsAccess access{view, open_labels_connection};
  KciConversion conversion{access, view};
};

TEST_F(KciConversionTest, WritesTheDocumentWithLabels) {
  connect();
  use_kci("<database guid='{GUID-1}'>\r\n $##1%: $##3%, $##2%</database>\r\n");
  EXPECT_EQ(convert(), folder.file("sales.kcd"));
  EXPECT_EQ(read_file(folder.file("sales.kcd")),
            "<database guid='{GUID-1}'>\r\n Year: Men@#$%s w&#60;ea&#62;r, Unknown2</database>"
            "\r\n\n");
  EXPECT_THAT(view.messages, IsEmpty());
  EXPECT_THAT(view.questions, IsEmpty());
}

TEST_F(KciConversionTest, ALabelThatCannotStandInXmlLeavesTheFormerDocument) {
  connect();
  folder.write("sales.kcd", "former");
  view.answer = true;
  const auto before = entries();
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"'a' || char(1)", "the character U+0001"},
      {"'a' || char(0) || 'b'", "the character U+0000"},
      {"'a' || char(0xFFFE)", "the character U+FFFE"},
      {"'a' || char(0xFFFF)", "the character U+FFFF"},
      {"CAST(x'61FF' AS TEXT)", "bytes that are no UTF-8"},
      {"CAST(x'61EDA080' AS TEXT)", "bytes that are no UTF-8"}};
  for (const auto& [value, what] : cases) {
    set_label(value);
    view.messages.clear();
    EXPECT_EQ(convert(), "") << value;
    EXPECT_THAT(view.messages,
                ElementsAre("Label 1 holds " + what + ", which cannot stand in a document"));
    EXPECT_EQ(read_file(folder.file("sales.kcd")), "former");
    EXPECT_EQ(entries(), before);
  }
}

TEST_F(KciConversionTest, LineEndsAndTabsOfALabelReachTheReader) {
  connect();
  set_label("'a' || char(13, 10, 9) || 'b'");
  const auto written = convert();
  EXPECT_THAT(read_file(written), ::testing::HasSubstr("name='a&#13;&#10;&#9;b'"));
  EXPECT_EQ(KcdDocument::load(written)->root().attribute("name"), "a\r\n\tb");
}

TEST_F(KciConversionTest, AViewInALabelsFileIsNotTrusted) {
  SQLite::Database(folder.file("labels/Good.db"), SQLite::OPEN_READWRITE)
      .exec("ALTER TABLE Labels RENAME TO Hidden; CREATE VIEW Labels AS SELECT * FROM Hidden");
  EXPECT_FALSE(access.connect_with_fields());
  EXPECT_THAT(access.failure(), ::testing::HasSubstr("view"));
  EXPECT_EQ(convert(), "");
}

TEST_F(KciConversionTest, AMissingFileIsReported) {
  connect();
  for (const auto& name : {folder.file("none.kci"), folder.path().string(), std::string()}) {
    view.fields.kci_filename = name;
    expect_refusal({"KCI file " + name + " does not exist", mismatch});
  }
  EXPECT_EQ(view.pointer_resets, 3);
}

TEST_F(KciConversionTest, AFileThatIsNotWellFormedIsReported) {
  connect();
  for (const auto* text : {"", "<database guid='{GUID-1}'>", "$##1%"}) {
    use_kci(text);
    expect_refusal(
        {"File " + view.fields.kci_filename + " is not well formed xml or is not a KCI file",
         mismatch});
  }
}

TEST_F(KciConversionTest, AnotherRootElementIsReported) {
  connect();
  for (const auto* text : {"<Database guid='{GUID-1}'>$##1%</Database>",
                           "<x:database xmlns:x='u' guid='{GUID-1}'>$##1%</x:database>"}) {
    use_kci(text);
    expect_refusal({"File " + view.fields.kci_filename + " is not a KCI file", mismatch});
  }
}

TEST_F(KciConversionTest, AMissingOrEmptyGuidIsReported) {
  connect();
  for (const auto* text : {"<database>$##1%</database>", "<database guid=''>$##1%</database>"}) {
    use_kci(text);
    expect_refusal({"No GUID found in KCI file " + view.fields.kci_filename, mismatch});
  }
}

TEST_F(KciConversionTest, AnUnknownGuidIsAMismatch) {
  connect();
  for (const auto* guid : {"{GUID-3}", "{guid-1}", "{GUID-1} "}) {
    use_kci("<database guid='" + std::string(guid) + "'>$##1%</database>");
    expect_refusal({mismatch});
  }
}

TEST_F(KciConversionTest, AFailedQueryIsAProblem) {
  auto statements = labels_tables({"English"});
  statements.push_back(insert_label(1, 1, "Year"));
  statements.emplace_back("DROP TABLE KCI_GUIDs");
  write_database("NoGuids", statements);
  view.fields.database = "NoGuids";
  connect();
  expect_refusal({"Problem", mismatch});
}

TEST_F(KciConversionTest, ALanguageWithoutLabelsEndsTheConversionAfterTheChecksReports) {
  view.fields.language = "Silent";
  connect();
  expect_refusal({"No labels found for the language Silent"});
  view.fields.kci_filename = folder.file("none.kci");
  expect_refusal({"KCI file " + view.fields.kci_filename + " does not exist",
                  "No labels found for the language Silent"});
  EXPECT_EQ(view.pointer_resets, 0);
}

TEST_F(KciConversionTest, AFileWithoutAReferenceIntoTheRangeIsRefused) {
  connect();
  for (const auto* text : {"none", "$##99%", "$##0%$##4%"}) {
    use_kci("<database guid='{GUID-1}'>" + std::string(text) + "</database>");
    expect_refusal({"No matching labels found in the chosen language"});
  }
}

TEST_F(KciConversionTest, AReferenceOutOf16BitsEndsWithItsDescription) {
  connect();
  use_kci("<database guid='{GUID-1}'>$##1%$##40000%</database>");
  expect_refusal({"Label ID 40000 is out of range (-32768 to 32767)"});
}

TEST_F(KciConversionTest, AnExistingDocumentIsReplacedOnlyAfterYes) {
  connect();
  const auto kcd = folder.write("sales.kcd", "precious");
  view.answer = false;
  const auto before = entries();
  EXPECT_EQ(convert(), "");
  EXPECT_THAT(view.questions,
              ElementsAre("Create KCD file: File " + kcd + " already exists; overwrite ?"));
  EXPECT_THAT(view.messages, IsEmpty());
  EXPECT_EQ(read_file(kcd), "precious");
  EXPECT_EQ(entries(), before);
  view.answer = true;
  EXPECT_EQ(convert(), kcd);
  EXPECT_EQ(read_file(kcd), "<database guid='{GUID-2}' name='Year'/>\n");
}

TEST_F(KciConversionTest, TheDocumentStandsInTheFolderThatExists) {
  connect();
  fs::create_directory(folder.file("Data"));
  use_kci("<database guid='{GUID-1}'>$##1%</database>", "Data/Sales.KCI");
  EXPECT_EQ(convert(), folder.file("Data/sales.kcd"));
}

TEST_F(KciConversionTest, AFailureOfWritingEndsWithItsDescription) {
  connect();
  fs::create_directory(folder.file("x.kci"));
  use_kci("<database guid='{GUID-1}'>$##1%</database>", "x.kci/sales.kci");
  expect_refusal(
      {"Cannot write '" + folder.file("x.kcd/sales.kcd") + "': No such file or directory"});
}

TEST_F(KciConversionTest, OfSeveralFailuresThatOfWritingComesLast) {
  connect();
  fs::create_directory(folder.file("x.kci"));
  use_kci("<database guid='{GUID-1}'>$##40000%</database>", "x.kci/sales.kci");
  expect_refusal({"Label ID 40000 is out of range (-32768 to 32767)"});
  use_kci("<database guid='{GUID-1}'/>", "x.kci/sales.kci");
  expect_refusal({"No matching labels found in the chosen language"});
}

TEST_F(KciConversionTest, AFailureOfReadingEndsWithItsDescription) {
  const auto kci = view.fields.kci_filename;
  LabelsAccess late(view, [&](const LabelsLogin& login) {
    // The check has read the file by now.
    fs::remove(kci);
    return open_labels_connection(login);
  });
  EXPECT_EQ(KciConversion(late, view).ConvertKciToKcd(), "");
  EXPECT_THAT(view.messages, ElementsAre("Cannot read '" + kci + "': No such file or directory"));
  EXPECT_FALSE(fs::exists(folder.file("sales.kcd")));
}

TEST_F(KciConversionTest, LongFilesAreConvertedWhole) {
  connect();
  const std::string beginning = "<database guid='{GUID-1}'>";
  std::string text = beginning;
  std::string result = beginning;
  for (int i = 0; text.size() < 500'000; ++i) {
    const auto between = std::string(static_cast<std::size_t>(i % 50), ' ') + "$##x";
    text += between + "$##000001%";
    result += between + "Year";
  }
  // A number that is longer than what is read at once.
  const std::string zeros(300'000, '0');
  use_kci(text + "$##" + zeros + "3%$##" + zeros + "</database>");
  ASSERT_NE(convert(), "");
  EXPECT_EQ(read_file(folder.file("sales.kcd")),
            result + "Men@#$%s w&#60;ea&#62;r$##" + zeros + "</database>\n");
}

TEST_F(KciConversionTest, WithoutALanguageTheLoadedTableIsUsed) {
  connect();
  EXPECT_NE(convert(), "");
  fs::remove(folder.file("sales.kcd"));
  view.fields.language = "";
  EXPECT_NE(convert(), "");
  EXPECT_THAT(view.messages, IsEmpty());
}

TEST_F(KciConversionTest, WithoutALanguageAndATableNothingMatches) {
  connect();
  view.fields.language = "";
  use_kci("<database guid='{GUID-1}'>$##-1%</database>");
  expect_refusal({"No matching labels found in the chosen language"});
}

TEST_F(KciConversionTest, WithoutAConnectionItConnectsFromTheFields) {
  EXPECT_EQ(convert(), folder.file("sales.kcd"));
  EXPECT_THAT(view.messages, IsEmpty());
  EXPECT_THAT(view.boxes, IsEmpty());
  EXPECT_EQ(view.fields.database, "Good");
  EXPECT_EQ(view.fields.language, "English");
  EXPECT_THAT(view.entries[LabelsList::databases], ElementsAre("Bad", "Good"));
}

TEST_F(KciConversionTest, WhenThatFailsTheCheckReportsAProblem) {
  view.fields.server = "sqlite:" + folder.file("nowhere");
  expect_refusal({"Problem", no_connection});
  EXPECT_EQ(view.boxes.size(), 1U);
  EXPECT_EQ(view.fields.database, "Good");
  EXPECT_EQ(view.fields.language, "English");
}

TEST_F(KciConversionTest, ADatabaseWithoutTheTablesIsAProblem) {
  view.fields.database = "Bad";
  expect_refusal({"Problem", "no such table: Labels"});
  EXPECT_EQ(view.boxes.size(), 1U);
}

TEST_F(KciConversionTest, TheFileIsCheckedBeforeAConnectionIsMade) {
  view.fields.kci_filename = folder.file("none.kci");
  expect_refusal({"KCI file " + view.fields.kci_filename + " does not exist", no_connection});
  EXPECT_THAT(view.boxes, IsEmpty());
}

TEST_F(KciConversionTest, ALanguageWithAnApostropheBreaksTheStatement) {
  view.fields.language = "O'Neil";
  connect();
  EXPECT_EQ(convert(), "");
  ASSERT_EQ(view.messages.size(), 1U);
  EXPECT_THAT(view.messages.at(0), ::testing::HasSubstr("syntax error"));
}

TEST_F(KciConversionTest, TheDocumentKeepsTheEncodingOfTheFile) {
  view.fields.language = "Français";
  connect();
  use_kci("<?xml version='1.0' encoding='windows-1252'?><database guid='{GUID-1}' n='\xE9$##1%'/>");
  ASSERT_NE(convert(), "");
  EXPECT_EQ(read_file(folder.file("sales.kcd")),
            "<?xml version='1.0' encoding='windows-1252'?>"
            "<database guid='{GUID-1}' n='\xE9"
            "Ann\xE9"
            "e \x80'/>\n");
  use_kci("<?xml version='1.0' encoding='ISO-8859-1'?><database guid='{GUID-1}' n='$##1%'/>");
  ASSERT_NE(convert(), "");
  EXPECT_EQ(read_file(folder.file("sales.kcd")),
            "<?xml version='1.0' encoding='ISO-8859-1'?>"
            "<database guid='{GUID-1}' n='Ann\xE9"
            "e &#8364;'/>\n");
}

TEST_F(KciConversionTest, Utf16FilesWork) {
  view.fields.language = "Français";
  connect();
  for (const bool low_first : {true, false}) {
    const auto bytes = [low_first](std::u16string_view text) {
      std::string result;
      for (const char16_t unit : text) {
        const auto high = static_cast<char>(unit >> 8U);
        const auto low = static_cast<char>(unit & 0xFFU);
        result += low_first ? std::string{low, high} : std::string{high, low};
      }
      return result;
    };
    use_kci(
        bytes(u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><database guid='{GUID-1}'>é$##1%$##2%"
              u"</database>"));
    ASSERT_NE(convert(), "");
    EXPECT_EQ(read_file(folder.file("sales.kcd")),
              bytes(u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><database guid='{GUID-1}'>é"
                    u"Année €Unknown2</database>\n"))
        << low_first;
  }
}

TEST(ToString, TakesTheDefaultForNullOnly) {
  EXPECT_EQ(ToString(std::nullopt, "default"), "default");
  EXPECT_EQ(ToString("", "default"), "");
  EXPECT_EQ(ToString("text", "default"), "text");
}

}  // namespace
}  // namespace importkcd
