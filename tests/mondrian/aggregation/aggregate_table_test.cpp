#include "mondrian/aggregation/aggregate_table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mondrian/aggregation/declared_aggregates.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* shop_schema = R"(<Schema name="Shop">
  <Dimension name="Product">
    <Hierarchy hasAll="true" allMemberName="All Products" primaryKey="id" primaryKeyTable="product">
      <Join leftAlias="product" leftKey="group_id" rightAlias="groups" rightKey="group_id">
        <Table name="product"/>
        <Table name="product_group" schema="range" alias="groups"/>
      </Join>
      <Level name="Group" table="groups" column="group_id" nameColumn="group_name" ordinalColumn="group_name" approxRowCount="24"/>
      <Level name="Product" table="product" column="id" approxRowCount="12">
        <Property name="Brand" column="brand"/>
      </Level>
    </Hierarchy>
  </Dimension>
  <Cube name="Sales">
    <Table name="sales"/>
    <DimensionUsage name="Product" source="Product" foreignKey="product_id"/>
    <Dimension name="Time" foreignKey="day_id">
      <Hierarchy hasAll="false" primaryKey="day">
        <Table name="calendar"/>
        <Level name="Year" column="year" approxRowCount="3"/>
        <Level name="Half" column="half" ordinalColumn="half_order" approxRowCount="6"/>
        <Level name="Odd" approxRowCount="9"><KeyExpression><SQL dialect="generic">1 + 1</SQL></KeyExpression></Level>
        <Level name="Day" column="day"/>
      </Hierarchy>
    </Dimension>
    <Dimension name="Method">
      <Hierarchy hasAll="true"><Level name="Method" column="method" approxRowCount="4"/></Hierarchy>
    </Dimension>
    <Measure name="Amount" column="amount" aggregator="sum"/>
    <Measure name="Rows" aggregator="count"><MeasureExpression><SQL dialect="generic">1</SQL></MeasureExpression></Measure>
    <Measure name="Customers" column="customer" aggregator="distinct-count"/>
  </Cube>
</Schema>)";

XmlElement shop() { return read_xml(shop_schema, "test"); }

CubeShape shape_of(const XmlElement& schema) {
  std::string reason;
  auto shape = cube_shape(schema, *cube_named(schema, "sales"), reason);
  EXPECT_TRUE(shape) << reason;
  return *shape;
}

TEST(CubeShape, HasWhatTheSchemaSaysOfTablesLevelsAndMeasures) {
  const auto shape = shape_of(shop());
  EXPECT_EQ(shape.facts.table, "sales");
  ASSERT_EQ(shape.dimensions.size(), 3U);
  const auto& product = shape.dimensions[0];
  EXPECT_EQ(product.foreign_key, "product_id");
  EXPECT_EQ(product.primary_key, "id");
  EXPECT_EQ(product.all_member, "All Products");
  ASSERT_EQ(product.relations.size(), 2U);
  EXPECT_EQ(product.relations[1].schema, "range");
  EXPECT_EQ(product.relations[1].alias, "groups");
  ASSERT_EQ(product.levels.size(), 2U);
  EXPECT_EQ(product.levels[0].label, "group_name");
  // A level below another has at least as many members.
  EXPECT_EQ(product.levels[1].size, 24);
  EXPECT_FALSE(shape.dimensions[1].has_all);
  EXPECT_TRUE(shape.dimensions[2].relations.empty());
}

TEST(CubeShape, EndsADimensionAtAnExpressionAndLeavesDistinctCountsOut) {
  const auto shape = shape_of(shop());
  EXPECT_EQ(shape.dimensions[1].levels.size(), 2U);
  ASSERT_EQ(shape.measures.size(), 2U);
  EXPECT_EQ(shape.measures[1].expression, "1");
}

TEST(CubeShape, IsNoneForADimensionThatIsAlwaysAskedForWithExpressionsOnly) {
  auto text = std::string(shop_schema);
  const std::string year = R"(<Level name="Year" column="year" approxRowCount="3"/>)";
  const std::string half =
      R"(<Level name="Half" column="half" ordinalColumn="half_order" approxRowCount="6"/>)";
  text.erase(text.find(year), year.size());
  text.erase(text.find(half), half.size());
  const auto schema = read_xml(text, "test");
  std::string reason;
  EXPECT_FALSE(cube_shape(schema, *cube_named(schema, "Sales"), reason));
  EXPECT_EQ(reason,
            "its dimension 'Time' has no \"all\" level, and its levels are computed by "
            "expressions");
}

