#include "comparison/differences.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <class Object>
std::vector<std::string> texts(const Object& before, const Object& after) {
  std::vector<std::string> result;
  for (const auto& difference : compare(before, after)) {
    result.push_back(text_of(difference));
  }
  return result;
}

OlapDimension article() {
  OlapDimension dimension;
  dimension.name = "Article";
  dimension.custom_properties.put({"SchemaLayout", "star"});
  auto& level = dimension.levels.add_new("Category");
  level.member_key_column = R"("c"."cat")";
  level.member_properties.add_new("Color").caption = "Color";
  dimension.levels.add_new("Product");
  return dimension;
}

OlapCube orders() {
  OlapCube cube;
  cube.name = "Orders";
  cube.estimated_rows = 1000;
  auto& dimension = cube.dimensions.add_new("Article");
  dimension.levels = article().levels;
  cube.measures.add_new("Revenue").source_column = "amount";
  cube.measures.add_new("Count");
  cube.calculated_members.add({"Share", "1"});
  cube.roles.add_new("Web").permissions.put({"Access", "R"});
  auto& partition = cube.partitions.add_new("Orders");
  partition.slices.add_new("Article").levels.add({"Category", "c", "Food"});
  return cube;
}

TEST(Differences, EqualObjectsHaveNone) {
  EXPECT_THAT(texts(article(), article()), IsEmpty());
  EXPECT_THAT(texts(orders(), orders()), IsEmpty());
  const auto cube = orders();
  EXPECT_THAT(texts(cube, cube), IsEmpty());
}

TEST(Differences, AChangedPropertyIsToldWithBothValues) {
  auto changed = article();
  changed.description = "What is sold";
  changed.type = OlapDimensionType::time;
  changed.allow_siblings_with_same_name = true;
  EXPECT_THAT(texts(article(), changed),
              ElementsAre("description (empty) -> What is sold", "type regular -> time",
                          "allow_siblings_with_same_name false -> true"));
}

TEST(Differences, APartIsFoundByItsPath) {
  auto changed = article();
  auto& level = *changed.levels.edit("Category");
  level.member_key_column = R"("c"."category_id")";
  level.type = OlapLevelType::time_years;
  level.ordering = OlapOrdering::key;
  level.member_properties.edit("Color")->caption = "Colour";
  EXPECT_THAT(texts(article(), changed),
              ElementsAre("level 'Category': type regular -> time_years",
                          R"(level 'Category': member_key_column "c"."cat" -> "c"."category_id")",
                          "level 'Category': ordering name -> key",
                          "level 'Category' > member property 'Color': caption Color -> Colour"));
}

TEST(Differences, APropertyWithANameOfItsOwnNeedsNoOther) {
  auto changed = article();
  changed.custom_properties.put({"SchemaLayout", "snowflake"});
  EXPECT_THAT(texts(article(), changed),
              ElementsAre("custom property 'SchemaLayout': star -> snowflake"));
}

TEST(Differences, PartsComeAndGo) {
  auto changed = orders();
  changed.measures.remove("Revenue");
  changed.measures.add_new("Profit");
  changed.dimensions.edit("Article")->levels.remove("Product");
  EXPECT_THAT(texts(orders(), changed),
              ElementsAre("dimension 'Article' > level 'Product' removed",
                          "measure 'Revenue' removed", "measure 'Profit' added"));
}

TEST(Differences, TheOrderOfPartsIsContent) {
  auto changed = orders();
  changed.measures.remove("Revenue");
  changed.measures.add_new("Profit");
  *changed.measures.edit("Profit") = {};
  changed.measures = {};
  changed.measures.add_new("Count");
  changed.measures.add_new("Revenue").source_column = "amount";
  EXPECT_THAT(texts(orders(), changed),
              ElementsAre("order of measures Revenue, Count -> Count, Revenue"));
  changed.measures.add_new("Profit");
  EXPECT_THAT(
      texts(orders(), changed),
      ElementsAre("measure 'Profit' added", "order of measures Revenue, Count -> Count, Revenue"));
}

