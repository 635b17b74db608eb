#include "labels/loaded_labels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/apostrophes.h"
#include "base/import_error.h"

namespace importkcd {
namespace {

using Id = std::optional<std::int16_t>;

std::string failure_of(const std::string& text) {
  try {
    label_id(text);
  } catch (const ImportError& error) {
    return error.description();
  }
  return "none";
}

TEST(LabelId, IsADecimalNumberWithSignFractionAndBlanks) {
  EXPECT_EQ(label_id("12"), Id(12));
  EXPECT_EQ(label_id("  -2 "), Id(-2));
  EXPECT_EQ(label_id("+7"), Id(7));
  EXPECT_EQ(label_id("0003.0"), Id(3));
  EXPECT_EQ(label_id("4."), Id(4));
  EXPECT_EQ(label_id(".9"), Id(1));
  EXPECT_EQ(label_id("-32768"), Id(-32768));
  EXPECT_EQ(label_id("32767"), Id(32767));
}

TEST(LabelId, NothingElseIsNumeric) {
  for (const auto* text :
       {"",      " ",    "x",   "1x",  "- 5", "--5", "+",     ".",  "1e3", "&H10",
        "1,000", "0x10", "\n5", "5\n", "\t5", "1 2", "1.2.3", "$5", "NaN", "５"}) {
    EXPECT_EQ(label_id(text), std::nullopt) << text;
  }
}

TEST(LabelId, AFractionRoundsToTheNearestHalvesToTheEvenOne) {
  EXPECT_EQ(label_id("3.6"), Id(4));
  EXPECT_EQ(label_id("3.4999999999999999999999"), Id(3));
  EXPECT_EQ(label_id("2.5"), Id(2));
  EXPECT_EQ(label_id("3.5"), Id(4));
  EXPECT_EQ(label_id("2.50000000000000000000001"), Id(3));
  EXPECT_EQ(label_id("-2.5"), Id(-2));
  EXPECT_EQ(label_id("-3.5"), Id(-4));
  EXPECT_EQ(label_id("-0.5"), Id(0));
  EXPECT_EQ(label_id("32767.4"), Id(32767));
  EXPECT_EQ(label_id("-32768.5"), Id(-32768));
}

TEST(LabelId, OutOf16BitsIsAFailure) {
  EXPECT_EQ(failure_of(" 32768 "), "Label ID 32768 is out of range (-32768 to 32767)");
  EXPECT_EQ(failure_of("32767.5"), "Label ID 32767.5 is out of range (-32768 to 32767)");
  EXPECT_EQ(failure_of("-32769"), "Label ID -32769 is out of range (-32768 to 32767)");
  EXPECT_EQ(failure_of("99999.9"), "Label ID 99999.9 is out of range (-32768 to 32767)");
  EXPECT_EQ(failure_of(std::string(1000, '9')),
            "Label ID " + std::string(40, '9') + "... is out of range (-32768 to 32767)");
  EXPECT_EQ(failure_of(std::string(1000, '0') + "5"), "none");
}

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

TEST(XmlEscapeText, ReplacesTheFiveCharactersAndNoOther) {
  EXPECT_EQ(XmlEscapeText("a\"b'c&d<e>f"), "a&#34;b&#39;c&#38;d&#60;e&#62;f");
  EXPECT_EQ(XmlEscapeText("é €\t\r\n#;%"), "é €\t\r\n#;%");
  EXPECT_EQ(XmlEscapeText("&#38;"), "&#38;#38;");
  EXPECT_EQ(XmlEscapeText(""), "");
}

TEST(XmlEscapeText, AfterTheApostrophesNoneIsLeftToEscape) {
  EXPECT_EQ(XmlEscapeText(EncodeApostrophes("Men's w<e>")), "Men@#$%s w&#60;e&#62;");
}

TEST(XmlEscapeText, ALengthOf32767CharactersIsTheMost) {
  EXPECT_EQ(XmlEscapeText(std::string(32767, '<')).size(), 5U * 32767);
  EXPECT_EQ(XmlEscapeText(repeated("é", 32767)), repeated("é", 32767));
  EXPECT_THAT([&] { XmlEscapeText(std::string(32768, 'x')); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::HasSubstr("A label is longer than 32767 characters")));
  EXPECT_THAT([&] { XmlEscapeText(repeated("é", 32768)); },
              ::testing::ThrowsMessage<ImportError>(
                  ::testing::HasSubstr("A label is longer than 32767 characters")));
}

}  // namespace
}  // namespace importkcd
