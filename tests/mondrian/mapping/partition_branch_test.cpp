#include "mondrian/mapping/partition_branch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using testing::level;

class PartitionBranch : public testing::MappingTest {
 protected:
  PartitionBranch() {
    auto city = level("City", "store.city_id", "store.city");
    city.column_type = 3;
    add_dimension("Store", "store", {level("Country", "store.country"), city});
    cube_ = &add_cube("Sales", "sales", "sales, store", "sales.store_id = store.id", {"Store"});
    cube_->measures.remove("Amount");
    cube_->measures.add(testing::measure("Amount", "sales.amount"));
  }

  OlapPartition& add_partition(const std::string& name, const std::string& fact_table,
                               const std::string& from_clause, const std::string& join_clause) {
    auto& partition = cube_->partitions.edit_or_add(name);
    partition.fact_table = fact_table;
    partition.from_clause = from_clause;
    partition.join_clause = join_clause;
    partition.data_source = "DW";
    partition.follows_cube = false;
    return partition;
  }

  void slice(OlapPartition& partition, const std::string& on_level, const std::string& value,
             const std::string& key = {}) {
    partition.slices.edit_or_add("Store").levels.add({on_level, key, value});
  }

  /// The queries of the partitions, one per line; the whole element when the facts are no view.
  std::string queries() {
    const auto fact = map(*cube_).fact;
    return fact.name == "View" ? fact.children.at(0).text : xml_text(fact);
  }

  OlapCube* cube_ = nullptr;
};

TEST_F(PartitionBranch, APartitionThatIsLikeItsCubeNeedsNoView) {
  add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id");
  EXPECT_EQ(queries(), "<Table name=\"sales\"/>\n");
  add_partition("Sales", "\"sales\"", "sales INNER JOIN store ON sales.store_id = store.id", "");
  EXPECT_EQ(queries(), "<Table name=\"sales\"/>\n");
}

TEST_F(PartitionBranch, PartitionsWithTablesOfTheirOwnAreAUnion) {
  add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id");
  add_partition("Old", "dbo.sales_2024", "dbo.sales_2024, store", "dbo.sales_2024.shop = store.id");
  EXPECT_EQ(
      queries(),
      "select \"sales\".\"store_id\" as \"store_id\", \"sales\".\"amount\" as \"amount\" from "
      "\"sales\"\n"
      "union all\n"
      "select \"sales_2024\".\"shop\" as \"store_id\", \"sales_2024\".\"amount\" as "
      "\"amount\" from \"dbo\".\"sales_2024\"");
}

TEST_F(PartitionBranch, TheOwnPartitionThatNoDocumentWroteDoesNotCountBesideOthers) {
  add_partition("Old", "sales_2024", "sales_2024, store", "sales_2024.store_id = store.id");
  add_partition("New", "sales_2025", "sales_2025, store", "sales_2025.store_id = store.id");
  EXPECT_EQ(queries(),
            "select \"sales_2024\".\"store_id\" as \"store_id\", \"sales_2024\".\"amount\" as "
            "\"amount\" from \"sales_2024\"\n"
            "union all\n"
            "select \"sales_2025\".\"store_id\" as \"store_id\", \"sales_2025\".\"amount\" as "
            "\"amount\" from \"sales_2025\"");
  EXPECT_EQ(remarks, std::vector<std::string>{
                         "Cube 'Sales' is published without its own partition: no document wrote "
                         "it, and beside the partitions that one wrote it would count their rows "
                         "twice"});
}

TEST_F(PartitionBranch, TheOwnPartitionCountsAlone) {
  EXPECT_EQ(queries(), "<Table name=\"sales\"/>\n");
  EXPECT_EQ(remarks, std::vector<std::string>{});
}

TEST_F(PartitionBranch, ASliceOnANumberIsAConditionOnTheKey) {
  slice(add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id"), "City", "17");
  EXPECT_EQ(
      queries(),
      "select \"sales\".\"store_id\" as \"store_id\", \"sales\".\"amount\" as \"amount\" from "
      "\"sales\", \"store\" where \"sales\".\"store_id\" = \"store\".\"id\" and "
      "\"store\".\"city_id\" = 17");
}

TEST_F(PartitionBranch, OnlyWholeAndDecimalNumbersAreNumbers) {
  auto& partition = add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"-17", "\"city_id\" = -17"},     {"1.25", "\"city_id\" = 1.25"},
      {"-0.5", "\"city_id\" = -0.5"},   {"1.", "\"city\" = '1.'"},
      {".5", "\"city\" = '.5'"},        {"-", "\"city\" = '-'"},
      {"1.2.3", "\"city\" = '1.2.3'"},  {"1.5x", "\"city\" = '1.5x'"},
      {"1 OR 1", "\"city\" = '1 OR 1'"}};
  for (const auto& [value, condition] : cases) {
    partition.slices.remove("Store");
    slice(partition, "City", value);
    EXPECT_THAT(queries(), ::testing::EndsWith(" and \"store\"." + condition)) << value;
  }
}

