#include "mondrian/mapping/schema_mapping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mondrian/publication/catalogues.h"
#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::level;
using testing::measure;

class SchemaMapping : public testing::MappingTest {
 protected:
  /// The schemas of all catalogues.
  std::string schemas() {
    remarks.clear();
    std::string result;
    for (const auto& catalogue : catalogues_of(database, remarks)) {
      result += xml_text(schema_element(database, catalogue, remarks));
    }
    return result;
  }

  OlapCube& add_virtual(const std::string& name, const std::vector<OlapMeasure>& measures,
                        const std::vector<std::string>& dimensions) {
    auto& cube = database.add_cube(name, OlapCubeKind::is_virtual);
    for (const auto& one : measures) {
      cube.measures.add(one);
    }
    for (const auto& dimension : dimensions) {
      cube.dimensions.add({dimension, {}});
    }
    return cube;
  }

  const std::string store_dimension =
      "  <Dimension name=\"Store\">\n"
      "    <Hierarchy hasAll=\"false\" primaryKey=\"store_id\">\n"
      "      <Table name=\"store\"/>\n"
      "      <Level name=\"City\" column=\"city\" type=\"String\" uniqueMembers=\"true\"/>\n"
      "    </Hierarchy>\n"
      "  </Dimension>\n";
  const std::string sales_cube =
      "  <Cube name=\"Sales\">\n"
      "    <Table name=\"sales\"/>\n"
      "    <DimensionUsage name=\"Store\" source=\"Store\" foreignKey=\"store_id\"/>\n"
      "    <Measure name=\"Amount\" column=\"amount\" aggregator=\"sum\"/>\n"
      "  </Cube>\n";
};

TEST_F(SchemaMapping, SharedDimensionsComeFirstThenCubesThenRoles) {
  database.description = "Shops & stock";
  database.roles().add_new("Readers");
  add_sales().roles.add_new("Readers").permissions.add({"Access", "R"});
  EXPECT_EQ(schemas(), "<Schema name=\"Shops\" description=\"Shops &amp; stock\">\n" +
                           store_dimension + sales_cube +
                           "  <Role name=\"Readers\">\n"
                           "    <SchemaGrant access=\"none\">\n"
                           "      <CubeGrant cube=\"Sales\" access=\"all\"/>\n"
                           "    </SchemaGrant>\n"
                           "  </Role>\n"
                           "</Schema>\n");
  EXPECT_THAT(remarks, IsEmpty());
}

TEST_F(SchemaMapping, CubesShareADimensionUnlessTheyHaveItInAnotherForm) {
  add_sales();
  add_cube("Returns", "returns", "returns, store", "returns.shop = store.store_id", {"Store"});
  auto& stock =
      add_cube("Stock", "stock", "stock, store", "stock.shop = store.store_id", {"Store"});
  stock.dimensions.edit("Store")->levels.edit("City")->member_key_column = "store.town";
  EXPECT_EQ(schemas(),
            "<Schema name=\"Shops\">\n" + store_dimension + sales_cube +
                "  <Cube name=\"Returns\">\n"
                "    <Table name=\"returns\"/>\n"
                "    <DimensionUsage name=\"Store\" source=\"Store\" foreignKey=\"shop\"/>\n"
                "    <Measure name=\"Amount\" column=\"amount\" aggregator=\"sum\"/>\n"
                "  </Cube>\n"
                "  <Cube name=\"Stock\">\n"
                "    <Table name=\"stock\"/>\n"
                "    <Dimension name=\"Store\" foreignKey=\"shop\">\n"
                "      <Hierarchy hasAll=\"false\" primaryKey=\"store_id\">\n"
                "        <Table name=\"store\"/>\n"
                "        <Level name=\"City\" column=\"town\" type=\"String\" "
                "uniqueMembers=\"true\"/>\n"
                "      </Hierarchy>\n"
                "    </Dimension>\n"
                "    <Measure name=\"Amount\" column=\"amount\" aggregator=\"sum\"/>\n"
                "  </Cube>\n"
                "</Schema>\n");
}

TEST_F(SchemaMapping, PrivateDimensionsAreInsideOfTheirCubes) {
  auto& dimension = add_dimension("Order", "sales", {level("Order", "sales.order_no")});
  dimension.kind = OlapDimensionKind::is_private;
  dimension.owner_cube = "Sales";
  add_cube("Sales", "sales", "sales", "", {"Order"});
  EXPECT_EQ(schemas(),
            "<Schema name=\"Shops\">\n"
            "  <Cube name=\"Sales\">\n"
            "    <Table name=\"sales\"/>\n"
            "    <Dimension name=\"Order\">\n"
            "      <Hierarchy hasAll=\"false\">\n"
            "        <Level name=\"Order\" column=\"order_no\" type=\"String\" "
            "uniqueMembers=\"true\"/>\n"
            "      </Hierarchy>\n"
            "    </Dimension>\n"
            "    <Measure name=\"Amount\" column=\"amount\" aggregator=\"sum\"/>\n"
            "  </Cube>\n"
            "</Schema>\n");
}

