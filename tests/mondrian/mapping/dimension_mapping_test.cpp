#include "mondrian/mapping/dimension_mapping.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using testing::all_level;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::level;

class DimensionMapping : public testing::MappingTest {
 protected:
  std::string foreign_key(const OlapCube& cube) {
    return map(cube).dimensions.at(0).mapped.foreign_key;
  }
};

TEST_F(DimensionMapping, OneTableIsTiedByTheEqualityOfItsColumns) {
  const auto& cube = add_sales();
  EXPECT_EQ(dimension_xml(cube),
            "<Dimension name=\"Store\">\n"
            "  <Hierarchy hasAll=\"false\" primaryKey=\"store_id\">\n"
            "    <Table name=\"store\"/>\n"
            "    <Level name=\"City\" column=\"city\" type=\"String\" uniqueMembers=\"true\"/>\n"
            "  </Hierarchy>\n"
            "</Dimension>\n");
  EXPECT_EQ(foreign_key(cube), "store_id");
  EXPECT_EQ(fact_xml(cube), "<Table name=\"sales\"/>\n");
}

TEST_F(DimensionMapping, TheAllLevelGivesNamesOfLevelAndMember) {
  auto& dimension =
      add_dimension("Store", "store", {all_level("All <Stores>"), level("City", "city")});
  dimension.description = "Where it's sold";
  add_cube("Sales", "sales", "sales, store", "sales.id = store.id", {"Store"});
  EXPECT_EQ(dimension_xml(*database.cubes().find("Sales")),
            "<Dimension name=\"Store\" description=\"Where it's sold\">\n"
            "  <Hierarchy hasAll=\"true\" allMemberName=\"All &lt;Stores&gt;\" primaryKey=\"id\">\n"
            "    <Table name=\"store\"/>\n"
            "    <Level name=\"City\" column=\"city\" type=\"String\" uniqueMembers=\"true\"/>\n"
            "  </Hierarchy>\n"
            "</Dimension>\n");
}

TEST_F(DimensionMapping, ASnowflakeIsAChainOfJoins) {
  add_dimension("Product", "product, \"group\" g, dbo.department",
                {level("Department", "department.name"), level("Group", "g.id", "g.name"),
                 level("Product", "product.id", "product.name")},
                "product.group_id = g.id AND g.department_id = department.id");
  const auto& cube =
      add_cube("Sales", "sales", "sales, product", "sales.product_id = product.id", {"Product"});
  EXPECT_EQ(
      dimension_xml(cube),
      "<Dimension name=\"Product\">\n"
      "  <Hierarchy hasAll=\"false\" primaryKey=\"id\" primaryKeyTable=\"product\">\n"
      "    <Join leftAlias=\"product\" leftKey=\"group_id\" rightAlias=\"g\" rightKey=\"id\">\n"
      "      <Table name=\"product\"/>\n"
      "      <Join leftAlias=\"g\" leftKey=\"department_id\" rightAlias=\"department\" "
      "rightKey=\"id\">\n"
      "        <Table name=\"group\" alias=\"g\"/>\n"
      "        <Table name=\"department\" schema=\"dbo\"/>\n"
      "      </Join>\n"
      "    </Join>\n"
      "    <Level name=\"Department\" table=\"department\" column=\"name\" type=\"String\" "
      "uniqueMembers=\"true\"/>\n"
      "    <Level name=\"Group\" table=\"g\" column=\"id\" nameColumn=\"name\" type=\"String\" "
      "uniqueMembers=\"false\"/>\n"
      "    <Level name=\"Product\" table=\"product\" column=\"id\" nameColumn=\"name\" "
      "type=\"String\" uniqueMembers=\"false\"/>\n"
      "  </Hierarchy>\n"
      "</Dimension>\n");
  EXPECT_EQ(foreign_key(cube), "product_id");
}

