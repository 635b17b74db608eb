#include "mondrian/mapping/partition_branch.h"

#include <gtest/gtest.h>

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
