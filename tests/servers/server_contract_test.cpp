#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/servers/server_contract_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

/// What holds besides for servers that let one run at a time work on a database.
class HoldingServerContract : public ServerContract {};

TEST_P(ServerContract, IsAServerOfVersion8) {
  EXPECT_EQ(server().class_type(), OlapClassType::server);
  EXPECT_EQ(server().version(), "8.0");
}

TEST_P(ServerContract, AWrittenBackDatabaseExistsAfterTheRun) {
  auto& database = server().add_database("Retail");
  database.description = "Shops";
  server().write_back_database(database);
  store();
  EXPECT_THAT(database_names(), ElementsAre("Retail"));
  EXPECT_EQ(open().description, "Shops");
}

TEST_P(ServerContract, ADatabaseThatWasNotWrittenBackIsLost) {
  server().add_database("Retail");
  store();
  EXPECT_THAT(database_names(), IsEmpty());
}

TEST_P(ServerContract, ARunWithoutFinishLeavesNothing) {
  new_database();
  next_run();
  EXPECT_THAT(database_names(), IsEmpty());
}

TEST_P(ServerContract, DatabasesKeepTheOrderInWhichTheyWereAdded) {
  new_database("B");
  new_database("a");
  store();
  new_database("C");
  EXPECT_THAT(database_names(), ElementsAre("B", "a", "C"));
  store();
  EXPECT_THAT(database_names(), ElementsAre("B", "a", "C"));
}

TEST_P(ServerContract, DatabaseNamesDifferInMoreThanLetterCase) {
  new_database("Überblick");
  store();
  EXPECT_THAT([&] { server().add_database("ÜBERBLICK"); },
              ThrowsMessage<ImportError>(HasSubstr("'ÜBERBLICK' already exists")));
  EXPECT_EQ(open("überblick").name(), "überblick");
}

TEST_P(ServerContract, ADatabaseNeedsAName) {
  EXPECT_THAT([&] { server().add_database(""); },
              ThrowsMessage<ImportError>(HasSubstr("an object must have a name")));
}

TEST_P(ServerContract, ARemovedDatabaseIsGoneAtOnceAndLeavesWithFinish) {
  store_small_database();
  server().remove_database("Retail");
  EXPECT_THAT(database_names(), IsEmpty());
  EXPECT_THAT([&] { open(); },
              ThrowsMessage<ImportError>(HasSubstr("database 'Retail' not found")));
  EXPECT_THAT(another_run()->stored_objects(), ::testing::SizeIs(1));
  store();
  EXPECT_THAT(database_names(), IsEmpty());
}

TEST_P(ServerContract, ARemovedDatabaseMayBeAddedAnewInTheSameRun) {
  store_small_database();
  server().remove_database("Retail");
  auto& database = new_database();
  EXPECT_FALSE(database.cubes().contains("Sales"));
  store();
  EXPECT_THAT(open().cubes().names(), IsEmpty());
  EXPECT_THAT(open().dimensions().names(), IsEmpty());
}

TEST_P(ServerContract, ADatabaseThatWasAddedAnewMayBeRemovedToo) {
  store_small_database();
  server().remove_database("Retail");
  new_database();
  server().remove_database("Retail");
  store();
  EXPECT_THAT(database_names(), IsEmpty());
}

TEST_P(ServerContract, RemovingADatabaseThatIsNotThereFails) {
  EXPECT_THAT([&] { server().remove_database("Retail"); },
              ThrowsMessage<ImportError>(HasSubstr("database 'Retail' not found")));
}

TEST_P(ServerContract, AnObjectThatWasNotWrittenBackIsLost) {
  auto& database = new_database();
  database.data_sources().add({"Warehouse", "Provider=P", ""});
  store();
  EXPECT_FALSE(open().data_sources().contains("Warehouse"));
}

TEST_P(ServerContract, AWriteBackCountsAsTheObjectStoodThen) {
  auto& database = new_database();
  auto& source = database.data_sources().add({"Warehouse", "Provider=P", "first"});
  server().write_back_data_source(database, source);
  source.description = "second";
  store();
  EXPECT_EQ(open().data_sources().find("warehouse")->description, "first");
}

TEST_P(ServerContract, AChangedObjectKeepsItsPlace) {
  auto& database = new_database();
  for (const auto* name : {"One", "Two"}) {
    server().write_back_data_source(database, database.data_sources().add({name, "", ""}));
  }
  store();
  auto& changed = *open().data_sources().edit("one");
  changed.description = "changed";
  server().write_back_data_source(open(), changed);
  store();
  EXPECT_THAT(open().data_sources().names(), ElementsAre("One", "Two"));
  EXPECT_EQ(open().data_sources().find("One")->description, "changed");
}

