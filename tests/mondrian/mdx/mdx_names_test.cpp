#include "mondrian/mdx/mdx_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

TEST(MdxNames, AreWrittenInBracketsWithClosingOnesDoubled) {
  EXPECT_EQ(mdx_name("Unit [kg]"), "[Unit [kg]]]");
  EXPECT_EQ(mdx_path({"Store", "O'Neill's", "売上"}), "[Store].[O'Neill's].[売上]");
}

TEST(MdxNames, APathIsTakenOffTheFront) {
  std::string_view text = " [Store] . City.[A]]B] AS x";
  EXPECT_THAT(take_mdx_path(text), Optional(ElementsAre("Store", "City", "A]B")));
  EXPECT_EQ(text, "AS x");
}

TEST(MdxNames, WhatDoesNotBeginWithANameIsNoPath) {
  for (std::string_view text : {"", "  ", "'x'", ".[x]", "[x].", "[x", "[x].[y]]"}) {
    const std::string shown(text);
    EXPECT_EQ(take_mdx_path(text), std::nullopt) << shown;
  }
}

TEST(MdxNames, AnExpressionIsBalancedWhenEverythingIsClosedInItsOrder) {
  for (const auto* text :
       {"", "([a]+{[b]})", "[a)]]b]", "\"(\" + ')' ", "Iif(x, \"it''s\", 'a''b')"}) {
    EXPECT_TRUE(is_balanced_mdx(text)) << text;
  }
  for (const auto* text : {"(", ")", "({)}", "[a", "a]", "\"a", "'a", "[a]]"}) {
    EXPECT_FALSE(is_balanced_mdx(text)) << text;
  }
}

TEST(MdxNames, FindsTheMeasuresThatAnExpressionNames) {
  EXPECT_THAT(measures_named_in("[Measures].[A] / measures.[B]]C] - [Store].[Measures].[D]"),
              ElementsAre("A", "B]C", "D"));
  EXPECT_THAT(measures_named_in("\"[Measures].[A]\" + [Measures] + [Store].[All]"), IsEmpty());
}

}  // namespace
}  // namespace importkcd
