#include "cli/database_json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/cli/named.h"

namespace importkcd {
namespace {

using testing::named;

using Json = nlohmann::ordered_json;

/// The JSON text of databases, which has to be one document.
template <class... Databases>
std::string text_of(Databases&... databases) {
  std::ostringstream out;
  DatabaseJson json(out);
  (json.add(databases), ...);
  json.end();
  return out.str();
}

/// The one database of the JSON, keys in their order.
Json json_of(OlapDatabase& database) {
  return Json::parse(text_of(database)).at("databases").at(0);
}

OlapDatabase shop() { return {"Shop", "All shops", {}}; }

OlapLevel year_level() {
  auto level = named<OlapLevel>("Year");
  level.type = OlapLevelType::time_years;
  level.column_size = 4;
  level.column_type = 3;
  level.description = "Calendar year";
  level.estimated_size = 70000;
  level.member_key_column = "t.y";
  level.member_name_column = "t.n";
  level.ordering = OlapOrdering::key;
  level.unique_items = true;
  level.member_properties.add({"Leap", "Leap year", "Leap?", "t.leap"});
  return level;
}

const auto* const year_json = R"({
  "name": "Year", "type": 20, "column_size": 4, "column_type": 3, "description": "Calendar year",
  "estimated_size": 70000, "member_key_column": "t.y", "member_name_column": "t.n", "ordering": 1,
  "unique_items": true, "disabled": false,
  "member_properties": [
    {"name": "Leap", "description": "Leap year", "caption": "Leap?", "source_column": "t.leap"}]})";

TEST(DatabaseJson, WithoutDatabasesIsAnEmptyList) {
  EXPECT_EQ(text_of(), "{\n  \"databases\": []\n}\n");
}

TEST(DatabaseJson, AnEmptyDatabaseHasAllItsLists) {
  auto database = shop();
  EXPECT_EQ(text_of(database), R"({
  "databases": [
    {
      "name": "Shop",
      "description": "All shops",
      "data_sources": [],
      "dimensions": [],
      "roles": [],
      "cubes": []
    }
  ]
}
)");
}

TEST(DatabaseJson, DatabasesFollowEachOther) {
  auto first = shop();
  OlapDatabase second("Office", "", {});
  const auto json = Json::parse(text_of(first, second));
  ASSERT_EQ(json.at("databases").size(), 2U);
  EXPECT_EQ(json.at("databases").at(0).at("name"), "Shop");
  EXPECT_EQ(json.at("databases").at(1).at("name"), "Office");
}

TEST(DatabaseJson, DataSourcesAreVerbatimAndIndented) {
  auto database = shop();
  database.data_sources().add({"DW", "Provider=P;Password=secret", "Warehouse"});
  database.data_sources().add({"Archive", "", ""});
  EXPECT_EQ(text_of(database), R"({
  "databases": [
    {
      "name": "Shop",
      "description": "All shops",
      "data_sources": [
        {
          "name": "DW",
          "connection_string": "Provider=P;Password=secret",
          "description": "Warehouse"
        },
        {
          "name": "Archive",
          "connection_string": "",
          "description": ""
        }
      ],
      "dimensions": [],
      "roles": [],
      "cubes": []
    }
  ]
}
)");
}

TEST(DatabaseJson, DimensionsHaveEveryKeyInOrder) {
  auto database = shop();
  OlapDimension dimension;
  dimension.name = "Time";
  dimension.description = "Calendar";
  dimension.type = OlapDimensionType::time;
  dimension.data_source = "DW";
  dimension.from_clause = "t";
  dimension.join_clause = "t.a = t.b";
  dimension.custom_properties.add({"SchemaLayout", "x"});
  dimension.allow_siblings_with_same_name = true;
  dimension.levels.add(year_level());
  database.dimensions().add(dimension);

  const auto expected = Json::parse(R"([{
    "name": "Time", "kind": "shared", "description": "Calendar", "type": 1, "data_source": "DW",
    "from_clause": "t", "join_clause": "t.a = t.b", "custom_properties": {"SchemaLayout": "x"},
    "allow_siblings_with_same_name": true, "levels": [)" +
                                    std::string(year_json) + "]}]");
  EXPECT_EQ(json_of(database).at("dimensions").dump(), expected.dump());
}

TEST(DatabaseJson, AKindIsAWordAndAnAbsentDataSourceIsNull) {
  auto database = shop();
  auto own = named<OlapDimension>("Own");
  own.kind = OlapDimensionKind::is_private;
  auto derived = named<OlapDimension>("Derived");
  derived.kind = OlapDimensionKind::is_virtual;
  database.dimensions().add(own);
  database.dimensions().add(derived);
  const auto dimensions = json_of(database).at("dimensions");
  EXPECT_EQ(dimensions.at(0).at("kind"), "private");
  EXPECT_EQ(dimensions.at(1).at("kind"), "virtual");
  EXPECT_TRUE(dimensions.at(1).at("data_source").is_null());
  EXPECT_EQ(dimensions.at(1).at("custom_properties").dump(), "{}");
}

TEST(DatabaseJson, RolesOfTheDatabaseHaveTheirUsers) {
  auto database = shop();
  database.roles().add({"Clerks", "Everybody", "anna;bo", {}});
  EXPECT_EQ(json_of(database).at("roles").dump(),
            R"([{"name":"Clerks","description":"Everybody","user_list":"anna;bo"}])");
}