TEST(AggregateTable, IsGroupedByTheLevelsAndAllAboveThem) {
  EXPECT_EQ(aggregate_query(shape_of(shop()), {2, 2, 0}, DatabaseKind::postgresql),
            R"(select
  "d1_groups"."group_id" as "dimension1_level1_key",
  "d1_groups"."group_name" as "dimension1_level1_name",
  "d1_product"."id" as "dimension1_level2_key",
  "d1_product"."brand" as "dimension1_level2_property1",
  "d2_calendar"."year" as "dimension2_level1_key",
  "d2_calendar"."half" as "dimension2_level2_key",
  "d2_calendar"."half_order" as "dimension2_level2_order",
  count(*) as "fact_count",
  sum("sales"."amount") as "measure1",
  count(1) as "measure2"
from "sales" "sales"
left join "product" "d1_product" on "sales"."product_id" = "d1_product"."id"
left join "range"."product_group" "d1_groups" on "d1_product"."group_id" = "d1_groups"."group_id"
left join "calendar" "d2_calendar" on "sales"."day_id" = "d2_calendar"."day"
group by "d1_groups"."group_id", "d1_groups"."group_name", "d1_product"."id", "d1_product"."brand", "d2_calendar"."year", "d2_calendar"."half", "d2_calendar"."half_order")");
}

TEST(AggregateTable, JoinsNoTableThatItsLevelsDoNotNeed) {
  const auto query = aggregate_query(shape_of(shop()), {0, 1, 1}, DatabaseKind::mariadb);
  EXPECT_THAT(query, Not(HasSubstr("product")));
  EXPECT_THAT(query, HasSubstr("`sales`.`method` as `dimension3_level1_key`"));
}

TEST(AggregateTable, IsMadeInTheWordsOfEachDatabase) {
  EXPECT_EQ(create_table_statement(DatabaseKind::postgresql, "a", "select 1"),
            "create table \"a\" as\nselect 1");
  EXPECT_EQ(create_table_statement(DatabaseKind::mariadb, "a", "select 1"),
            "create table `a` as\nselect 1");
  EXPECT_THAT(create_table_statement(DatabaseKind::sql_server, "a", "select 1 as x"),
              ::testing::StartsWith("select * into "));
}

TEST(AggregateTable, HasAnIndexForEachDimension) {
  EXPECT_THAT(
      index_statements(shape_of(shop()), {2, 1, 0}, DatabaseKind::postgresql, "t"),
      ElementsAre("create index on \"t\" (\"dimension1_level1_key\", \"dimension1_level2_key\")",
                  "create index on \"t\" (\"dimension2_level1_key\")"));
  EXPECT_THAT(index_statements(shape_of(shop()), {0, 1, 0}, DatabaseKind::mariadb, "t"),
              ElementsAre("create index `by_level1` on `t` (`dimension2_level1_key`)"));
}

TEST(AggregateTable, IsMissingFactsWhenAnyKeyIs) {
  EXPECT_EQ(completeness_statement(shape_of(shop()), {1, 1, 0}, DatabaseKind::postgresql, "t"),
            "select coalesce(sum(\"fact_count\"), 0), coalesce(sum(case when "
            "\"dimension1_level1_key\" is null or \"dimension2_level1_key\" is null then 1 else 0 "
            "end), 0), count(*) from \"t\"");
}

TEST(AggregateTable, HasAFingerprintOfAllFactsThatTablesOfItsCubeCanTake) {
  const auto facts = facts_fingerprint_statement(shape_of(shop()), DatabaseKind::postgresql);
  EXPECT_EQ(facts,
            R"(select (select count(*) || ':' || coalesce(sum(hashtextextended(row()"
            R"("sales"."product_id", "sales"."day_id", "sales"."method", "sales"."amount", 1)"
            R"()::text, 0)::numeric), 0) from "sales" "sales"))");
  for (const auto& levels : {LevelCombination{0, 0, 0}, {1, 1, 0}, {2, 2, 1}}) {
    EXPECT_EQ(fingerprint_statements(shape_of(shop()), levels, DatabaseKind::postgresql).facts,
              facts);
  }
}

