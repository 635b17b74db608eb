#include "pickers/olap_listing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <stdexcept>

#include "servers/choice/server_choice.h"
#include "tests/pickers/picker_server.h"
#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/servers/catalogue/forked_process.h"
#include "tests/support/http_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::picker_servers;
using testing::PickerServerState;

constexpr auto database = OlapClassType::database;
constexpr auto regular = OlapCubeKind::regular;
constexpr auto is_virtual = OlapCubeKind::is_virtual;

/// Two databases that differ in letter case only, one between them.
PickerServerState sales_server() {
  PickerServerState state;
  state.objects = {{database, "Sales"}, {database, "Zoo"}, {database, "SALES"}, {database, "Abc"}};
  state.cubes["Sales"] = {{"Orders", regular}, {"Everything", is_virtual}, {"Budget", regular}};
  state.cubes["SALES"] = {{"Archive", regular}};
  return state;
}

TEST(OlapListing, DatabasesComeInTheServersOrder) {
  PickerServerState state = sales_server();
  const OlapListing listing = list_olap_databases(picker_servers(state), "olap1");
  EXPECT_FALSE(listing.failed);
  EXPECT_EQ(listing.failure, "");
  EXPECT_THAT(listing.names, ElementsAre("Sales", "Zoo", "SALES", "Abc"));
}

TEST(OlapListing, DatabasesAreListedOverOneShortConnectionToTheNamedServer) {
  PickerServerState state = sales_server();
  list_olap_databases(picker_servers(state), "olap1");
  EXPECT_THAT(state.operations, ElementsAre("factory olap1", "connect olap1", "stored_objects "));
  EXPECT_EQ(state.alive, 0);
}

TEST(OlapListing, ObjectsOfAnotherClassAreNoDatabases) {
  PickerServerState state;
  state.objects = {
      {OlapClassType::server, "Sales"}, {database, "Real"}, {OlapClassType{9}, "Nine"}};
  EXPECT_THAT(list_olap_databases(picker_servers(state), "s").names, ElementsAre("Real"));
}

TEST(OlapListing, AServerWithoutDatabasesListsNothing) {
  PickerServerState state;
  const OlapListing listing = list_olap_databases(picker_servers(state), "s");
  EXPECT_FALSE(listing.failed);
  EXPECT_THAT(listing.names, IsEmpty());
}

TEST(OlapListing, CubesAreThoseOfTheDatabaseWithExactlyThatName) {
  PickerServerState state = sales_server();
  EXPECT_THAT(list_olap_cubes(picker_servers(state), "s", "SALES").names, ElementsAre("Archive"));
  EXPECT_THAT(list_olap_cubes(picker_servers(state), "s", "Sales").names,
              ElementsAre("Orders", "Budget"));
}

TEST(OlapListing, VirtualCubesAreNotOffered) {
  PickerServerState state;
  state.objects = {{database, "Sales"}};
  state.cubes["Sales"] = {{"Everything", is_virtual}};
  const OlapListing listing = list_olap_cubes(picker_servers(state), "s", "Sales");
  EXPECT_FALSE(listing.failed);
  EXPECT_THAT(listing.names, IsEmpty());
}

TEST(OlapListing, ADatabaseThatIsNotThereGivesNoCubesAndNoFailure) {
  PickerServerState state = sales_server();
  const OlapListing listing = list_olap_cubes(picker_servers(state), "s", "sales");
  EXPECT_FALSE(listing.failed);
  EXPECT_THAT(listing.names, IsEmpty());
}

TEST(OlapListing, AnObjectOfAnotherClassIsNotTakenForTheDatabase) {
  PickerServerState state = sales_server();
  state.objects = {{OlapClassType::server, "Sales"}};
  EXPECT_THAT(list_olap_cubes(picker_servers(state), "s", "Sales").names, IsEmpty());
  EXPECT_THAT(state.operations, ElementsAre("factory s", "connect s", "stored_objects "));
}

TEST(OlapListing, TheWalkGoesOnBehindTheMatch) {
  PickerServerState state = sales_server();
  state.objects = {{database, "Sales"}, {database, "Zoo"}, {database, "Sales"}};
  EXPECT_THAT(list_olap_cubes(picker_servers(state), "s", "Sales").names,
              ElementsAre("Orders", "Budget", "Orders", "Budget"));
}

class OlapListingFailure : public ::testing::TestWithParam<const char*> {};

TEST_P(OlapListingFailure, IsTheResultAndLeavesNoNamesAndNoConnection) {
  PickerServerState state = sales_server();
  state.failing = GetParam();
  const OlapListing listing = list_olap_cubes(picker_servers(state), "s", "Sales");
  EXPECT_TRUE(listing.failed);
  EXPECT_EQ(listing.failure, "The line is down");
  EXPECT_THAT(listing.names, IsEmpty());
  EXPECT_EQ(state.alive, 0);
}

INSTANTIATE_TEST_SUITE_P(AtEveryStep, OlapListingFailure,
                         ::testing::Values("factory", "connect", "stored_objects",
                                           "open_database"));