TEST_F(SchemaMapping, PartitionsWithSlicesAreAnAnnotationInFrontOfTheFacts) {
  auto& cube = add_sales();
  for (const auto* name : {"North", "South"}) {
    auto& partition = cube.partitions.edit_or_add(name);
    partition.fact_table = "sales";
    partition.from_clause = R"("sales", "store")";
    partition.join_clause = R"("sales"."store_id" = "store"."store_id")";
    partition.data_source = "DW";
    partition.follows_cube = false;
    partition.slices.edit_or_add("Store").levels.add({"City", "", name});
  }
  const auto schema = read_xml(schemas(), "test");
  const auto& published = *schema.child("Cube");
  ASSERT_EQ(published.children.at(0).name, "Annotations");
  const auto& annotation = published.children.at(0).children.at(0);
  EXPECT_EQ(annotation.name, "Annotation");
  EXPECT_EQ(annotation.attribute("name"), "importkcd.partitions");
  EXPECT_THAT(annotation.text, HasSubstr(R"("column":"city","value":"South","number":false)"));
  EXPECT_EQ(published.children.at(1).name, "View");
}

TEST_F(SchemaMapping, ACubeThatCannotBeExpressedIsLeftOutAndTheOthersStay) {
  add_sales();
  auto& broken = add_cube("Broken", "broken", "broken", "", {"Store"});
  broken.roles.add_new("Readers").permissions.add({"Access", "R"});
  EXPECT_EQ(schemas(), "<Schema name=\"Shops\">\n" + store_dimension + sales_cube + "</Schema>\n");
  EXPECT_THAT(
      remarks,
      ElementsAre("Cube 'Broken' cannot be published: dimension 'Store': no equality ties its "
                  "tables \"store\" to the fact table in the cube's join clause"));
}

TEST_F(SchemaMapping, DefinitionsThatCannotBeReadAreNoReasonToLeaveACubeOut) {
  const auto unreadable = testing::unreadable_database();
  const auto catalogues = catalogues_of(*unreadable, remarks);
  ASSERT_EQ(catalogues.size(), 1U);
  EXPECT_EQ(testing::reason_of([&] { schema_element(*unreadable, catalogues.front(), remarks); }),
            "disk I/O error");
  EXPECT_THAT(remarks, IsEmpty());
}

TEST_F(SchemaMapping, ACubeNeedsADimensionAndAMeasure) {
  auto& cube = add_sales();
  cube.measures.remove("Amount");
  EXPECT_EQ(fault_of(cube), "Cube 'Sales' cannot be published: it has no measure");
  cube.measures.add(measure("Amount", "amount"));
  cube.dimensions.remove("Store");
  EXPECT_EQ(fault_of(cube), "Cube 'Sales' cannot be published: it has no dimension");
  cube.fact_table.clear();
  EXPECT_EQ(fault_of(cube), "Cube 'Sales' cannot be published: it has no fact table");
  cube.data_source.clear();
  EXPECT_EQ(fault_of(cube), "Cube 'Sales' cannot be published: it has no data source");
}

TEST_F(SchemaMapping, TheNameOfTheMeasuresIsTakenByNoDimension) {
  add_dimension("measures", "store", {level("City", "store.city")});
  EXPECT_EQ(
      fault_of(add_cube("Sales", "sales", "sales, store", "sales.id = store.id", {"measures"})),
      "Cube 'Sales' cannot be published: dimension 'measures': the engine keeps this name for "
      "the measures");
}

TEST_F(SchemaMapping, FactTablesOfOneNameInTwoSchemasHaveTwoNames) {
  add_dimension("Store", "store", {level("City", "store.city")});
  add_cube("New", "dbo.sales", "dbo.sales, store", "sales.id = store.id", {"Store"});
  add_cube("Old", "old.sales", "old.sales, store", "sales.id = store.id", {"Store"});
  const auto text = schemas();
  EXPECT_THAT(text, ::testing::HasSubstr("<Table name=\"sales\" schema=\"dbo\"/>"));
  EXPECT_THAT(text,
              ::testing::HasSubstr("<Table name=\"sales\" schema=\"old\" alias=\"sales_2\"/>"));
}

