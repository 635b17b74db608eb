#include "mondrian/mapping/dimension_plan.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using testing::all_level;
using testing::level;
using Place = DimensionPlan::Place;

class DimensionPlanTest : public testing::MappingTest {
 protected:
  static CubeSource source(const std::string& from, const std::string& join) {
    return cube_source(DatabaseKind::sql_server, "sales", from, join);
  }

  DimensionPlan plan(const std::string& from, const std::vector<OlapLevel>& levels,
                     const CubeSource& of_cube, const std::string& join = {}) {
    database.dimensions().remove("D");
    const auto& dimension = add_dimension("D", from, levels, join);
    return plan_dimension(dimension, dimension.levels, of_cube);
  }

  /// The columns that tie a dimension.
  static std::string tie(const DimensionPlan& plan) {
    return plan.foreign_key.table + "." + plan.foreign_key.column + " = " + plan.primary_key.table +
           "." + plan.primary_key.column;
  }
};

TEST_F(DimensionPlanTest, TheAllLevelStandsApart) {
  const auto of_cube = source("sales, store", "sales.id = store.id");
  const auto found = plan("store", {all_level(), level("City", "store.city")}, of_cube);
  ASSERT_NE(found.all, nullptr);
  EXPECT_EQ(found.levels.size(), 1U);
  EXPECT_EQ(found.place, Place::own_tables);
  EXPECT_TRUE(found.is_unchanged);
}

TEST_F(DimensionPlanTest, ADimensionSpeaksOfTablesByTheCubesAliases) {
  const auto of_cube = source("sales, dbo.store s", "sales.id = s.id");
  const auto found = plan("dbo.store", {level("City", "dbo.store.city")}, of_cube);
  EXPECT_EQ(tie(found), "sales.id = s.id");
  EXPECT_EQ(found.graph->tables.at(0), (SourceTable{{"dbo"}, "store", "s"}));
}

TEST_F(DimensionPlanTest, AnEqualityOfTheDimensionsOwnClauseTiesItToo) {
  const auto found = plan("sales, store", {level("City", "store.city")}, source("sales", ""),
                          "sales.id = store.id");
  EXPECT_EQ(found.place, Place::own_tables);
  EXPECT_EQ(tie(found), "sales.id = store.id");
}

TEST_F(DimensionPlanTest, WithoutAFromClauseTheTablesAreTheCubes) {
  const auto of_cube = source("sales, store, region", "sales.id = store.id AND store.r = region.r");
  const auto found = plan("", {level("Region", "region.name")}, of_cube);
  EXPECT_EQ(tie(found), "sales.id = store.id");
  EXPECT_EQ(found.graph->tables.size(), 2U);
  EXPECT_EQ(plan("", {level("No", "order_no")}, of_cube).place, Place::fact_table);
}

TEST_F(DimensionPlanTest, AClauseThatIsNoListIsKeptWhenTheCubeTellsTheKey) {
  const auto found =
      plan("store LEFT JOIN region ON store.r = region.r", {level("City", "store.city")},
           source("sales, store", "sales.id = store.id"));
  EXPECT_EQ(found.place, Place::own_tables);
  EXPECT_FALSE(found.graph);
  EXPECT_EQ(tie(found), "sales.id = store.id");
}

TEST_F(DimensionPlanTest, ValuesOfFactsAndOtherTablesComeWithTheFacts) {
  const auto of_cube = source("sales, store", "sales.id = store.id");
  EXPECT_EQ(
      plan("sales, store", {level("City", "store.city"), level("No", "sales.no")}, of_cube).place,
      Place::fact_view);
  EXPECT_EQ(
      plan("store", {level("City", "store.city")}, source("sales LEFT JOIN store ON 1 = 1", ""))
          .place,
      Place::fact_view);
}

TEST_F(DimensionPlanTest, WhatCannotBeTiedTellsTheClause) {
  const auto reason = [&](const std::string& from, const std::string& key) {
    return testing::reason_of(
        [&] { plan(from, {level("City", key)}, source("sales, store", "")); });
  };
  EXPECT_EQ(reason("store", "store.city"),
            "no equality ties its tables store to the fact table in the cube's join clause");
  EXPECT_EQ(reason("(select 1) x", "city"),
            "its levels name no table, and its from clause is no list of tables: (select 1) x");
  EXPECT_EQ(reason("shop", "upper(town.city)"),
            "level 'City' names town.city, whose table is in no from clause: shop");
}

}  // namespace
}  // namespace importkcd