TEST_F(DimensionMapping, ALevelWithColumnsOfTwoTablesMakesAView) {
  const auto in_view = [this](const std::vector<OlapLevel>& levels) {
    auto& dimension = *database.dimensions().edit("Product");
    dimension.levels = {};
    for (const auto& of_dimension : levels) {
      dimension.levels.add(of_dimension);
    }
    return dimension_xml(
        add_cube("Sales", "sales", "sales, product", "sales.product_id = product.id", {"Product"}));
  };
  add_dimension("Product", "product, g", {level("Product", "product.id")},
                "product.group_id = g.id");
  EXPECT_THAT(in_view({level("Product", "product.id", "g.name")}),
              HasSubstr("&quot;g&quot;.&quot;name&quot; as &quot;level1_name&quot;"));
  auto with_property = level("Product", "product.id");
  OlapMemberProperty property;
  property.name = "Group";
  property.source_column = "g.name";
  with_property.member_properties.add(property);
  EXPECT_THAT(in_view({with_property}),
              HasSubstr("&quot;g&quot;.&quot;name&quot; as &quot;level1_property1&quot;"));
}

TEST_F(DimensionMapping, TablesThatOnlyTheCubeTiesComeAlong) {
  add_dimension("Region", "region", {level("Region", "region.name")});
  const auto& cube =
      add_cube("Sales", "sales", "sales, store, region",
               "sales.store_id = store.id AND store.region_id = region.id", {"Region"});
  EXPECT_EQ(dimension_xml(cube),
            "<Dimension name=\"Region\">\n"
            "  <Hierarchy hasAll=\"false\" primaryKey=\"id\" primaryKeyTable=\"store\">\n"
            "    <Join leftAlias=\"store\" leftKey=\"region_id\" rightAlias=\"region\" "
            "rightKey=\"id\">\n"
            "      <Table name=\"store\"/>\n"
            "      <Table name=\"region\"/>\n"
            "    </Join>\n"
            "    <Level name=\"Region\" table=\"region\" column=\"name\" type=\"String\" "
            "uniqueMembers=\"true\"/>\n"
            "  </Hierarchy>\n"
            "</Dimension>\n");
}

TEST_F(DimensionMapping, ExpressionsMakeAView) {
  auto year = level("Year", "DatePart(year, calendar.day)");
  year.type = OlapLevelType::time_years;
  year.column_type = 3;
  auto& dimension =
      add_dimension("Time", "dbo.calendar", {year, level("Day", "day", "upper(calendar.label)")});
  dimension.type = OlapDimensionType::time;
  const auto& cube =
      add_cube("Sales", "sales", "sales, dbo.calendar", "sales.day = calendar.day", {"Time"});
  EXPECT_EQ(
      dimension_xml(cube),
      "<Dimension name=\"Time\" type=\"TimeDimension\">\n"
      "  <Hierarchy hasAll=\"false\" primaryKey=\"join_key\">\n"
      "    <View alias=\"calendar\">\n"
      "      <SQL dialect=\"generic\">select &quot;calendar&quot;.&quot;day&quot; as "
      "&quot;join_key&quot;, DatePart(year, &quot;calendar&quot;.&quot;day&quot;) as "
      "&quot;level1_key&quot;, &quot;calendar&quot;.&quot;day&quot; as &quot;level2_key&quot;, "
      "upper(&quot;calendar&quot;.&quot;label&quot;) as &quot;level2_name&quot; from "
      "&quot;dbo&quot;.&quot;calendar&quot;</SQL>\n"
      "    </View>\n"
      "    <Level name=\"Year\" column=\"level1_key\" type=\"Integer\" uniqueMembers=\"true\" "
      "levelType=\"TimeYears\"/>\n"
      "    <Level name=\"Day\" column=\"level2_key\" nameColumn=\"level2_name\" "
      "type=\"String\" uniqueMembers=\"false\" levelType=\"TimeUndefined\"/>\n"
      "  </Hierarchy>\n"
      "</Dimension>\n");
}