TEST_P(ServerContract, ASecondObjectOfANameIsRefused) {
  auto& database = new_database();
  add_dimension(database, "Time");
  store();
  try {
    open().dimensions().add_new("TIME");
    FAIL() << "two dimensions of one name";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(), "'TIME' already exists");
    EXPECT_EQ(error.source(), "OLAP server");
  }
}

TEST_P(ServerContract, RolesTakeEffectWithoutAWriteBack) {
  auto& database = new_database();
  database.roles().add({"Readers", "", "everyone", {}});
  store();
  open().roles().edit("readers")->user_list = "nobody";
  store();
  EXPECT_EQ(open().roles().find("Readers")->user_list, "nobody");
}

TEST_P(ServerContract, ACubeComesWithAPartitionOfItsNameThatFollowsIt) {
  auto& database = new_database();
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  cube.fact_table = "sales";
  cube.olap_mode = OlapMode::rolap;
  server().write_back_cube(database, cube);
  store();
  const auto& partitions = open().cubes().find("Sales")->partitions;
  ASSERT_EQ(partitions.size(), 1U);
  EXPECT_EQ(partitions[0].name, "Sales");
  EXPECT_EQ(partitions[0].fact_table, "sales");
  EXPECT_EQ(partitions[0].olap_mode, OlapMode::rolap);
}

TEST_P(ServerContract, AWrittenPartitionNoLongerFollowsTheCube) {
  store_small_database();
  auto& cube = *open().cubes().edit("Sales");
  server().write_back_cube(open(), cube);
  auto& partition = *cube.partitions.edit("Sales");
  partition.fact_table = "sales_2026";
  server().write_back_partition(open(), cube, partition);
  cube.fact_table = "all_sales";
  server().write_back_cube(open(), cube);
  store();
  EXPECT_EQ(open().cubes().find("Sales")->partitions[0].fact_table, "sales_2026");
  EXPECT_EQ(open().cubes().find("Sales")->fact_table, "all_sales");
}

TEST_P(ServerContract, APartitionIsWrittenBackWithoutTheRestOfItsCube) {
  store_small_database();
  auto& cube = *open().cubes().edit("Sales");
  server().write_back_cube(open(), cube);
  cube.measures.add_new("Amount");
  server().write_back_partition(open(), cube, cube.partitions.add_new("Old"));
  store();
  EXPECT_TRUE(open().cubes().find("Sales")->partitions.contains("Old"));
  EXPECT_TRUE(open().cubes().find("Sales")->measures.empty());
}

TEST_P(ServerContract, APartitionNeedsAWrittenBackCube) {
  auto& database = new_database();
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  EXPECT_THAT(
      [&] { server().write_back_partition(database, cube, *cube.partitions.edit("Sales")); },
      ThrowsMessage<ImportError>(
          HasSubstr("cube 'Sales' was not written back before its partition")));
}

TEST_P(ServerContract, ARegularCubeWithoutPartitionsGetsItsOwnAgain) {
  store_small_database();
  auto& cube = *open().cubes().edit("Sales");
  server().remove_first(open(), cube, OlapCubeContent::partitions);
  EXPECT_TRUE(cube.partitions.empty());
  server().write_back_cube(open(), cube);
  EXPECT_TRUE(cube.partitions.contains("Sales"));
}

TEST_P(ServerContract, AVirtualCubeHasNoPartitionAndIsWrittenBackWithItsDatabase) {
  auto& database = new_database();
  database.add_cube("All", OlapCubeKind::is_virtual);
  database.add_cube("Canceled", OlapCubeKind::regular);
  server().write_back_database(database);
  store();
  EXPECT_THAT(open().cubes().names(), ElementsAre("All"));
  EXPECT_TRUE(open().cubes().find("All")->partitions.empty());
}

TEST_P(ServerContract, ANewCubeTakesThePlaceOfTheOneOfItsName) {
  store_small_database();
  server().write_back_cube(open(), open().add_cube("Other", OlapCubeKind::regular));
  store();
  server().write_back_cube(open(), open().add_cube("SALES", OlapCubeKind::regular));
  store();
  EXPECT_THAT(open().cubes().names(), ElementsAre("SALES", "Other"));
  EXPECT_TRUE(open().cubes().find("Sales")->dimensions.empty());
}

TEST_P(ServerContract, ACubeDimensionHasItsOwnCopyOfTheLevels) {
  store_small_database();
  auto& cube = *open().cubes().edit("Sales");
  cube.dimensions.edit("Time")->levels.edit("Level of Time")->disabled = true;
  server().write_back_cube(open(), cube);
  store();
  EXPECT_TRUE(open().cubes().find("Sales")->dimensions[0].levels[0].disabled);
  EXPECT_EQ(open().cubes().find("Sales")->dimensions[0].levels[0].member_key_column, "key");
  EXPECT_FALSE(open().dimensions().find("Time")->levels[0].disabled);
}

