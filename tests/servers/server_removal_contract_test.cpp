#include <algorithm>
#include <string>
#include <vector>

#include "tests/servers/server_contract_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The removal of single objects, and the copies of what was there before.
class RemovalContract : public ServerContract {
 protected:
  /// A stored database with two objects of each kind; the cube "Sales" has a dimension of its own.
  void store_full_database() {
    auto& database = new_database();
    for (const char* name : {"DW", "Archive"}) {
      server().write_back_data_source(database, database.data_sources().add_new(name));
    }
    add_dimension(database, "Time");
    add_dimension(database, "Product");
    add_dimension(database, "Channel", OlapDimensionKind::is_private, "Sales");
    database.roles().add_new("Web").permissions.put({"Access", "R"});
    database.roles().add_new("Office");
    auto& sales = database.add_cube("Sales", OlapCubeKind::regular);
    for (const char* name : {"Time", "Channel"}) {
      database.add_cube_dimension(sales, name);
    }
    sales.measures.add_new("Revenue");
    server().write_back_cube(database, sales);
    auto& stock = database.add_cube("Stock", OlapCubeKind::regular);
    database.add_cube_dimension(stock, "Product");
    server().write_back_cube(database, stock);
    store();
  }

  OlapStore& stored() { return dynamic_cast<WorkingCopyServer&>(server()).store(); }
};

TEST_P(RemovalContract, EveryKindOfObjectCanBeRemoved) {
  store_full_database();
  auto& database = open();
  server().remove_object(database, OlapObjectKind::cube, "stock");
  server().remove_object(database, OlapObjectKind::dimension, "PRODUCT");
  server().remove_object(database, OlapObjectKind::role, "Office");
  server().remove_object(database, OlapObjectKind::data_source, "archive");
  EXPECT_THAT(database.cubes().names(), ElementsAre("Sales"));
  store();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Sales"));
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time", "Channel"));
  EXPECT_THAT(open().roles().names(), ElementsAre("Web"));
  EXPECT_THAT(open().data_sources().names(), ElementsAre("DW"));
}

TEST_P(RemovalContract, ARemovedCubeTakesItsOwnDimensionsAlong) {
  store_full_database();
  server().remove_object(open(), OlapObjectKind::cube, "Sales");
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time", "Product"));
  store();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Stock"));
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time", "Product"));
}

TEST_P(RemovalContract, WhatWasWrittenBackBeforeItWasRemovedIsNotStored) {
  store_full_database();
  auto& database = open();
  add_dimension(database, "Store");
  server().write_back_data_source(database, database.data_sources().add_new("Test"));
  database.roles().edit("Web")->description = "changed";
  database.cubes().edit("Sales")->fact_table = "changed";
  server().write_back_cube(database, *database.cubes().edit("Sales"));
  server().remove_object(database, OlapObjectKind::dimension, "Store");
  server().remove_object(database, OlapObjectKind::data_source, "Test");
  server().remove_object(database, OlapObjectKind::role, "Web");
  server().remove_object(database, OlapObjectKind::cube, "Sales");
  store();
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time", "Product"));
  EXPECT_THAT(open().data_sources().names(), ElementsAre("DW", "Archive"));
  EXPECT_THAT(open().roles().names(), ElementsAre("Office"));
  EXPECT_THAT(open().cubes().names(), ElementsAre("Stock"));
}

TEST_P(RemovalContract, ARemovedObjectMayBeAddedAnewInTheSameRun) {
  store_full_database();
  auto& database = open();
  server().remove_object(database, OlapObjectKind::cube, "Sales");
  add_dimension(database, "Channel");
  auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
  database.add_cube_dimension(cube, "Channel");
  server().write_back_cube(database, cube);
  server().remove_object(database, OlapObjectKind::data_source, "DW");
  server().write_back_data_source(database, database.data_sources().add_new("DW"));
  server().remove_object(database, OlapObjectKind::role, "Web");
  database.roles().add_new("Web");
  store();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Stock", "Sales"));
  EXPECT_THAT(open().cubes().find("Sales")->measures, IsEmpty());
  EXPECT_EQ(open().dimensions().find("Channel")->kind, OlapDimensionKind::shared);
  EXPECT_THAT(open().data_sources().names(), ElementsAre("Archive", "DW"));
  EXPECT_THAT(open().roles().names(), ElementsAre("Office", "Web"));
  EXPECT_THAT(open().roles().find("Web")->permissions, IsEmpty());
}

TEST_P(RemovalContract, RemovingWhatIsNotThereDoesNothing) {
  store_full_database();
  for (const auto kind : {OlapObjectKind::data_source, OlapObjectKind::dimension,
                          OlapObjectKind::role, OlapObjectKind::cube}) {
    server().remove_object(open(), kind, "Nothing");
  }
  store();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Sales", "Stock"));
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time", "Product", "Channel"));
}

TEST_P(RemovalContract, ARunWithoutFinishRemovesNothing) {
  store_full_database();
  server().remove_object(open(), OlapObjectKind::cube, "Sales");
  next_run();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Sales", "Stock"));
  EXPECT_TRUE(open().dimensions().contains("Channel"));
}

TEST_P(RemovalContract, WhatARunChangesIsKeptAsItWasWhenItAsksForThat) {
  store_full_database();
  new_database("Other");
  store();
  const bool kept = server().keep_former_databases();
  EXPECT_EQ(kept, stored().keeps_copies());
  EXPECT_EQ(kept, GetParam().name == "catalogue" || GetParam().name == "mondrian");
  server().remove_object(open(), OlapObjectKind::cube, "Sales");
  open("Other");
  store();
  if (!kept) {
    EXPECT_THAT([&] { stored().kept_copies(); },
                ::testing::ThrowsMessage<ImportError>(
                    ::testing::StrEq("'memory:' keeps no copies of databases")));
    return;
  }
  const auto copies = stored().kept_copies();
  ASSERT_EQ(copies.size(), 1U);
  EXPECT_EQ(copies[0].name, "Retail");
  EXPECT_THAT(database_names(), ElementsAre("Retail", "Other"));
  EXPECT_TRUE(stored().restore("Retail").displaced_another);
  next_run();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Sales", "Stock"));
  EXPECT_THAT(open().dimensions().names(), ElementsAre("Time", "Product", "Channel"));
  EXPECT_THAT(open().cubes().find("Sales")->dimensions, ::testing::SizeIs(2));
  EXPECT_THAT(open().roles().find("Web")->permissions, ::testing::SizeIs(1));
}

TEST_P(RemovalContract, ACopyTakesThePlaceOfTheEarlierOne) {
  store_full_database();
  for (const char* cube : {"Sales", "Stock"}) {
    if (!server().keep_former_databases()) {
      return;
    }
    server().remove_object(open(), OlapObjectKind::cube, cube);
    store();
  }
  EXPECT_THAT(stored().kept_copies(), ::testing::SizeIs(1));
  stored().restore("Retail");
  next_run();
  EXPECT_THAT(open().cubes().names(), ElementsAre("Stock"));
}

TEST_P(RemovalContract, ARunThatChangesNothingKeepsNothing) {
  store_full_database();
  if (server().keep_former_databases()) {
    open();
    store();
    EXPECT_THAT(stored().kept_copies(), IsEmpty());
  }
}

INSTANTIATE_TEST_SUITE_P(Servers, RemovalContract, all_places(), name_of_place);

}  // namespace
}  // namespace importkcd::testing