TEST_F(DimensionMapping, TwoViewsOfOneTableHaveTwoNames) {
  add_dimension("Month", "calendar", {level("Month", "month(calendar.day)")});
  add_dimension("Week", "calendar", {level("Week", "week(calendar.day)")});
  const auto& cube =
      add_cube("Sales", "sales", "sales, calendar", "sales.day = calendar.day", {"Month", "Week"});
  std::vector<std::string> aliases;
  for (const auto& dimension : map(cube).dimensions) {
    aliases.push_back(dimension.mapped.element.children[0].children[0].attributes[0].second);
  }
  EXPECT_THAT(aliases, ElementsAre("calendar", "calendar_view2"));
}

TEST_F(DimensionMapping, PointsInTimeAreCastSoThatDaysServeAsWell) {
  auto day = level("Day", "calendar.day", "calendar.day");
  day.column_type = 135;
  add_dimension("Time", "calendar", {day});
  const auto& cube =
      add_cube("Sales", "sales", "sales, calendar", "sales.day_id = calendar.id", {"Time"});
  EXPECT_THAT(dimension_xml(cube),
              ::testing::HasSubstr("cast(&quot;calendar&quot;.&quot;day&quot; as timestamp) as "
                                   "&quot;level1_key&quot; from &quot;calendar&quot;"));
  database.data_sources().edit("DW")->connection_string = "jdbc:mariadb://h/d";
  EXPECT_THAT(dimension_xml(cube), ::testing::HasSubstr("cast(`calendar`.`day` as datetime)"));
}

TEST_F(DimensionMapping, ValuesInTheFactTableAreADegenerateDimension) {
  add_dimension("Order", "sales", {all_level(), level("Order", "sales.order_no")});
  const auto& cube = add_cube("Sales", "sales", "sales", "", {"Order"});
  EXPECT_EQ(
      dimension_xml(cube),
      "<Dimension name=\"Order\">\n"
      "  <Hierarchy hasAll=\"true\" allMemberName=\"All\">\n"
      "    <Level name=\"Order\" column=\"order_no\" type=\"String\" uniqueMembers=\"true\"/>\n"
      "  </Hierarchy>\n"
      "</Dimension>\n");
  EXPECT_EQ(foreign_key(cube), "");
  EXPECT_EQ(fact_xml(cube), "<Table name=\"sales\"/>\n");
}

TEST_F(DimensionMapping, AnExpressionOverTheFactTableStaysOne) {
  add_dimension("Size", "sales", {level("Size", "CASE WHEN sales.qty > 2 THEN 'L' ELSE 'S' END")});
  const auto& cube = add_cube("Sales", "dbo.sales", "dbo.sales", "", {"Size"});
  EXPECT_EQ(
      dimension_xml(cube),
      "<Dimension name=\"Size\">\n"
      "  <Hierarchy hasAll=\"false\">\n"
      "    <Level name=\"Size\" type=\"String\" uniqueMembers=\"true\">\n"
      "      <KeyExpression>\n"
      "        <SQL dialect=\"generic\">CASE WHEN &quot;sales&quot;.&quot;qty&quot; &gt; 2 THEN "
      "'L' ELSE 'S' END</SQL>\n"
      "      </KeyExpression>\n"
      "    </Level>\n"
      "  </Hierarchy>\n"
      "</Dimension>\n");
}

TEST_F(DimensionMapping, OneTableUnderTwoAliasesIsTwoDimensions) {
  add_dimension("Ship", "customer ship", {level("City", "ship.city")});
  add_dimension("Bill", "customer bill", {level("City", "bill.city")});
  const auto& cube =
      add_cube("Sales", "sales", "sales, customer ship, customer bill",
               "sales.ship_to = ship.id AND sales.bill_to = bill.id", {"Ship", "Bill"});
  const auto mapped = map(cube);
  EXPECT_EQ(mapped.dimensions.at(0).mapped.foreign_key, "ship_to");
  EXPECT_EQ(mapped.dimensions.at(1).mapped.foreign_key, "bill_to");
  EXPECT_EQ(xml_text(mapped.dimensions.at(1).mapped.element),
            "<Dimension name=\"Bill\">\n"
            "  <Hierarchy hasAll=\"false\" primaryKey=\"id\">\n"
            "    <Table name=\"customer\" alias=\"bill\"/>\n"
            "    <Level name=\"City\" column=\"city\" type=\"String\" uniqueMembers=\"true\"/>\n"
            "  </Hierarchy>\n"
            "</Dimension>\n");
}