TEST_F(SchemaMapping, AVirtualCubeTakesMeasuresAndDimensionsOfItsCubes) {
  add_sales();
  add_cube("Stock", "stock", "stock, store", "stock.shop = store.store_id", {"Store"})
      .measures.add(measure("Units", "units"));
  auto renamed = measure("Value", "[Stock].[Amount]");
  auto& both = add_virtual(
      "Both", {measure("Amount", "[Sales].[Amount]"), measure("Units", "stock.Units")}, {"Store"});
  both.description = "All";
  add_virtual("Renamed", {renamed}, {"store"});
  const auto text = schemas();
  EXPECT_THAT(remarks, IsEmpty());
  EXPECT_EQ(text.substr(text.find("  <VirtualCube")),
            "  <VirtualCube name=\"Both\" description=\"All\">\n"
            "    <VirtualCubeDimension name=\"Store\"/>\n"
            "    <VirtualCubeMeasure cubeName=\"Sales\" name=\"[Measures].[Amount]\"/>\n"
            "    <VirtualCubeMeasure cubeName=\"Stock\" name=\"[Measures].[Units]\"/>\n"
            "  </VirtualCube>\n"
            "  <VirtualCube name=\"Renamed\">\n"
            "    <VirtualCubeDimension name=\"Store\"/>\n"
            "    <VirtualCubeMeasure cubeName=\"Stock\" name=\"[Measures].[Amount]\" "
            "visible=\"false\"/>\n"
            "    <CalculatedMember name=\"Value\" dimension=\"Measures\">\n"
            "      <Formula>[Measures].[Amount]</Formula>\n"
            "    </CalculatedMember>\n"
            "  </VirtualCube>\n"
            "</Schema>\n");
}

TEST_F(SchemaMapping, AVirtualCubeThatCannotBeExpressedIsLeftOutAndToldOf) {
  add_sales();
  add_virtual("A", {measure("Amount", "[Sales].[Nothing]")}, {"Store"});
  add_virtual("B", {measure("Amount", "[Missing].[Amount]")}, {"Store"});
  add_virtual("C", {measure("Amount", "[Sales].[Amount]")}, {"Customer"});
  EXPECT_EQ(schemas(), "<Schema name=\"Shops\">\n" + store_dimension + sales_cube + "</Schema>\n");
  EXPECT_THAT(
      remarks,
      ::testing::UnorderedElementsAre(
          "Virtual cube 'A' cannot be published: measure 'Amount': cube 'Sales' has no measure "
          "'Nothing'",
          "Virtual cube 'B' cannot be published: no published cube has its first measure",
          "Virtual cube 'C' cannot be published: no cube that its measures come from has the "
          "dimension 'Customer'"));
}

OlapCube cube_with_roles(const std::string& name,
                         const std::vector<std::pair<std::string, std::string>>& permissions) {
  OlapCube result;
  result.name = name;
  for (const auto& [role, access] : permissions) {
    result.roles.add_new(role).permissions.add({"Access", access});
  }
  return result;
}

std::string roles_text(const RoleGrants& grants) {
  std::string result;
  for (const auto& element : grants.elements()) {
    result += xml_text(element);
  }
  return result;
}

TEST(RoleMapping, ARoleOfTheDatabaseSeesNothingOfItself) {
  RoleGrants grants;
  grants.add_role("O'Neill & <Co>");
  EXPECT_EQ(roles_text(grants),
            "<Role name=\"O'Neill &amp; &lt;Co&gt;\">\n"
            "  <SchemaGrant access=\"none\"/>\n"
            "</Role>\n");
}

TEST(RoleMapping, AUserListBecomesAnAnnotation) {
  RoleGrants grants;
  grants.add_role("Readers", R"(SHOP\o'neill;SHOP\R&D)");
  EXPECT_EQ(roles_text(grants),
            "<Role name=\"Readers\">\n"
            "  <Annotations>\n"
            "    <Annotation name=\"user_list\">SHOP\\o'neill;SHOP\\R&amp;D</Annotation>\n"
            "  </Annotations>\n"
            "  <SchemaGrant access=\"none\"/>\n"
            "</Role>\n");
}

TEST(RoleMapping, CubesGrantWhatTheirPermissionsSay) {
  RoleGrants grants;
  grants.add_role("Readers");
  grants.add_cube(cube_with_roles("Sales", {{"readers", "R"}, {"Writers", "RW"}, {"Nobody", ""}}));
  grants.add_cube(cube_with_roles("Stock", {{"READERS", "r"}, {"Writers", "W"}}));
  EXPECT_EQ(roles_text(grants),
            "<Role name=\"Readers\">\n"
            "  <SchemaGrant access=\"none\">\n"
            "    <CubeGrant cube=\"Sales\" access=\"all\"/>\n"
            "    <CubeGrant cube=\"Stock\" access=\"all\"/>\n"
            "  </SchemaGrant>\n"
            "</Role>\n"
            "<Role name=\"Writers\">\n"
            "  <SchemaGrant access=\"none\">\n"
            "    <CubeGrant cube=\"Sales\" access=\"all\"/>\n"
            "  </SchemaGrant>\n"
            "</Role>\n"
            "<Role name=\"Nobody\">\n"
            "  <SchemaGrant access=\"none\"/>\n"
            "</Role>\n");
}

TEST(RoleMapping, ARoleWithoutAPermissionIsGrantedNothing) {
  RoleGrants grants;
  OlapCube sales = cube_with_roles("Sales", {});
  sales.roles.add_new("Readers");
  grants.add_cube(sales);
  EXPECT_EQ(roles_text(grants),
            "<Role name=\"Readers\">\n  <SchemaGrant access=\"none\"/>\n</Role>\n");
}

}  // namespace
}  // namespace importkcd