TEST_P(ServerContract, ACubeDimensionMustNameADimensionOfTheDatabase) {
  auto& database = new_database();
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  EXPECT_THAT([&] { database.add_cube_dimension(cube, "Time"); },
              ThrowsMessage<ImportError>(HasSubstr("dimension 'Time' not found")));
}

TEST_P(ServerContract, ADimensionIsLockedWhileACubeUsesIt) {
  store_small_database();
  const auto& time = *open().dimensions().find("Time");
  EXPECT_THAT([&] { server().lock_dimension(open(), time); },
              ThrowsMessage<ImportError>(HasSubstr("dimension 'Time' is used in a cube")));
  auto& cube = *open().cubes().edit("Sales");
  server().remove_first(open(), cube, OlapCubeContent::dimensions);
  server().write_back_cube(open(), cube);
  store();
  EXPECT_NO_THROW(server().lock_dimension(open(), *open().dimensions().find("Time")));
}

TEST_P(ServerContract, ADimensionIsLockedByACubeOfTheSameRun) {
  auto& database = new_database();
  const auto& time = add_dimension(database, "Time");
  EXPECT_NO_THROW(server().lock_dimension(database, time));
  database.add_cube_dimension(database.add_cube("Sales", OlapCubeKind::regular), "Time");
  EXPECT_THAT([&] { server().lock_dimension(database, time); },
              ThrowsMessage<ImportError>(HasSubstr("dimension 'Time' is used in a cube")));
}

TEST_P(ServerContract, AVirtualCubeLocksTheLevelsOnly) {
  auto& database = new_database();
  add_dimension(database, "Time");
  database.add_cube_dimension(database.add_cube("All", OlapCubeKind::is_virtual), "Time");
  server().write_back_database(database);
  store();
  const auto& time = *open().dimensions().find("Time");
  EXPECT_NO_THROW(server().lock_dimension(open(), time));
  EXPECT_THAT([&] { server().lock_levels(open(), time); },
              ThrowsMessage<ImportError>(HasSubstr("dimension 'Time' is used in a virtual cube")));
}

TEST_P(ServerContract, LevelsAreLockedAlsoByARegularCube) {
  store_small_database();
  EXPECT_THAT([&] { server().lock_levels(open(), *open().dimensions().find("Time")); },
              ThrowsMessage<ImportError>(HasSubstr("dimension 'Time' is used in a cube")));
}

TEST_P(ServerContract, ACubeMayAlwaysBeChanged) {
  store_small_database();
  EXPECT_NO_THROW(server().lock_cube(open(), *open().cubes().find("Sales")));
}

TEST_P(ServerContract, APrivateDimensionLeavesWithItsPlaceInTheCube) {
  store_small_database();
  auto& database = open();
  auto& cube = *database.cubes().edit("Sales");
  add_dimension(database, "Promotion", OlapDimensionKind::is_private, "Sales");
  database.add_cube_dimension(cube, "Promotion");
  server().write_back_cube(database, cube);
  store();
  ASSERT_TRUE(open().dimensions().contains("Promotion"));

  auto& emptied = *open().cubes().edit("Sales");
  while (!emptied.dimensions.empty()) {
    server().remove_first(open(), emptied, OlapCubeContent::dimensions);
  }
  EXPECT_FALSE(open().dimensions().contains("Promotion"));
  EXPECT_TRUE(open().dimensions().contains("Time"));
  next_run();
  EXPECT_TRUE(open().dimensions().contains("Promotion")) << "the cube was not written back";

  open().add_cube("Sales", OlapCubeKind::regular);
  server().write_back_cube(open(), *open().cubes().edit("Sales"));
  store();
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time"));
}

TEST_P(ServerContract, APrivateDimensionStaysWhenAnotherCubeLetsItGo) {
  store_small_database();
  auto& database = open();
  add_dimension(database, "Promotion", OlapDimensionKind::is_private, "SALES");
  database.add_cube_dimension(*database.cubes().edit("Sales"), "Promotion");
  auto& other = database.add_cube("Other", OlapCubeKind::regular);
  database.add_cube_dimension(other, "Promotion");
  server().remove_first(database, other, OlapCubeContent::dimensions);
  EXPECT_TRUE(database.dimensions().contains("Promotion"));
}

TEST_P(ServerContract, APrivateDimensionWithoutAPlaceInItsCubeIsNotStored) {
  store_small_database();
  add_dimension(open(), "Promotion", OlapDimensionKind::is_private, "Sales");
  store();
  EXPECT_FALSE(open().dimensions().contains("Promotion"));
}

TEST_P(ServerContract, TheFirstDataSourceOfACubeIsItsOnlyOne) {
  auto& database = new_database();
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  cube.data_source = "DW";
  ASSERT_EQ(count_of(cube, OlapCubeContent::data_sources), 1U);
  server().remove_first(database, cube, OlapCubeContent::data_sources);
  EXPECT_EQ(cube.data_source, "");
  EXPECT_EQ(count_of(cube, OlapCubeContent::data_sources), 0U);
}

