#include "mondrian/mapping/relation_aliases.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(RelationAliases, AFactTableKeepsItsNameInAllCubes) {
  RelationAliases aliases;
  EXPECT_EQ(aliases.of_table({{"dbo"}, "sales", "s"}), "s");
  EXPECT_EQ(aliases.of_table({{"dbo"}, "sales", "s"}), "s");
}

TEST(RelationAliases, AnotherTableOfThatNameGetsAnother) {
  RelationAliases aliases;
  EXPECT_EQ(aliases.of_table({{"dbo"}, "sales", "sales"}), "sales");
  EXPECT_EQ(aliases.of_table({{"old"}, "sales", "Sales"}), "Sales_2");
  EXPECT_EQ(aliases.of_table({{}, "sales", "sales"}), "sales_3");
  EXPECT_EQ(aliases.of_table({{"old"}, "sales", "Sales"}), "Sales_2");
}

TEST(RelationAliases, AViewOfFactsSharesItsNameWithNothing) {
  RelationAliases aliases;
  EXPECT_EQ(aliases.of_fact_view("sales"), "sales");
  EXPECT_EQ(aliases.of_fact_view("SALES"), "SALES_2");
  EXPECT_EQ(aliases.of_table({{}, "sales", "sales"}), "sales_3");
}

TEST(RelationAliases, ViewsOfDimensionsShareANameWhenTheirTextIsTheSame) {
  RelationAliases aliases;
  EXPECT_EQ(aliases.of_dimension_view("calendar", "select month"), "calendar");
  EXPECT_EQ(aliases.of_dimension_view("calendar", "select week"), "calendar_view2");
  EXPECT_EQ(aliases.of_dimension_view("calendar", "select month"), "calendar");
}

}  // namespace
}  // namespace importkcd
