#include "cli/text_width.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(TextWidth, CountsWhatATerminalShows) {
  EXPECT_EQ(text_width(""), 0U);
  EXPECT_EQ(text_width("Kiel"), 4U);
  EXPECT_EQ(text_width("Ørsted & Søn"), 12U);
  EXPECT_EQ(text_width("日本"), 4U);
  EXPECT_EQ(text_width("e\u0301"), 1U);
}

TEST(TextWidth, BytesThatAreNoUtf8CountOneEach) {
  EXPECT_EQ(text_width("a\xFF\xFE"), 3U);
  EXPECT_EQ(text_width("\xE2\x82"), 2U);
}

}  // namespace
}  // namespace importkcd
