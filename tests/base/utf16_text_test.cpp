#include "base/utf16_text.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(Utf16Text, GoesThereAndBack) {
  const std::string text = "a é € 日 😀 \xF4\x8F\xBF\xBF";
  EXPECT_EQ(utf16_text(text), u"a é € 日 😀 \U0010FFFF");
  EXPECT_EQ(utf8_text(utf16_text(text)), text);
  EXPECT_EQ(utf8_text(utf16_text("")), "");
}

TEST(Utf16Text, WhatIsNoTextBecomesTheReplacementCharacter) {
  EXPECT_EQ(utf16_text("a\xFF\xC3"), u"a\uFFFD\uFFFD");
  const std::u16string lone{u'a', char16_t{0xD83D}, u'b', char16_t{0xDE00}, char16_t{0xD83D}};
  EXPECT_EQ(utf8_text(lone), "a\uFFFDb\uFFFD\uFFFD");
  const std::u16string twice{char16_t{0xD83D}, char16_t{0xD83D}, u'b'};
  EXPECT_EQ(utf8_text(twice), "\uFFFD\uFFFDb");
}

}  // namespace
}  // namespace importkcd
