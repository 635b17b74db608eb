#include "base/printable_text.h"

#include <gtest/gtest.h>

#include <string>

namespace importkcd {
namespace {

using namespace std::string_literals;

TEST(PrintableText, ControlCharactersBecomeOneBlankEach) {
  EXPECT_EQ(printable("a\r\nb\tc\x1B[0m\x7F.\0!"s), "a  b c [0m . !");
}

TEST(PrintableText, ControlCharactersAboveAsciiBecomeOneBlankEach) {
  EXPECT_EQ(printable("a\xC2\x80\xC2\x9F."), "a  .");
}

TEST(PrintableText, UnicodeLineBreaksBecomeBlanks) {
  EXPECT_EQ(printable("a\xE2\x80\xA8\xE2\x80\xA9."), "a  .");
}

TEST(PrintableText, OtherTextStaysAsItIs) {
  for (const auto* text :
       {"", "Møller & Søn", "\xC2\xA0", "\xE2\x80\xA7\xE2\x80\xAA", "日本語", "~"}) {
    EXPECT_EQ(printable(text), text);
  }
}

TEST(PrintableText, BytesThatAreNotUtf8AreKept) {
  EXPECT_EQ(printable("a\x80\x9F\xC2"), "a\x80\x9F\xC2");
  EXPECT_EQ(printable("\xE2\x80"), "\xE2\x80");
}

}  // namespace
}  // namespace importkcd
