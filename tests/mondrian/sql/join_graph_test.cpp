#include "mondrian/sql/join_graph.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The graph as text: tables with their aliases, then equalities, one per line.
std::string graph(std::string_view from, std::string_view join,
                  DatabaseKind kind = DatabaseKind::sql_server) {
  const auto parsed = parse_join_graph(from, join, kind);
  if (!parsed) {
    return "nothing";
  }
  std::string result;
  for (const auto& table : parsed->tables) {
    for (const auto& qualifier : table.qualifiers) {
      result += qualifier + ".";
    }
    result += table.name + " as " + table.alias + "\n";
  }
  for (const auto& equality : parsed->equalities) {
    result += equality.left.table + "." + equality.left.column + " = " + equality.right.table +
              "." + equality.right.column + "\n";
  }
  return result;
}

const std::string sales_and_store =
    "sales as sales\nstore as store\nsales.store_id = store.store_id\n";

TEST(JoinGraph, OneTableIsAGraph) {
  EXPECT_EQ(graph("\"sales\"", ""), "sales as sales\n");
  EXPECT_EQ(graph("", ""), "");
}

TEST(JoinGraph, TablesMayBeListedWithTheirEqualitiesInTheJoinClause) {
  EXPECT_EQ(graph("\"sales\", \"store\"", "\"sales\".\"store_id\" = \"store\".\"store_id\""),
            sales_and_store);
}

TEST(JoinGraph, NamesMayBeInBracketsBackticksOrBare) {
  EXPECT_EQ(graph("[sales],[store]", "[sales].[store_id]=[store].[store_id]"), sales_and_store);
  EXPECT_EQ(graph("`sales`,`store`", "`sales`.`store_id`=`store`.`store_id`"), sales_and_store);
  EXPECT_EQ(graph("sales, store", "sales.store_id=store.store_id"), sales_and_store);
}

TEST(JoinGraph, InnerJoinsMeanTheSameAsAList) {
  EXPECT_EQ(graph("sales INNER JOIN store ON sales.store_id = store.store_id", ""),
            sales_and_store);
  EXPECT_EQ(graph("(sales join (store) on (sales.store_id = store.store_id))", ""),
            sales_and_store);
  EXPECT_EQ(graph("sales cross join store", "sales.store_id = store.store_id"), sales_and_store);
}

TEST(JoinGraph, NestedJoinsAndAListGoTogether) {
  EXPECT_EQ(graph("f JOIN (a JOIN b ON a.x = b.x) ON f.y = a.y, c", "f.z = c.z"),
            "f as f\na as a\nb as b\nc as c\na.x = b.x\nf.y = a.y\nf.z = c.z\n");
}

TEST(JoinGraph, ParenthesesAroundConditionsAndColumnsDoNotCount) {
  EXPECT_EQ(graph("f, a, b", "((f.x = a.x) AND ((f.y) = ((b.y))))"),
            "f as f\na as a\nb as b\nf.x = a.x\nf.y = b.y\n");
  EXPECT_EQ(graph("f, a, b, c", "(f.x = a.x and (f.y = b.y)) And (f.z = c.z)"),
            "f as f\na as a\nb as b\nc as c\nf.x = a.x\nf.y = b.y\nf.z = c.z\n");
}