TEST_P(ServerContract, AStructureIsValidWithSourceTableDimensionAndMeasure) {
  auto& database = new_database();
  server().write_back_data_source(database,
                                  database.data_sources().add({"DW", "jdbc:postgresql:dw", ""}));
  add_dimension(database, "Time");
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  const auto is_valid = [&] { return server().structure_is_valid(database, cube); };
  EXPECT_FALSE(is_valid());
  cube.data_source = "DW";
  EXPECT_FALSE(is_valid());
  cube.fact_table = "sales";
  EXPECT_FALSE(is_valid());
  database.add_cube_dimension(cube, "Time");
  EXPECT_FALSE(is_valid());
  cube.measures.add_new("Amount").source_column = R"("sales"."amount")";
  EXPECT_TRUE(is_valid());
  cube.data_source.clear();
  EXPECT_FALSE(is_valid());
  cube.data_source = "DW";
  database.dimensions().remove("Time");
  EXPECT_FALSE(is_valid());
}

TEST_P(HoldingServerContract, AHeldDatabaseIsRefusedToAnotherRunUntilFinish) {
  server().hold_database("Retail");
  EXPECT_NO_THROW(server().hold_database("RETAIL"));
  const auto other = another_run();
  EXPECT_NO_THROW(other->hold_database("Wholesale"));
  try {
    other->hold_database("retail");
    FAIL() << "held twice";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(), "database 'retail' is in use by another import");
  }
  server().finish();
  EXPECT_NO_THROW(other->hold_database("retail"));
}

TEST_P(HoldingServerContract, AHeldDatabaseIsFreeWhenItsRunEnds) {
  auto other = another_run();
  other->hold_database("Retail");
  EXPECT_THAT([&] { server().hold_database("Retail"); },
              ThrowsMessage<ImportError>(HasSubstr("'Retail' is in use by another import")));
  other.reset();
  EXPECT_NO_THROW(server().hold_database("Retail"));
}

TEST_P(ServerContract, EveryFieldOfACubeSurvives) {
  auto& database = new_database();
  add_dimension(database, "Time");
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  cube.description = "d";
  cube.aggregation_prefix = "p";
  cube.from_clause = "f";
  cube.join_clause = "j";
  cube.olap_mode = OlapMode::hybrid;
  cube.estimated_rows = 0.1;
  cube.custom_properties.put({"SchemaLayout", "s"});
  database.add_cube_dimension(cube, "Time");
  cube.measures.add({"Amount", "d", "#,##0", "\"amount\"", true, OlapAggregateFunction::max});
  cube.calculated_members.add({"Margin", "CREATE MEMBER X AS 'Y'"});
  cube.roles.add_new("Readers").permissions.put({"Access", "R"});
  auto& partition = *cube.partitions.edit("Sales");
  partition.read_write = true;
  partition.slices.put({"Time", {}}).levels.put({"Level of Time", "key", "2026"});
  server().write_back_cube(database, cube);
  store();

  const auto& stored = *open().cubes().find("Sales");
  EXPECT_EQ(stored.description, "d");
  EXPECT_EQ(stored.aggregation_prefix, "p");
  EXPECT_EQ(stored.from_clause, "f");
  EXPECT_EQ(stored.join_clause, "j");
  EXPECT_EQ(stored.olap_mode, OlapMode::hybrid);
  EXPECT_EQ(stored.estimated_rows, 0.1);
  EXPECT_EQ(stored.custom_properties.find("SchemaLayout")->value, "s");
  EXPECT_EQ(stored.measures[0].format, "#,##0");
  EXPECT_EQ(stored.measures[0].source_column, "\"amount\"");
  EXPECT_TRUE(stored.measures[0].internal);
  EXPECT_EQ(stored.measures[0].aggregate_function, OlapAggregateFunction::max);
  EXPECT_EQ(stored.calculated_members[0].statement, "CREATE MEMBER X AS 'Y'");
  EXPECT_EQ(stored.roles[0].permissions.find("access")->value, "R");
  EXPECT_TRUE(stored.partitions[0].read_write);
  EXPECT_TRUE(stored.partitions[0].follows_cube);
  EXPECT_EQ(stored.partitions[0].slices[0].levels[0].slice_value, "2026");
  EXPECT_EQ(stored.partitions[0].slices[0].levels[0].member_key_column, "key");
}

INSTANTIATE_TEST_SUITE_P(Servers, ServerContract, all_places(), name_of_place);
INSTANTIATE_TEST_SUITE_P(Servers, HoldingServerContract, storing_places(), name_of_place);

}  // namespace
}  // namespace importkcd::testing
