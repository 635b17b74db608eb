#include "base/percent_encoding.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

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

}  // namespace
}  // namespace importkcd