TEST(JoinGraph, ParenthesesWithoutEndAreNoGraph) {
  const std::string many(100'000, '(');
  EXPECT_EQ(graph("f, a", many + "f.x = a.x" + std::string(100'000, ')')), "nothing");
  EXPECT_EQ(graph("f, a", many), "nothing");
  EXPECT_EQ(graph(many + "f" + std::string(100'000, ')'), ""), "nothing");
  EXPECT_EQ(graph("f, a", "f.x = " + many), "nothing");
}

TEST(JoinGraph, AnEqualitySaidTwiceIsOne) {
  EXPECT_EQ(graph("f, a", "f.x = a.x AND a.x = f.x AND f.x = a.x"), "f as f\na as a\nf.x = a.x\n");
}

TEST(JoinGraph, SchemasBelongToTheirTables) {
  EXPECT_EQ(graph("\"dbo\".\"sales\", dw.dbo.store",
                  "\"dbo\".\"sales\".\"store_id\" = \"dw\".\"dbo\".\"store\".\"store_id\""),
            "dbo.sales as sales\ndw.dbo.store as store\nsales.store_id = store.store_id\n");
}

TEST(JoinGraph, AColumnMayLeaveOutTheSchemaOfItsTable) {
  EXPECT_EQ(graph("dbo.sales, store", "sales.store_id = dbo.store.store_id"),
            "dbo.sales as sales\nstore as store\nsales.store_id = store.store_id\n");
}

TEST(JoinGraph, AliasesStandWithAndWithoutAs) {
  EXPECT_EQ(graph("sales s, store AS \"Shop\", customer [c 2]",
                  "s.store_id = Shop.id AND s.customer_id = \"c 2\".id"),
            "sales as s\nstore as Shop\ncustomer as c 2\ns.store_id = Shop.id\n"
            "s.customer_id = c 2.id\n");
}

TEST(JoinGraph, OneTableMayBeThereTwiceUnderTwoAliases) {
  EXPECT_EQ(graph("sales, customer ship, customer bill",
                  "sales.ship_to = ship.id AND sales.bill_to = bill.id"),
            "sales as sales\ncustomer as ship\ncustomer as bill\nsales.ship_to = ship.id\n"
            "sales.bill_to = bill.id\n");
}

TEST(JoinGraph, AColumnMayNameATableThatHasAnAliasWhenThereIsOneOfThem) {
  EXPECT_EQ(graph("sales s, store", "sales.store_id = store.store_id"),
            "sales as s\nstore as store\ns.store_id = store.store_id\n");
  EXPECT_EQ(graph("sales, customer a, customer b", "sales.x = customer.x"), "nothing");
}

TEST(JoinGraph, LetterCaseOfNamesCountsWhereItDoesForTheDatabase) {
  EXPECT_EQ(graph("\"Sales\", \"STORE\"", "sales.Store_Id = \"store\".\"ID\""),
            "Sales as Sales\nSTORE as STORE\nSales.Store_Id = STORE.ID\n");
  EXPECT_EQ(graph("\"Sales\", \"store\"", "\"sales\".x = store.x", DatabaseKind::postgresql),
            "nothing");
  EXPECT_EQ(graph("\"sales\", Store", "SALES.X = \"store\".\"x\"", DatabaseKind::postgresql),
            "sales as sales\nstore as store\nsales.x = store.x\n");
  EXPECT_EQ(graph("dw.sales, \"DW\".\"STORE\"", "sales.id = store.id", DatabaseKind::upper_case),
            "DW.SALES as SALES\nDW.STORE as STORE\nSALES.ID = STORE.ID\n");
}

TEST(JoinGraph, WhatIsMoreThanEqualitiesIsNone) {
  for (const auto* condition :
       {"f.x = a.x OR f.y = a.y", "f.x = 1", "f.x = a.x + 1", "f.x < a.x", "f.x *= a.x",
        "f.x = a.x AND", "x = a.x", "(f.x = a.x", "f.x = a.x)", "f.x = f.y", "f.x = b.x",
        "f.x = upper(a.x)", "NOT f.x = a.x", "f.x = a.x;"}) {
    EXPECT_EQ(graph("f, a", condition), "nothing") << condition;
  }
}

TEST(JoinGraph, WhatIsMoreThanTablesIsNone) {
  for (const auto* from :
       {"f LEFT JOIN a ON f.x = a.x", "f LEFT OUTER JOIN a ON f.x = a.x", "f NATURAL JOIN a",
        "(SELECT * FROM a) f", "f,", "f JOIN a", "f JOIN a USING (x)", "f AS", "f, f",
        "dbo.f, other.f", "f a, g A", "f(1)", "\"f", "f FULL JOIN a ON f.x = a.x", "db..f"}) {
    EXPECT_EQ(graph(from, ""), "nothing") << from;
  }
}

TEST(JoinGraph, TheShortestWayLeadsOverTheEqualities) {
  const auto parsed =
      parse_join_graph("f, a, b, c, d", "f.x = a.x AND a.y = b.y AND b.z = c.z AND f.w = c.w",
                       DatabaseKind::sql_server);
  ASSERT_TRUE(parsed);
  EXPECT_THAT(parsed->way("f", {"b"}), ElementsAre("f", "a", "b"));
  EXPECT_THAT(parsed->way("f", {"c"}), ElementsAre("f", "c"));
  EXPECT_THAT(parsed->way("f", {"f", "a"}), ElementsAre("f"));
  EXPECT_THAT(parsed->way("f", {"d"}), IsEmpty());
  EXPECT_FALSE(parsed->is_connected());
  EXPECT_TRUE(parsed->part({"f", "a", "b"}).is_connected());
  EXPECT_FALSE(parsed->part({"f", "b"}).is_connected());
}

TEST(JoinGraph, EqualitiesBetweenTwoSidesHaveTheLeftSideFirst) {
  const auto parsed =
      parse_join_graph("f, a, b", "a.x = f.x AND f.y = b.y AND a.z = b.z", DatabaseKind::unknown);
  ASSERT_TRUE(parsed);
  EXPECT_THAT(
      parsed->between({"f"}, {"a", "b"}),
      ElementsAre(JoinEquality{{"f", "x"}, {"a", "x"}}, JoinEquality{{"f", "y"}, {"b", "y"}}));
}

TEST(JoinGraph, ARenamedTableKeepsItsEqualities) {
  auto parsed = *parse_join_graph("f, a", "f.x = a.x", DatabaseKind::unknown);
  parsed.rename("a", "shop");
  EXPECT_EQ(*parsed.find("shop"), (SourceTable{{}, "a", "shop"}));
  EXPECT_EQ(parsed.find("a"), nullptr);
  EXPECT_THAT(parsed.equalities, ElementsAre(JoinEquality{{"f", "x"}, {"shop", "x"}}));
}

}  // namespace
}  // namespace importkcd
