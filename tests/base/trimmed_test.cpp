#include "base/trimmed.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(Trimmed, OnlyTheEndsLoseTheirBlanks) {
  EXPECT_EQ(trimmed(" \ta b\t ", " \t"), "a b");
  EXPECT_EQ(trimmed("a b", " \t"), "a b");
  EXPECT_EQ(trimmed("\ta ", " "), "\ta");
}

TEST(Trimmed, NothingIsLeftOfBlanks) {
  EXPECT_EQ(trimmed("", " "), "");
  EXPECT_EQ(trimmed("   ", " "), "");
}

}  // namespace
}  // namespace importkcd
