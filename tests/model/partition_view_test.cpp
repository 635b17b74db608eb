#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/olap_database.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

OlapLevel level(const std::string& name, const std::string& key, bool disabled = false) {
  OlapLevel result;
  result.name = name;
  result.member_key_column = key;
  result.disabled = disabled;
  return result;
}

OlapCube sales_cube() {
  OlapCube cube;
  cube.name = "Sales";
  auto& time = cube.dimensions.add({"Time", {}});
  time.levels.add(level("Year", "t.year"));
  time.levels.add(level("Day", "t.day", true));
  auto& store = cube.dimensions.add({"Store", {}});
  store.levels.add(level("City", "s.city"));
  return cube;
}

OlapPartition sliced(const std::string& dimension, const OlapPartitionLevel& slice) {
  OlapPartition partition;
  partition.name = "Sales";
  partition.slices.add({dimension, {}}).levels.add(slice);
  return partition;
}

TEST(PartitionView, WithoutSlicesShowsTheLevelsOfTheCube) {
  EXPECT_THAT(partition_dimensions(sales_cube(), OlapPartition{}),
              ElementsAre(
                  PartitionDimensionView{
                      "Time", {{"Year", false, "t.year", ""}, {"Day", true, "t.day", ""}}},
                  PartitionDimensionView{"Store", {{"City", false, "s.city", ""}}}));
}

TEST(PartitionView, ASliceGivesKeyColumnAndValueOfItsLevelOnly) {
  EXPECT_THAT(partition_dimensions(sales_cube(), sliced("Time", {"Year", "p.year", "2023"})),
              ElementsAre(
                  PartitionDimensionView{
                      "Time", {{"Year", false, "p.year", "2023"}, {"Day", true, "t.day", ""}}},
                  PartitionDimensionView{"Store", {{"City", false, "s.city", ""}}}));
}

TEST(PartitionView, ASliceWithoutValueStillReplacesTheKeyColumn) {
  const auto view = partition_dimensions(sales_cube(), sliced("Store", {"City", "", ""}));
  EXPECT_EQ(view.at(1), (PartitionDimensionView{"Store", {{"City", false, "", ""}}}));
}

TEST(PartitionView, SlicesAreFoundWhateverTheLetterCaseAndKeepTheNamesOfTheCube) {
  const auto view = partition_dimensions(sales_cube(), sliced("TIME", {"yEAR", "p.year", "2023"}));
  EXPECT_EQ(view.at(0).name, "Time");
  EXPECT_EQ(view.at(0).levels.at(0), (PartitionLevelView{"Year", false, "p.year", "2023"}));
}

TEST(PartitionView, SlicesOfWhatTheCubeDoesNotHaveAreLeftOut) {
  const auto cube = sales_cube();
  const auto plain = partition_dimensions(cube, OlapPartition{});
  EXPECT_EQ(partition_dimensions(cube, sliced("Customer", {"Name", "c.name", "x"})), plain);
  EXPECT_EQ(partition_dimensions(cube, sliced("Time", {"Week", "t.week", "7"})), plain);
}

TEST(PartitionView, ACubeWithoutDimensionsHasNone) {
  EXPECT_THAT(partition_dimensions(OlapCube{}, sliced("Time", {"Year", "k", "1"})), IsEmpty());
}

}  // namespace
}  // namespace importkcd