TEST_F(DimensionMapping, DisabledLevelsAreLeftOutAndMakeTheDimensionTheCubesOwn) {
  auto& cube = add_sales();
  EXPECT_TRUE(map(cube).dimensions.at(0).mapped.may_be_shared);
  auto& levels = cube.dimensions.edit("Store")->levels;
  levels.add(level("Shop", R"("store"."shop")")).disabled = true;
  const auto mapped = map(cube);
  EXPECT_FALSE(mapped.dimensions.at(0).mapped.may_be_shared);
  EXPECT_EQ(mapped.dimensions.at(0).mapped.element.children[0].children.size(), 2U);
  levels.edit("City")->disabled = true;
  EXPECT_EQ(fault_of(cube), "Cube 'Sales' cannot be published: dimension 'Store': it has no level");
}

TEST_F(DimensionMapping, MoreEqualitiesThanAChainHasMakeAView) {
  for (const std::string more : {"product.kind = g.kind", "product.sold_as = product.kept_as"}) {
    auto& dimension = database.dimensions().add_new("Product of " + more);
    dimension.data_source = "DW";
    dimension.from_clause = "product, g";
    dimension.join_clause = "product.group_id = g.id AND " + more;
    dimension.levels.add(level("Product", "product.id"));
    const auto& cube = add_cube("Sales", "sales", "sales, product", "sales.product_id = product.id",
                                {dimension.name});
    EXPECT_THAT(dimension_xml(cube), HasSubstr("<View alias=\"product\">")) << more;
  }
}

TEST_F(DimensionMapping, ADimensionOfAnotherDatabaseIsNoneOfTheCubes) {
  const auto& cube = add_sales();
  database.data_sources().add_new("Other").connection_string = "jdbc:postgresql://host/other";
  database.dimensions().edit("Store")->data_source = "Other";
  EXPECT_EQ(fault_of(cube),
            "Cube 'Sales' cannot be published: dimension 'Store': its data source 'Other' is "
            "another database than the cube's, 'DW'");
}

TEST_F(DimensionMapping, ACubeThatLeavesALevelOutDoesNotShareTheDimension) {
  auto& dimension =
      add_dimension("Store", "store", {level("City", "store.city"), level("Shop", "store.shop")});
  auto& cube = add_cube("Sales", "sales", "sales, store", "sales.store_id = store.id", {"Store"});
  EXPECT_TRUE(map(cube).dimensions.at(0).mapped.may_be_shared);
  cube.dimensions.edit("Store")->levels.edit("Shop")->disabled = true;
  EXPECT_FALSE(map(cube).dimensions.at(0).mapped.may_be_shared);
  cube.dimensions.edit("Store")->levels.edit("Shop")->disabled = false;
  dimension.levels.add(level("Till", "store.till"));
  EXPECT_FALSE(map(cube).dimensions.at(0).mapped.may_be_shared);
}

TEST_F(DimensionMapping, FactsInTheClausesOfTheDimensionAreNoTableOfIt) {
  add_dimension("Store", "store, sales", {level("City", "store.city")},
                "sales.store_id = store.id");
  const auto& cube =
      add_cube("Sales", "sales", "sales, store", "sales.store_id = store.id", {"Store"});
  EXPECT_THAT(dimension_xml(cube), HasSubstr("primaryKey=\"id\">\n    <Table name=\"store\"/>"));
}