TEST_F(PartitionBranch, ALevelIsThatOfItsOwnDimension) {
  // Both dimensions have a level of one name, whose values lie in the fact table.
  add_dimension("Sold", "sales", {level("Year", "sales.sold_year")});
  add_dimension("Paid", "sales", {level("Year", "sales.paid_year")});
  auto& cube = add_cube("Sales", "sales", "sales", "", {"Sold", "Paid"});
  cube_ = &cube;
  auto& partition = add_partition("Sales", "sales_1999", "sales_1999", "");
  partition.slices.edit_or_add("Paid").levels.add({"Year", "sales_1999.year_of_payment", "1999"});
  EXPECT_THAT(queries(), ::testing::HasSubstr("\"sold_year\" as \"sold_year\""));
  EXPECT_THAT(queries(), ::testing::HasSubstr("\"year_of_payment\" as \"paid_year\""));
  EXPECT_THAT(queries(), ::testing::EndsWith(" where \"sales_1999\".\"year_of_payment\" = '1999'"));
}

TEST_F(PartitionBranch, ADisabledLevelCutsNothing) {
  cube_->dimensions.edit_at(0).levels.edit("City")->disabled = true;
  slice(add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id"), "City", "17");
  EXPECT_EQ(queries(), "<Table name=\"sales\"/>\n");
  add_partition("Old", "sales_2024", "sales_2024, store", "sales_2024.store_id = store.id");
  EXPECT_THAT(queries(), ::testing::Not(::testing::HasSubstr("17")));
}

TEST_F(PartitionBranch, LevelsOfOneNameAndColumnInTwoDimensionsStayTwo) {
  add_dimension("Sold", "sales", {level("Year", "sales.y")});
  add_dimension("Paid", "sales", {level("Year", "sales.y")});
  cube_ = &add_cube("Sales", "sales", "sales", "", {"Sold", "Paid"});
  auto& partition = add_partition("Sales", "sales_1999", "sales_1999", "");
  partition.slices.edit_or_add("Paid").levels.add({"Year", "sales_1999.paid", "1999"});
  EXPECT_THAT(queries(), ::testing::HasSubstr("\"y\" as \"y\""));
  EXPECT_THAT(queries(), ::testing::HasSubstr("\"paid\" as \"y_\""));
}

TEST_F(PartitionBranch, TheForeignKeyIsTheColumnThatEqualsTheKeyOfTheDimension) {
  add_partition("Old", "old", "old, store",
                "old.postcode = store.postcode AND old.shop = store.id");
  EXPECT_THAT(queries(), ::testing::HasSubstr("\"old\".\"shop\" as \"store_id\""));
}

TEST_F(PartitionBranch, AnExpressionSpeaksOfTheFactsByTheirAlias) {
  const auto source = cube_source(DatabaseKind::unknown, "sales", "sales", "");
  FactSource facts(source, *cube_, false, "sales_2");
  EXPECT_EQ(facts.value(parse_expression("sales.amount + 1"), "sum").expression,
            "\"sales_2\".\"amount\" + 1");
}

TEST_F(PartitionBranch, ASliceOnATextIsAConditionOnTheNameOrElseTheKey) {
  auto& partition = add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id");
  slice(partition, "City", "L@#$%Aquila' OR '1'='1");
  slice(partition, "Country", "Italia");
  EXPECT_EQ(
      queries(),
      "select \"sales\".\"store_id\" as \"store_id\", \"sales\".\"amount\" as \"amount\" from "
      "\"sales\", \"store\" where \"sales\".\"store_id\" = \"store\".\"id\" and "
      "\"store\".\"country\" = 'Italia' and \"store\".\"city\" = 'L''Aquila'' OR "
      "''1''=''1'");
}

TEST_F(PartitionBranch, ASliceMayHaveAKeyOfItsOwn) {
  slice(add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id"), "City", "17",
        "sales.city_id");
  EXPECT_EQ(
      queries(),
      "select \"sales\".\"store_id\" as \"store_id\", \"sales\".\"amount\" as \"amount\" from "
      "\"sales\" where \"sales\".\"city_id\" = 17");
}

TEST_F(PartitionBranch, ClausesThatAreNoGraphAreTakenAsTheyStand) {
  slice(add_partition("Sales", "sales", "sales LEFT JOIN store ON sales.store_id = store.id",
                      "sales.qty > 1 OR sales.qty < 0"),
        "City", "17");
  EXPECT_EQ(
      queries(),
      "select \"sales\".\"store_id\" as \"store_id\", \"sales\".\"amount\" as \"amount\" from "
      "sales LEFT JOIN store ON sales.store_id = store.id where (sales.qty > 1 OR sales.qty < "
      "0) and store.city_id = 17");
}

/// Partitions by city: 17, sold in the cube's own table, and 18, in another.
class PublishedPartitions : public PartitionBranch {
 protected:
  PublishedPartitions() {
    add_partition("Sales", "sales", "sales, store", "sales.store_id = store.id");
    add_partition("Old", "old", "old, store", "old.shop = store.id");
  }

  OlapPartition& first() const { return *cube_->partitions.edit("Sales"); }
  OlapPartition& second() const { return *cube_->partitions.edit("Old"); }

  /// Of the partitions of the cube, each between brackets.
  std::string slices() {
    const auto text = map(*cube_).partitions;
    std::string result;
    for (auto at = text.find("\"slices\":"); at != std::string::npos;
         at = text.find("\"slices\":", at + 1)) {
      const auto begin = text.find('[', at);
      result += text.substr(begin, text.find(']', begin) + 1 - begin) + '\n';
    }
    return result;
  }

  static std::string store(const std::string& column, const std::string& value, bool is_number) {
    return R"({"table":"store","column":")" + column + R"(","value":")" + value + R"(","number":)" +
           (is_number ? "true}" : "false}");
  }
};

TEST_F(PublishedPartitions, AreTheQueriesOfTheViewWithTheirSlices) {
  slice(first(), "City", "17");
  slice(second(), "City", "L@#$%Aquila");
  const auto mapped = map(*cube_);
  EXPECT_EQ(
      mapped.partitions,
      R"([{"name":"Sales","query":"select \"sales\".\"store_id\" as \"store_id\", )"
      R"(\"sales\".\"amount\" as \"amount\" from \"sales\", \"store\" where )"
      R"(\"sales\".\"store_id\" = \"store\".\"id\" and \"store\".\"city_id\" = 17","slices":[)"
      R"({"table":"store","column":"city_id","value":"17","number":true}]},)"
      R"({"name":"Old","query":"select \"old\".\"shop\" as \"store_id\", \"old\".\"amount\" as )"
      R"(\"amount\" from \"old\", \"store\" where \"old\".\"shop\" = \"store\".\"id\" and )"
      R"(\"store\".\"city\" = 'L''Aquila'","slices":[)"
      R"({"table":"store","column":"city","value":"L'Aquila","number":false}]}])");
  EXPECT_EQ(map(*cube_).fact.attribute("alias"), "sales");
}

TEST_F(PublishedPartitions, AreNotToldWithoutASliceOrOfOnePartition) {
  EXPECT_EQ(map(*cube_).partitions, "");
  slice(first(), "City", "17");
  EXPECT_EQ(slices(), "[" + store("city_id", "17", true) + "]\n[]\n");
  cube_->partitions.remove("Old");
  EXPECT_EQ(map(*cube_).partitions, "");
}

TEST_F(PublishedPartitions, HaveNoSliceOfALevelThatIsNotPublished) {
  slice(first(), "City", "17");
  slice(first(), "Country", "Italia");
  cube_->dimensions.edit_at(0).levels.edit("Country")->disabled = true;
  EXPECT_EQ(slices(), "[" + store("city_id", "17", true) + "]\n[]\n");
}

TEST_F(PublishedPartitions, HaveNoSliceByAnExpression) {
  slice(first(), "City", "17", "store.city_id + 0");
  EXPECT_EQ(map(*cube_).partitions, "");
  cube_->dimensions.edit_at(0).levels.edit("City")->member_key_column = "store.city_id + 0";
  EXPECT_EQ(map(*cube_).partitions, "");
}

TEST_F(PublishedPartitions, SliceAKeyOfTheFactsThatTheLevelsKeyEquals) {
  auto& levels = cube_->dimensions.edit_at(0).levels;
  levels.edit("City")->member_key_column = "store.id";
  slice(second(), "City", "18", "old.shop");
  EXPECT_EQ(slices(), "[]\n[" + store("id", "18", true) + "]\n");
  // Nothing says that another column of the facts is the level's.
  slice(first(), "City", "17", "sales.city_id");
  EXPECT_EQ(slices(), "[]\n[" + store("id", "18", true) + "]\n");
}

TEST_F(PublishedPartitions, HaveNoSliceOverOtherTablesThanTheEngineJoins) {
  slice(second(), "City", "18");
  second().from_clause = "old, history.store";
  second().join_clause = "old.shop = store.id";
  EXPECT_EQ(map(*cube_).partitions, "");
  second().from_clause = "old, store";
  second().join_clause = "old.shop = store.former_id";
  EXPECT_EQ(map(*cube_).partitions, "");
}

TEST_F(PublishedPartitions, HaveNoSliceOfATableThatTheyReachOnAnotherWay) {
  const std::string tables = ", store, region";
  const std::string way = ".shop = store.id AND store.region_id = region.id";
  add_dimension("Region", "store, region", {level("Region", "region.region")},
                "store.region_id = region.id");
  cube_ = &add_cube("Sales", "sales", "sales" + tables, "sales" + way, {"Region"});
  for (const std::string name : {"sales", "old", "older"}) {
    auto& partition =
        add_partition(name, name, name + tables,
                      name + way + (name == "old" ? " AND old.region_id = region.id" : ""));
    partition.slices.edit_or_add("Region").levels.add({"Region", "", name});
  }
  EXPECT_EQ(slices(), R"([{"table":"region","column":"region","value":"sales","number":false}])"
                      "\n[]\n"
                      R"([{"table":"region","column":"region","value":"older","number":false}])"
                      "\n");
}

TEST_F(PublishedPartitions, SliceTheColumnOfTheViewForValuesThatAreWithTheFacts) {
  auto method = level("Method", "sales.method", "sales.method_name");
  method.column_type = 3;
  add_dimension("Method", "sales", {method});
  database.add_cube_dimension(*cube_, "Method");
  first().slices.edit_or_add("Method").levels.add({"Method", "", "4"});
  second().slices.edit_or_add("Method").levels.add({"Method", "old.way", "5"});
  EXPECT_EQ(slices(), R"([{"table":"sales","column":"method","value":"4","number":true}])"
                      "\n"
                      R"([{"table":"sales","column":"method","value":"5","number":true}])"
                      "\n");
  second().slices.edit_or_add("Method").levels.edit("Method")->slice_value = "cash";
  EXPECT_THAT(slices(),
              ::testing::EndsWith(
                  R"([{"table":"sales","column":"method_name","value":"cash","number":false}])"
                  "\n"));
}

TEST_F(PublishedPartitions, SliceTheFirstDimensionOnlyWhereTwoHaveOneTable) {
  add_dimension("Region", "store", {level("Region", "store.region")});
  database.add_cube_dimension(*cube_, "Region");
  slice(first(), "City", "17");
  second().slices.edit_or_add("Region").levels.add({"Region", "", "North"});
  // The engine calls the second one's table otherwise.
  EXPECT_EQ(slices(), "[" + store("city_id", "17", true) + "]\n[]\n");
}

TEST_F(PartitionBranch, WhatCannotBeExpressedTellsThePartition) {
  const std::string front = "Cube 'Sales' cannot be published: partition 'Sales': ";
  slice(add_partition("Sales", "sales", "sales", ""), "Country", "Italia");
  EXPECT_EQ(fault_of(*cube_), front + "its from clause lacks the table of store.country");
  add_partition("Sales", "sales", "sales, store", "");
  EXPECT_EQ(fault_of(*cube_),
            front + "its join clause does not tie the table 'store' to its fact table");
  database.data_sources().add_new("Other").connection_string = "jdbc:postgresql://host/other";
  add_partition("Sales", "sales", "sales", "").data_source = "Other";
  EXPECT_EQ(fault_of(*cube_),
            front + "its data source 'Other' is another database than the cube's, 'DW'");
}

}  // namespace
}  // namespace importkcd
