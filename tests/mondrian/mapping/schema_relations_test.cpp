#include "mondrian/mapping/schema_relations.h"

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

TEST(SqlView, ATableHasItsSchemaAndItsAliasWhenThatIsAnother) {
  EXPECT_EQ(xml_text(table_element({{}, "sales", "sales"}, "sales")), "<Table name=\"sales\"/>\n");
  EXPECT_EQ(xml_text(table_element({{"dbo"}, "sales", "s"}, "s")),
            "<Table name=\"sales\" schema=\"dbo\" alias=\"s\"/>\n");
}

TEST(SqlView, AViewHoldsItsText) {
  EXPECT_EQ(xml_text(view_element("v", "select '<' from t")),
            "<View alias=\"v\">\n"
            "  <SQL dialect=\"generic\">select '&lt;' from t</SQL>\n"
            "</View>\n");
}

}  // namespace
}  // namespace importkcd