TEST(OlapListing, LookingAtACatalogueThatIsNotThereFailsAndMakesNone) {
  const testing::TemporaryFolder folder;
  const std::string path = folder.file("absent.olap");
  const auto looking = [](std::string_view machine) {
    return make_olap_server(machine, ServerAccess::read_only);
  };
  const OlapListing listing = list_olap_databases(looking, "catalogue:" + path);
  EXPECT_TRUE(listing.failed);
  EXPECT_NE(listing.failure, "");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(OlapListing, ACatalogueIsListedInWholeStatesWhileRunsReplaceItsDatabase) {
  const testing::TemporaryFolder folder;
  const auto path = folder.file("server.olap");
  testing::ForkedProcess runs([&](const auto& say_ready) {
    for (int i = 0;; ++i) {
      auto changes = testing::whole_state("Sales", std::to_string(i), i % 2 == 0 ? 3 : 20);
      changes.removes_stored = true;
      testing::apply(*testing::opened_store(path), std::move(changes));
      if (i == 0) {
        say_ready();
      }
    }
  });
  ASSERT_TRUE(runs.is_ready());
  const auto looking = [](std::string_view name) {
    return make_olap_server(name, ServerAccess::read_only);
  };
  std::map<std::size_t, int> seen;
  while (seen[3] < 5 || seen[20] < 5) {
    EXPECT_THAT(list_olap_databases(looking, "catalogue:" + path).names, ElementsAre("Sales"));
    const auto cubes = list_olap_cubes(looking, "catalogue:" + path, "Sales");
    ASSERT_FALSE(cubes.failed) << cubes.failure;
    ASSERT_THAT(cubes.names.size(), ::testing::AnyOf(3U, 20U));
    ++seen[cubes.names.size()];
  }
}

TEST(OlapListing, DatabasesAndCubesOfACatalogueAreListed) {
  const testing::TemporaryFolder folder;
  const std::string machine = "catalogue:" + folder.file("server.olap");
  const auto server = make_olap_server(machine, ServerAccess::read_write);
  server->connect(machine);
  OlapDatabase& stored = server->add_database("Bücher");
  server->write_back_database(stored);
  OlapCube& cube = stored.add_cube("Orders", regular);
  server->write_back_cube(stored, cube);
  server->finish();

  const auto looking = [](std::string_view name) {
    return make_olap_server(name, ServerAccess::read_only);
  };
  EXPECT_THAT(list_olap_databases(looking, machine).names, ElementsAre("Bücher"));
  EXPECT_THAT(list_olap_cubes(looking, machine, "Bücher").names, ElementsAre("Orders"));
  EXPECT_THAT(list_olap_cubes(looking, machine, "bücher").names, IsEmpty());
}

/// No server is to be made for an address.
OlapServerFactory no_factory() {
  return [](std::string_view) -> std::unique_ptr<OlapServer> {
    throw std::logic_error("a server was made");
  };
}

TEST(OlapListing, AnXmlaAddressIsAskedForItsDatabases) {
  const testing::HttpServer server([](const std::string&) {
    return testing::rowset_answer(
        {"<CATALOG_NAME>Zoo</CATALOG_NAME>", "<CATALOG_NAME>Abc</CATALOG_NAME>"});
  });
  const auto listing = list_olap_databases(no_factory(), server.address());
  EXPECT_FALSE(listing.failed) << listing.failure;
  EXPECT_THAT(listing.names, ElementsAre("Zoo", "Abc"));
}

TEST(OlapListing, AnXmlaAddressIsAskedForItsRegularCubes) {
  const testing::HttpServer server([](const std::string& request) {
    return request.find("MDSCHEMA_CUBES") == std::string::npos
               ? testing::rowset_answer({"<CATALOG_NAME>Sales</CATALOG_NAME>"})
               : testing::rowset_answer(
                     {"<CATALOG_NAME>Sales</CATALOG_NAME><CUBE_NAME>Orders</CUBE_NAME>",
                      "<CATALOG_NAME>Sales</CATALOG_NAME><CUBE_NAME>Everything</CUBE_NAME>"
                      "<CUBE_TYPE>VIRTUAL CUBE</CUBE_TYPE>",
                      "<CATALOG_NAME>Sales</CATALOG_NAME><CUBE_NAME>Budget</CUBE_NAME>"});
  });
  EXPECT_THAT(list_olap_cubes(no_factory(), server.address(), "Sales").names,
              ElementsAre("Orders", "Budget"));
  const auto other_case = list_olap_cubes(no_factory(), server.address(), "sales");
  EXPECT_FALSE(other_case.failed);
  EXPECT_THAT(other_case.names, IsEmpty());
}

TEST(OlapListing, AnXmlaAddressWithoutAnAnswerIsAFailure) {
  const testing::HttpServer server(
      [](const std::string&) { return testing::http_answer("busy", "503 Busy"); });
  const auto expected = server.address() + " gives no XMLA answer (HTTP status 503): it is no XML";
  EXPECT_EQ(list_olap_databases(no_factory(), server.address()).failure, expected);
  const auto cubes = list_olap_cubes(no_factory(), server.address(), "Sales");
  EXPECT_TRUE(cubes.failed);
  EXPECT_EQ(cubes.failure, expected);
}

}  // namespace
}  // namespace importkcd
