#include "base/quoting.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(Quoting, ADoubledClosingQuoteDoesNotClose) {
  EXPECT_EQ(end_of_quotes("'it''s', 'x'"), 7U);
  EXPECT_EQ(end_of_quotes(R"(x "a""" y)", 2), 7U);
  EXPECT_EQ(end_of_quotes("[a]]b].[c]"), 6U);
  EXPECT_EQ(end_of_quotes("{}}}"), 4U);
  EXPECT_EQ(end_of_quotes("`a``b`"), 6U);
  EXPECT_EQ(end_of_quotes("''"), 2U);
}

TEST(Quoting, ABracketOrBraceMayOpenAgainInside) { EXPECT_EQ(end_of_quotes("[a[b]c"), 5U); }

TEST(Quoting, APartThatIsNotClosedHasNoEnd) {
  for (const auto* text : {"'", "'a", "'a''", "'''", "[a]]"}) {
    EXPECT_EQ(end_of_quotes(text), std::string_view::npos) << text;
  }
}

TEST(Quoting, DoublingsAreMadeAndUndone) {
  EXPECT_EQ(doubled("a]b]", ']'), "a]]b]]");
  EXPECT_EQ(undoubled("a]]b]]]]", ']'), "a]b]]");
  EXPECT_EQ(undoubled("a]b]", ']'), "a]b]");
  EXPECT_EQ(in_quotes("a'b", '\''), "'a''b'");
  EXPECT_EQ(in_quotes("[a]", '['), "[[a]]]");
  EXPECT_EQ(in_quotes("", '{'), "{}");
}

TEST(Quoting, APartInQuotesIsTakenOffTheFront) {
  std::string_view rest = "[a]]b].[c]";
  EXPECT_EQ(take_quoted_text(rest), "a]b");
  EXPECT_EQ(rest, ".[c]");
}

TEST(Quoting, NothingIsTakenWhenThePartIsNotClosed) {
  std::string_view rest = "'a''";
  EXPECT_EQ(take_quoted_text(rest), std::nullopt);
  EXPECT_EQ(rest, "'a''");
}

}  // namespace
}  // namespace importkcd