TEST(AggregateTable, HasNoFactsInItsFingerprintThatNoTableCanTake) {
  auto schema = std::string(shop_schema);
  const std::string key = R"(<Level name="Year" column="year" approxRowCount="3"/>)";
  schema.replace(schema.find(key), key.size(),
                 R"(<Level name="Year"><KeyExpression><SQL>2</SQL></KeyExpression></Level>)");
  schema.replace(schema.find(R"(hasAll="false")"), 14, R"(hasAll="true")");
  const auto facts =
      facts_fingerprint_statement(shape_of(read_xml(schema, "test")), DatabaseKind::postgresql);
  EXPECT_THAT(facts, HasSubstr("product_id"));
  EXPECT_THAT(facts, Not(HasSubstr("day_id")));
  EXPECT_THAT(facts, Not(HasSubstr("customer")));
}

TEST(AggregateTable, HasAFingerprintOfTheColumnsOfDimensionsThatItUses) {
  const auto statement =
      dimensions_fingerprint_statement(shape_of(shop()), {1, 1, 0}, DatabaseKind::postgresql);
  EXPECT_THAT(statement, HasSubstr(R"(row("product"."id", "product"."group_id")::text)"));
  EXPECT_THAT(statement, HasSubstr(R"(row("groups"."group_id", "groups"."group_name")::text)"));
  EXPECT_THAT(statement, Not(HasSubstr("brand")));
  EXPECT_THAT(statement, Not(HasSubstr("sales")));
  EXPECT_THAT(dimensions_fingerprint_statement(shape_of(shop()), {0, 1, 0}, DatabaseKind::mariadb),
              HasSubstr("crc32(concat_ws(',',quote(`calendar`.`day`), quote(`calendar`.`year`)))"));
  EXPECT_THAT(
      dimensions_fingerprint_statement(shape_of(shop()), {0, 1, 0}, DatabaseKind::sql_server),
      HasSubstr("checksum_agg(binary_checksum("));
  // The levels of the third dimension are columns of the facts.
  EXPECT_EQ(dimensions_fingerprint_statement(shape_of(shop()), {0, 0, 1}, DatabaseKind::mariadb),
            "");
}

TEST(AggregateTable, IsDeclaredWithItsColumns) {
  EXPECT_EQ(xml_text(aggregate_element(shape_of(shop()), {1, 2, 0}, "t", "42")),
            R"(<AggName name="t" approxRowCount="42">
  <AggFactCount column="fact_count"/>
  <AggMeasure column="measure1" name="[Measures].[Amount]"/>
  <AggMeasure column="measure2" name="[Measures].[Rows]"/>
  <AggLevel column="dimension1_level1_key" name="[Product].[Group]" nameColumn="dimension1_level1_name" ordinalColumn="dimension1_level1_name" collapsed="true"/>
  <AggLevel column="dimension2_level1_key" name="[Time].[Year]" collapsed="true"/>
  <AggLevel column="dimension2_level2_key" name="[Time].[Half]" ordinalColumn="dimension2_level2_order" collapsed="true"/>
</AggName>
)");
}

/// The record of a table for the groups and years of the shop.
AggregateRecord record_of(const XmlElement& schema) {
  return {"Shop",
          "Sales",
          "sales_1",
          {{"Product", "Group"}, {"Time", "Year"}},
          aggregate_query(shape_of(schema), {1, 1, 0}, DatabaseKind::postgresql),
          "2026-11-22 08:00:00",
          {"select 1", "select 2"},
          {"1", "2"},
          "72"};
}

std::string declared(const XmlElement& schema, const AggregateRecords& records,
                     std::vector<std::string>& remarks) {
  auto changed = schema;
  declare_aggregates(changed, "shop", DatabaseKind::postgresql, records, remarks);
  return xml_text(changed);
}

TEST(DeclaredAggregates, AreThoseThatHoldWhatTheSchemaWouldHaveInThem) {
  const auto schema = shop();
  std::vector<std::string> remarks;
  EXPECT_THAT(declared(schema, {{record_of(schema)}, {}}, remarks),
              HasSubstr("<AggName name=\"sales_1\" approxRowCount=\"72\">"));
  EXPECT_THAT(remarks, ElementsAre());
}

