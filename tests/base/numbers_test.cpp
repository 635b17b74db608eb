#include "base/numbers.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

using Number = std::optional<std::int64_t>;

TEST(RoundedNumber, IsReadWithSignAndFraction) {
  EXPECT_EQ(rounded_number("12"), Number(12));
  EXPECT_EQ(rounded_number("+0012."), Number(12));
  EXPECT_EQ(rounded_number("-7.2"), Number(-7));
  EXPECT_EQ(rounded_number(".9"), Number(1));
}

TEST(RoundedNumber, HalvesGoToTheEvenNumber) {
  EXPECT_EQ(rounded_number("2.5"), Number(2));
  EXPECT_EQ(rounded_number("3.500"), Number(4));
  EXPECT_EQ(rounded_number("-0.5"), Number(0));
  EXPECT_EQ(rounded_number("2.50000000000000000001"), Number(3));
  EXPECT_EQ(rounded_number("2.49999999999999999999"), Number(2));
}

TEST(RoundedNumber, OfTooManyDigitsIsLarge) {
  const std::int64_t sixteen_digits = 1'000'000'000'000'000;
  EXPECT_EQ(rounded_number("999999999999999"), Number(sixteen_digits - 1));
  EXPECT_GE(rounded_number("99999999999999999999999999.5").value(), sixteen_digits);
  EXPECT_LE(rounded_number("-99999999999999999999999999").value(), -sixteen_digits);
}

TEST(RoundedNumber, OtherTextsAreNone) {
  for (const auto* text : {"", ".", "-", "+.", "1.2.3", "1e5", "--1", "+-1", " 1", "1 ", "1,5"}) {
    EXPECT_EQ(rounded_number(text), std::nullopt) << text;
  }
}

TEST(ExactNumber, IsAllOfItsText) {
  EXPECT_EQ(exact_number<std::uint64_t>("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(exact_number<double>("-1.5E+2"), -150.0);
  EXPECT_EQ(exact_number<std::uint64_t>("18446744073709551616"), std::nullopt);
  for (const auto* text : {"", "1 ", " 1", "+1", "1x"}) {
    EXPECT_EQ(exact_number<double>(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace importkcd