TEST(Differences, APartThatComesInBetweenIsNoOtherOrder) {
  auto changed = orders();
  changed.measures = {};
  changed.measures.add_new("Revenue").source_column = "amount";
  changed.measures.add_new("Profit");
  changed.measures.add_new("Count");
  EXPECT_THAT(texts(orders(), changed), ElementsAre("measure 'Profit' added"));
  EXPECT_THAT(texts(changed, orders()), ElementsAre("measure 'Profit' removed"));
}

TEST(Differences, TheLetterCaseOfANameIsContent) {
  auto changed = orders();
  changed.measures.edit("count")->name = "COUNT";
  EXPECT_THAT(texts(orders(), changed), ElementsAre("measure 'Count': name Count -> COUNT"));
}

TEST(Differences, EveryCollectionOfACubeIsCompared) {
  auto changed = orders();
  changed.kind = OlapCubeKind::is_virtual;
  changed.olap_mode = OlapMode::rolap;
  changed.estimated_rows = 1.5e300;
  changed.custom_properties.put({"SchemaLayout", "star"});
  changed.measures.edit("Revenue")->aggregate_function = OlapAggregateFunction::max;
  changed.calculated_members.edit("Share")->statement = "2";
  changed.roles.edit("Web")->permissions.put({"Access", "RW"});
  auto& partition = *changed.partitions.edit("Orders");
  partition.follows_cube = true;
  partition.slices.edit("Article")->levels.edit("Category")->slice_value = "Drink";
  EXPECT_THAT(
      texts(orders(), changed),
      ElementsAre("kind regular -> virtual", "olap_mode olapmodeMolapIndex -> olapmodeRolap",
                  "estimated_rows 1000 -> 1.5e+300", "custom property 'SchemaLayout' added",
                  "measure 'Revenue': aggregate_function sum -> max",
                  "calculated member 'Share': statement 1 -> 2",
                  "role 'Web' > permission 'Access': R -> RW",
                  "partition 'Orders': follows_cube false -> true",
                  "partition 'Orders' > dimension 'Article' > level 'Category': slice_value Food "
                  "-> Drink"));
}

TEST(Differences, ACodeWithoutAWordIsItsNumber) {
  auto changed = article();
  changed.type = static_cast<OlapDimensionType>(77);
  EXPECT_THAT(texts(article(), changed), ElementsAre("type regular -> 77"));
}

TEST(Differences, TheSignOfZeroIsContent) {
  auto before = orders();
  before.estimated_rows = 0.0;
  auto after = before;
  EXPECT_THAT(texts(before, after), IsEmpty());
  after.estimated_rows = -0.0;
  EXPECT_THAT(texts(before, after), ElementsAre("estimated_rows 0 -> -0"));
}

TEST(Differences, PasswordsAreMasked) {
  const OlapDataSource before{"DW", "Data Source=a;Password=first", ""};
  EXPECT_THAT(texts(before, OlapDataSource{"DW", "Data Source=b;Password=second", ""}),
              ElementsAre("connection_string Data Source=a;Password=*** -> "
                          "Data Source=b;Password=***"));
}

TEST(Differences, AChangedPasswordIsToldWithoutEither) {
  const OlapDataSource before{"DW", "Data Source=a;Password=first", ""};
  EXPECT_THAT(texts(before, OlapDataSource{"DW", "Data Source=a;Password=second", ""}),
              ElementsAre("connection_string password changed"));
}

TEST(Differences, RolesOfADatabaseAreCompared) {
  EXPECT_THAT(texts(OlapRole{"Web", "", "anna", {}}, OlapRole{"Web", "", "anna,ben", {}}),
              ElementsAre("user_list anna -> anna,ben"));
}

TEST(Differences, ASummaryCountsPartsAndNamesProperties) {
  auto changed = orders();
  changed.description = "What was ordered";
  changed.measures.edit("Revenue")->format = "0";
  changed.measures.edit("Revenue")->description = "Money";
  changed.measures.remove("Count");
  changed.dimensions.edit("Article")->levels.edit("Category")->disabled = true;
  EXPECT_EQ(summary_of(compare(orders(), changed)), "1 dimension, 2 measures, description");
  EXPECT_EQ(summary_of({}), "");
}

}  // namespace
}  // namespace importkcd