TEST(DeclaredAggregates, AreNotThoseOfAChangedCube) {
  const auto schema = shop();
  auto record = record_of(schema);
  record.query += " ";
  std::vector<std::string> remarks;
  EXPECT_EQ(declared(schema, {{record}, {}}, remarks), xml_text(schema));
  EXPECT_THAT(remarks,
              ElementsAre("Cube 'Sales' is published without its aggregate table 'sales_1': the "
                          "cube has changed since it was built; 'kcd aggregate refresh' builds it "
                          "anew"));
}

TEST(DeclaredAggregates, AreNeitherUnfinishedOnesNorThoseOfOtherDatabases) {
  const auto schema = shop();
  auto unfinished = record_of(schema);
  unfinished.built.clear();
  auto other = record_of(schema);
  other.database = "Other";
  std::vector<std::string> remarks;
  EXPECT_EQ(declared(schema, {{unfinished, other}, {}}, remarks), xml_text(schema));
  EXPECT_THAT(remarks, ElementsAre());
}

TEST(DeclaredAggregates, StandOnTheViewOfFactsThatAreAQuery) {
  auto text = std::string(shop_schema);
  const std::string table = R"(<Table name="sales"/>)";
  text.replace(text.find(table), table.size(),
               R"(<View alias="sales"><SQL dialect="generic">select 1</SQL></View>)");
  const auto schema = read_xml(text, "test");
  const FactsViewRecord view{"Shop", "Sales", "sales_facts", "select 1"};
  auto record = record_of(shop());
  const auto shape = shape_to_build_on(schema, *cube_named(schema, "Sales"), &view);
  ASSERT_TRUE(shape);
  record.query = aggregate_query(*shape, {1, 1, 0}, DatabaseKind::postgresql);
  std::vector<std::string> remarks;
  EXPECT_THAT(declared(schema, {{record}, {view}}, remarks),
              HasSubstr("<Table name=\"sales_facts\" alias=\"sales\">"));
  EXPECT_THAT(remarks, ElementsAre());
  auto older = view;
  older.query = "select 2";
  EXPECT_EQ(declared(schema, {{record}, {older}}, remarks), xml_text(schema));
  EXPECT_EQ(remarks.size(), 1U);
}

TEST(AggregateRecords, ComeBackFromTheirFile) {
  AggregateRecords records{{record_of(shop())}, {{"Shop", "Sales", "v", "select 'a < b'\n, 2"}}};
  const auto read = parse_aggregates(aggregates_text(records), "file");
  ASSERT_EQ(read.tables.size(), 1U);
  EXPECT_EQ(read.tables[0].query, records.tables[0].query);
  EXPECT_EQ(read.tables[0].levels, records.tables[0].levels);
  EXPECT_EQ(read.tables[0].built, "2026-11-22 08:00:00");
  EXPECT_EQ(read.tables[0].fingerprint_queries, records.tables[0].fingerprint_queries);
  EXPECT_EQ(read.tables[0].fingerprint, records.tables[0].fingerprint);
  EXPECT_EQ(read.tables[0].rows, "72");
  ASSERT_NE(read.view_of("SHOP", "sales"), nullptr);
  EXPECT_EQ(read.view_of("SHOP", "sales")->query, "select 'a < b'\n, 2");
  EXPECT_TRUE(read.names("SALES_1"));
  EXPECT_TRUE(read.names("v"));
  EXPECT_FALSE(read.names("sales_2"));
}

TEST(AggregateRecords, OfAnOlderVersionHaveNoQueryAboutTheFacts) {
  const auto read = parse_aggregates(
      R"(<Aggregates><Table name="t" database="d" cube="c" built="2026-11-22 08:00:00"><Query>q)"
      R"(</Query><FingerprintQuery>select 1</FingerprintQuery><Fingerprint>1</Fingerprint></Table>)"
      R"(</Aggregates>)",
      "file");
  ASSERT_EQ(read.tables.size(), 1U);
  EXPECT_TRUE(read.tables[0].is_finished());
  EXPECT_EQ(read.tables[0].fingerprint_queries, FingerprintTexts());
}

TEST(AggregateRecords, OfAnotherFileAreRefused) {
  EXPECT_THROW(parse_aggregates("<Other/>", "file"), std::exception);
  EXPECT_THROW(parse_aggregates("no XML", "file"), std::exception);
}

}  // namespace
}  // namespace importkcd
