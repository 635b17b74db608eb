#include "base/text.h"

#include <gtest/gtest.h>

#include <string>

namespace importkcd {
namespace {

using namespace std::string_literals;

TEST(Trimmed, OnlyTheEndsLoseTheirBlanks) {
  EXPECT_EQ(trimmed(" \ta b\t ", " \t"), "a b");
  EXPECT_EQ(trimmed("a b", " \t"), "a b");
  EXPECT_EQ(trimmed("\ta ", " "), "\ta");
}

TEST(Trimmed, NothingIsLeftOfBlanks) {
  EXPECT_EQ(trimmed("", " "), "");
  EXPECT_EQ(trimmed("   ", " "), "");
}

TEST(Characters, AreTakenOffTheFrontOneByOne) {
  std::string_view text = "aé€😀";
  std::u32string codes;
  while (!text.empty()) {
    codes += static_cast<char32_t>(take_character(text).code);
  }
  EXPECT_EQ(codes, U"aé€😀");
}

TEST(Characters, AByteThatIsNoUtf8StandsAlone) {
  std::string_view text = "\xC3(";
  const auto character = take_character(text);
  EXPECT_EQ(character.bytes, "\xC3");
  EXPECT_LT(character.code, 0);
  EXPECT_EQ(text, "(");
}

TEST(PrintableText, ControlCharactersBecomeOneBlankEach) {
  EXPECT_EQ(printable("a\r\nb\tc\x1B[0m\x7F.\0!"s), "a  b c [0m . !");
}

TEST(PrintableText, ControlCharactersAboveAsciiBecomeOneBlankEach) {
  EXPECT_EQ(printable("a\xC2\x80\xC2\x9F."), "a  .");
}

TEST(PrintableText, UnicodeLineBreaksBecomeBlanks) {
  EXPECT_EQ(printable("a\xE2\x80\xA8\xE2\x80\xA9."), "a  .");
}

TEST(PrintableText, ControlsOfTheWritingDirectionBecomeBlanks) {
  EXPECT_EQ(printable("a\u061Cb\u200Ec\u200Fd"), "a b c d");
  EXPECT_EQ(printable("\u202A\u202B\u202C\u202D\u202E."), "     .");
  EXPECT_EQ(printable("\u2066\u2067\u2068\u2069."), "    .");
}

TEST(PrintableText, OtherTextStaysAsItIs) {
  for (const auto* text : {"", "Møller & Søn", "\xC2\xA0", "\xE2\x80\xA7\xE2\x80\xAF\xE2\x81\xAA",
                           "\xD8\x9B", "日本語", "~"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(PrintableText, BytesThatAreNotUtf8AreKept) {
  EXPECT_EQ(printable("a\x80\x9F\xC2"), "a\x80\x9F\xC2");
  EXPECT_EQ(printable("\xE2\x80"), "\xE2\x80");
}

TEST(PercentEncoding, LettersAndDigitsStand) {
  EXPECT_EQ(percent_encoded("AZaz09", ""), "AZaz09");
  EXPECT_EQ(percent_encoded("", ""), "");
}

TEST(PercentEncoding, EveryOtherByteIsEncoded) {
  EXPECT_EQ(percent_encoded("@[`{/:", ""), "%40%5B%60%7B%2F%3A");
  EXPECT_EQ(percent_encoded(" %\n\x7F", ""), "%20%25%0A%7F");
  EXPECT_EQ(percent_encoded("\xC3\xBC\xFF", ""), "%C3%BC%FF");
  EXPECT_EQ(percent_encoded(std::string_view("\0", 1), ""), "%00");
}

TEST(PercentEncoding, MarksStand) {
  EXPECT_EQ(percent_encoded("a-b._~/c d", address_marks), "a-b._~%2Fc%20d");
  EXPECT_EQ(percent_encoded("-", ""), "%2D");
}

TEST(LastingHash, IsTheSameInEveryVersion) {
  EXPECT_EQ(lasting_hash(""), 0xcbf29ce484222325U);
  EXPECT_EQ(lasting_hash("a"), 0xaf63dc4c8601ec8cU);
  EXPECT_EQ(lasting_hash("foobar"), 0x85944171f73967e8U);
}

TEST(Text, ManyAreCountedInThePlural) {
  EXPECT_EQ(counted(0, "level"), "0 levels");
  EXPECT_EQ(counted(1, "custom property"), "1 custom property");
  EXPECT_EQ(counted(2, "custom property"), "2 custom properties");
}

}  // namespace
}  // namespace importkcd