TEST_F(DimensionMapping, OnlyAColumnOfTheFactsCanStandForTheDimensionsOwnKey) {
  add_dimension("Region", "region", {level("Region", "region.id", "region.name")});
  auto& cube = add_cube("Sales", "sales", "sales, store", "sales.store_id = store.id", {"Region"});
  cube.dimensions.edit("Region")->levels.edit("Region")->member_key_column = "store.region_id";
  EXPECT_THAT(fault_of(cube), HasSubstr("dimension 'Region'"));
}

TEST_F(DimensionMapping, AKeyOfTheCubeThatEqualsTheDimensionsOwnIsTheOwn) {
  add_dimension("Store", "store", {level("Store", "store.id", "store.name")});
  auto& cube = add_cube("Sales", "sales", "sales", "", {"Store"});
  cube.dimensions.edit("Store")->levels.edit("Store")->member_key_column = "sales.store_id";
  const auto mapped = map(cube).dimensions.at(0).mapped;
  EXPECT_EQ(mapped.foreign_key, "store_id");
  EXPECT_EQ(mapped.element.children[0].attributes.at(1).second, "id");
  EXPECT_TRUE(mapped.may_be_shared);
}

TEST_F(DimensionMapping, TwoEqualitiesBringTheValuesAlongWithTheFacts) {
  add_dimension("Store", "store", {level("City", "store.city")});
  const auto& cube = add_cube("Sales", "sales", "sales, store",
                              "sales.a = store.a AND sales.b = store.b", {"Store"});
  EXPECT_EQ(dimension_xml(cube),
            "<Dimension name=\"Store\">\n"
            "  <Hierarchy hasAll=\"false\">\n"
            "    <Level name=\"City\" column=\"dimension1_level1_key\" type=\"String\" "
            "uniqueMembers=\"true\"/>\n"
            "  </Hierarchy>\n"
            "</Dimension>\n");
  EXPECT_EQ(fact_xml(cube),
            "<View alias=\"sales\">\n"
            "  <SQL dialect=\"generic\">select &quot;store&quot;.&quot;city&quot; as "
            "&quot;dimension1_level1_key&quot;, &quot;sales&quot;.&quot;amount&quot; as "
            "&quot;amount&quot; from &quot;sales&quot;, &quot;store&quot; where "
            "&quot;sales&quot;.&quot;a&quot; = &quot;store&quot;.&quot;a&quot; and "
            "&quot;sales&quot;.&quot;b&quot; = &quot;store&quot;.&quot;b&quot;</SQL>\n"
            "</View>\n");
}

TEST_F(DimensionMapping, WhatCannotBeExpressedTellsCubeDimensionAndClause) {
  add_dimension("Store", "store", {level("City", "store.city")});
  add_dimension("Lost", "store", {level("City", "shop.city")});
  add_dimension("Keyless", "store", {level("City", "")});
  add_dimension("Open", "store", {level("City", "\"store")});
  auto& prices = add_dimension("Priced", "store", {level("City", "store.city")});
  prices.levels.edit("City")->member_properties.add({"Price", "", "", ""});
  const auto fault = [&](const std::string& dimension) {
    return fault_of(add_cube("Sales", "sales", "sales", "", {dimension}));
  };
  const std::string front = "Cube 'Sales' cannot be published: dimension '";
  EXPECT_EQ(fault("Store"),
            front +
                "Store': no equality ties its tables store to the fact table in the "
                "cube's join clause");
  EXPECT_EQ(fault("Lost"), front +
                               "Lost': level 'City' names shop.city, whose table is in no from "
                               "clause: store");
  EXPECT_EQ(fault("Keyless"), front + "Keyless': level 'City' has no key");
  EXPECT_EQ(fault("Open"), front + "Open': a quote is not closed in \"store");
  EXPECT_EQ(fault("Priced"),
            front + "Priced': the member property 'Price' of level 'City' has no column");
}

}  // namespace
}  // namespace importkcd
