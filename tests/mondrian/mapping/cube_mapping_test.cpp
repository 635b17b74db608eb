#include "mondrian/mapping/cube_mapping.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::measure;
using ::testing::Not;

class MeasureMapping : public testing::MappingTest {
 protected:
  std::string xml(const OlapMeasure& measure) {
    auto& cube = cube_with(measure);
    return xml_text(map(cube).measures.at(1));
  }

  OlapCube& cube_with(const OlapMeasure& measure) {
    if (!database.dimensions().contains("Store")) {
      add_sales();
    }
    auto& cube = *database.cubes().edit("Sales");
    cube.measures.remove("M");
    cube.measures.add(measure);
    return cube;
  }
};

TEST_F(MeasureMapping, AColumnIsAggregated) {
  EXPECT_EQ(xml(measure("M", "\"sales\".\"Quantity\"")),
            "<Measure name=\"M\" column=\"Quantity\" aggregator=\"sum\"/>\n");
  EXPECT_EQ(xml(measure("M", "qty", OlapAggregateFunction::min)),
            "<Measure name=\"M\" column=\"qty\" aggregator=\"min\"/>\n");
  EXPECT_EQ(xml(measure("M", "(qty)", OlapAggregateFunction::max)),
            "<Measure name=\"M\" column=\"qty\" aggregator=\"max\"/>\n");
  EXPECT_EQ(xml(measure("M", "qty", OlapAggregateFunction::count)),
            "<Measure name=\"M\" column=\"qty\" aggregator=\"count\"/>\n");
}

TEST_F(MeasureMapping, FormatDescriptionAndHiddenFlagAreCarriedOver) {
  auto amount = measure("M", "amount");
  amount.format = "#,##0.00 \"€\"";
  amount.description = "What's sold";
  amount.internal = true;
  EXPECT_EQ(xml(amount),
            "<Measure name=\"M\" column=\"amount\" aggregator=\"sum\" formatString=\"#,##0.00 "
            "&quot;&#x20AC;&quot;\" visible=\"false\" description=\"What's sold\"/>\n");
}

TEST_F(MeasureMapping, ACountOfNothingOrOfEverythingCountsRows) {
  const auto* rows =
      "<Measure name=\"M\" aggregator=\"count\">\n"
      "  <MeasureExpression>\n"
      "    <SQL dialect=\"generic\">1</SQL>\n"
      "  </MeasureExpression>\n"
      "</Measure>\n";
  EXPECT_EQ(xml(measure("M", "", OlapAggregateFunction::count)), rows);
  EXPECT_EQ(xml(measure("M", "*", OlapAggregateFunction::count)), rows);
}

TEST_F(MeasureMapping, ACountOfDistinctValuesIsTheEnginesOwn) {
  const std::string counted = R"(<Measure name="M" column="buyer" aggregator="distinct-count"/>)"
                              "\n";
  for (const auto* source : {"distinct buyer", R"(DISTINCT "sales"."buyer")", "Distinct(buyer)"}) {
    EXPECT_EQ(xml(measure("M", source, OlapAggregateFunction::count)), counted) << source;
  }
  EXPECT_EQ(xml(measure("M", "\"distinct\"", OlapAggregateFunction::count)),
            "<Measure name=\"M\" column=\"distinct\" aggregator=\"count\"/>\n");
  EXPECT_EQ(xml(measure("M", "distinct_buyers", OlapAggregateFunction::count)),
            "<Measure name=\"M\" column=\"distinct_buyers\" aggregator=\"count\"/>\n");
  EXPECT_EQ(fault_of(cube_with(measure("M", "distinct", OlapAggregateFunction::count))),
            "Cube 'Sales' cannot be published: measure 'M': it has no source column");
}

TEST_F(MeasureMapping, ACountOfDistinctValuesOfOtherTablesIsAColumnOfTheView) {
  auto& cube = cube_with(measure("M", "distinct store.owner", OlapAggregateFunction::count));
  EXPECT_EQ(xml_text(map(cube).measures.at(1)),
            "<Measure name=\"M\" column=\"measure2\" aggregator=\"distinct-count\"/>\n");
  EXPECT_THAT(fact_xml(cube), HasSubstr("&quot;store&quot;.&quot;owner&quot; as "
                                        "&quot;measure2&quot; from"));
  EXPECT_THAT(fact_xml(cube), Not(HasSubstr("distinct")));
}

TEST_F(MeasureMapping, AnExpressionOverTheFactTableIsAnElement) {
  EXPECT_EQ(xml(measure("M", "\"sales\".\"amount\" * 2")),
            "<Measure name=\"M\" aggregator=\"sum\">\n"
            "  <MeasureExpression>\n"
            "    <SQL dialect=\"generic\">&quot;sales&quot;.&quot;amount&quot; * 2</SQL>\n"
            "  </MeasureExpression>\n"
            "</Measure>\n");
}

TEST_F(MeasureMapping, AnExpressionOverOtherTablesMakesAViewOfTheFacts) {
  auto& cube = cube_with(measure("M", "sales.qty * store.price"));
  EXPECT_EQ(xml_text(map(cube).measures.at(1)),
            "<Measure name=\"M\" column=\"measure2\" aggregator=\"sum\"/>\n");
  EXPECT_EQ(fact_xml(cube),
            "<View alias=\"sales\">\n"
            "  <SQL dialect=\"generic\">select &quot;sales&quot;.&quot;store_id&quot; as "
            "&quot;store_id&quot;, &quot;sales&quot;.&quot;amount&quot; as &quot;amount&quot;, "
            "&quot;sales&quot;.&quot;qty&quot; * &quot;store&quot;.&quot;price&quot; as "
            "&quot;measure2&quot; from &quot;sales&quot;, &quot;store&quot; where "
            "&quot;sales&quot;.&quot;store_id&quot; = "
            "&quot;store&quot;.&quot;store_id&quot;</SQL>\n"
            "</View>\n");
}

TEST_F(MeasureMapping, BareNamesInAnExpressionAreKeptApartFromOtherTables) {
  auto& cube = cube_with(measure("M", "price * qty"));
  EXPECT_THAT(fact_xml(cube), HasSubstr("price * qty as &quot;measure2&quot; from "
                                        "&quot;sales&quot;</SQL>"));
}

TEST_F(MeasureMapping, OneWithoutASourceIsLeftOutAndToldOf) {
  auto& cube = cube_with(measure("M", ""));
  EXPECT_EQ(map(cube).measures.size(), 1U);
  EXPECT_THAT(remarks, ElementsAre("Cube 'Sales' is published without its measure 'M': it has no "
                                   "source column"));
}

TEST_F(MeasureMapping, ACubeThatLosesAllOfThemTellsWhy) {
  auto& cube = cube_with(measure("M", ""));
  cube.measures.edit("Amount")->source_column.clear();
  EXPECT_EQ(fault_of(cube),
            "Cube 'Sales' cannot be published: none of its measures has a source column");
}

TEST_F(MeasureMapping, ATableThatIsNotThereIsAnError) {
  EXPECT_EQ(
      fault_of(cube_with(measure("M", "shop.qty + 1"))),
      "Cube 'Sales' cannot be published: measure 'M': it names shop.qty, whose table is not in "
      "the cube's from clause");
}

TEST_F(MeasureMapping, AnUnknownAggregateIsAnError) {
  EXPECT_EQ(fault_of(cube_with(measure("M", "qty", static_cast<OlapAggregateFunction>(9)))),
            "Cube 'Sales' cannot be published: the aggregate function of code 9 is not known");
}

}  // namespace
}  // namespace importkcd