OlapCube sales_cube() {
  auto cube = named<OlapCube>("Sales");
  cube.description = "Sold goods";
  cube.data_source = "DW";
  cube.fact_table = "f";
  cube.aggregation_prefix = "a_";
  cube.from_clause = "f, t";
  cube.join_clause = "f.t = t.t";
  cube.olap_mode = OlapMode::rolap;
  cube.estimated_rows = 1e6;
  cube.custom_properties.add({"SchemaLayout", "y"});
  cube.dimensions.add({"Time", {}}).levels.add(year_level());
  cube.measures.add({"Amount", "Money", "#,##0", "f.amount", true, OlapAggregateFunction::max});
  cube.calculated_members.add({"Share", "[Share] AS '1'"});
  cube.roles.add({"Clerks", "", "", {}}).permissions.add({"Access", "R"});
  return cube;
}

TEST(DatabaseJson, CubesHaveEveryKeyInOrder) {
  auto database = shop();
  auto cube = sales_cube();
  OlapPartition partition{"Sales", "f", "p_", "f", "j", "DW", OlapMode::hybrid, true, false, {}};
  partition.slices.add({"Time", {}}).levels.add({"Year", "p.y", "2023"});
  cube.partitions.add(partition);
  database.cubes().add(cube);

  const auto expected = Json::parse(R"([{
    "name": "Sales", "kind": "regular", "description": "Sold goods", "data_source": "DW",
    "fact_table": "f", "aggregation_prefix": "a_", "from_clause": "f, t",
    "join_clause": "f.t = t.t", "olap_mode": 15, "estimated_rows": 1000000,
    "custom_properties": {"SchemaLayout": "y"},
    "dimensions": [{"name": "Time", "levels": [)" +
                                    std::string(year_json) + R"(]}],
    "measures": [{"name": "Amount", "description": "Money", "format": "#,##0",
                  "source_column": "f.amount", "internal": true, "aggregate_function": 3}],
    "calculated_members": [{"name": "Share", "statement": "[Share] AS '1'"}],
    "roles": [{"name": "Clerks", "permissions": {"Access": "R"}}],
    "partitions": [{
      "name": "Sales", "fact_table": "f", "aggregation_prefix": "p_", "from_clause": "f",
      "join_clause": "j", "data_source": "DW", "olap_mode": 1, "read_write": true,
      "dimensions": [{"name": "Time", "levels": [
        {"name": "Year", "disabled": false, "member_key_column": "p.y",
         "slice_value": "2023"}]}]}]}])");
  EXPECT_EQ(json_of(database).at("cubes").dump(), expected.dump());
}

TEST(DatabaseJson, APartitionWithoutSlicesHasTheLevelsOfTheCube) {
  auto database = shop();
  auto cube = sales_cube();
  cube.dimensions.edit("Time")->levels.edit("Year")->disabled = true;
  cube.partitions.add(named<OlapPartition>("Sales"));
  database.cubes().add(cube);
  EXPECT_EQ(json_of(database).at("cubes").at(0).at("partitions").at(0).at("dimensions").dump(),
            R"([{"name":"Time","levels":[{"name":"Year","disabled":true,)"
            R"("member_key_column":"t.y","slice_value":""}]}])");
}

TEST(DatabaseJson, AVirtualCubeSaysSo) {
  auto database = shop();
  auto cube = named<OlapCube>("Both");
  cube.kind = OlapCubeKind::is_virtual;
  database.cubes().add(cube);
  EXPECT_EQ(json_of(database).at("cubes").at(0).at("kind"), "virtual");
  EXPECT_TRUE(json_of(database).at("cubes").at(0).at("data_source").is_null());
}

TEST(DatabaseJson, EstimatedRowsAreANumberThatLosesNothing) {
  for (const double rows : {0.0, 0.5, 1e15, 1.5e300, -3.0}) {
    auto database = shop();
    auto cube = named<OlapCube>("Sales");
    cube.estimated_rows = rows;
    database.cubes().add(cube);
    EXPECT_EQ(json_of(database).at("cubes").at(0).at("estimated_rows").get<double>(), rows);
  }
}

TEST(DatabaseJson, TextsWithQuotesControlCharactersAndOtherScriptsSurvive) {
  const std::string text = "a\"b\\c\n\t\x01 Ærø 日本";
  OlapDatabase database(text, text, {});
  database.data_sources().add({"DW", text, text});
  const auto json = json_of(database);
  EXPECT_EQ(json.at("name"), text);
  EXPECT_EQ(json.at("data_sources").at(0).at("connection_string"), text);
}

TEST(DatabaseJson, BytesThatAreNotUtf8AreReplacedInValuesAndKeys) {
  OlapDatabase database("a\xFFz", "", {});
  auto dimension = named<OlapDimension>("\xC3(");
  dimension.custom_properties.add({"k\xFE", "v\xFE"});
  database.dimensions().add(dimension);
  const auto json = json_of(database);
  EXPECT_EQ(json.at("name"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(json.at("dimensions").at(0).at("name"), "\xEF\xBF\xBD(");
  EXPECT_EQ(json.at("dimensions").at(0).at("custom_properties").dump(),
            "{\"k\xEF\xBF\xBD\":\"v\xEF\xBF\xBD\"}");
}

TEST(DatabaseJson, ObjectsStandInCollectionOrder) {
  auto database = shop();
  for (const auto* name : {"Zeta", "alpha", "Mid"}) {
    database.roles().add({name, "", "", {}});
  }
  const auto roles = json_of(database).at("roles");
  EXPECT_EQ(roles.at(0).at("name"), "Zeta");
  EXPECT_EQ(roles.at(1).at("name"), "alpha");
  EXPECT_EQ(roles.at(2).at("name"), "Mid");
}

}  // namespace
}  // namespace importkcd
