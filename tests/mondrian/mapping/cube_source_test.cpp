#include "mondrian/mapping/cube_source.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

constexpr auto sql_server = DatabaseKind::sql_server;

std::string source_refusal(const std::string& fact, const std::string& from,
                           const std::string& join) {
  return testing::reason_of([&] { cube_source(sql_server, fact, from, join); });
}

TEST(CubeSource, TheFactTableIsTheOneOfTheFromClause) {
  for (const auto* fact : {"\"sales\"", "dbo.sales", "[SALES]", "s"}) {
    EXPECT_EQ(cube_source(sql_server, fact, "dbo.sales s, store", "s.id = store.id").fact,
              (SourceTable{{"dbo"}, "sales", "s"}))
        << fact;
  }
}

TEST(CubeSource, AFactTableThatTheFromClauseLacksIsAdded) {
  const auto source = cube_source(sql_server, "sales", "store", "sales.id = store.id");
  EXPECT_EQ(source.fact, (SourceTable{{}, "sales", "sales"}));
}

TEST(CubeSource, AnEmptyFromClauseIsTheFactTable) {
  const auto source = cube_source(sql_server, "dbo.sales", "", "");
  ASSERT_TRUE(source.graph);
  EXPECT_EQ(from_and_where(*source.graph), "\"dbo\".\"sales\"");
}

TEST(CubeSource, ClausesThatAreNoGraphAreTakenAsTheyStand) {
  const auto source = cube_source(
      sql_server, "sales", "[sales] LEFT JOIN store ON sales.id = store.id", "sales.qty > 1");
  EXPECT_FALSE(source.graph);
  EXPECT_EQ(source.from_text, "\"sales\" LEFT JOIN store ON sales.id = store.id");
  EXPECT_EQ(source.join_text, "sales.qty > 1");
  EXPECT_EQ(cube_source(sql_server, "[a b]", "", "x > 1").from_text, "\"a b\"");
}

TEST(CubeSource, AGraphIsWrittenAsAListWithConditions) {
  const auto source = cube_source(DatabaseKind::mariadb, "f", "f JOIN a x ON f.i = x.i", "");
  EXPECT_EQ(from_and_where(*source.graph), "`f`, `a` as `x` where `f`.`i` = `x`.`i`");
  EXPECT_EQ(from_and_where(*source.graph, "1 = 1"),
            "`f`, `a` as `x` where `f`.`i` = `x`.`i` and 1 = 1");
}

TEST(CubeSource, WhatNoDatabaseCouldAnswerIsAnErrorThatTellsTheClause) {
  EXPECT_EQ(source_refusal("(select 1)", "f", ""), "the fact table (select 1) is no table");
  EXPECT_EQ(source_refusal("f, g", "f", ""), "the fact table f, g is no table");
  EXPECT_EQ(source_refusal("f", "f, \"a", ""), "a quote is not closed in the clause f, \"a");
  EXPECT_EQ(
      source_refusal("f", "f, a", "f.x *= a.x"),
      "the clause f.x *= a.x holds an outer join in the old form (*= or =*); write LEFT OUTER "
      "JOIN in the from clause");
  EXPECT_EQ(source_refusal("f", "f", "f.x = \"dbo\".\"a\".x"),
            "the join clause names \"dbo\".\"a\".x, whose table is not in the from clause: f");
}

}  // namespace
}  // namespace importkcd
