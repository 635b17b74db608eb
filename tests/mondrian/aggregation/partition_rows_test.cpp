#include "mondrian/aggregation/partition_rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mondrian/aggregation/aggregate_table.h"

namespace importkcd {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr auto rows_kind = DatabaseKind::postgresql;

/// A cube over a view of partitions, with the same days by month, by week, and as days of delivery.
CubeShape parts_of_shop(const std::string& partitions) {
  const auto days = [](const std::string& name, const std::string& key, const std::string& levels) {
    return R"(<Dimension name=")" + name + R"(" foreignKey=")" + key +
           R"("><Hierarchy hasAll="true" primaryKey="day"><Table name="calendar"/>)" + levels +
           "</Hierarchy></Dimension>";
  };
  const auto schema = read_xml(
      R"(<Schema><Cube name="Sales"><Annotations><Annotation name="other">{</Annotation>)"
      R"(<Annotation name="importkcd.partitions">)" +
          partitions +
          R"(</Annotation></Annotations><View alias="sales"><SQL>select 1</SQL></View>)" +
          days("Time", "day_id",
               R"(<Level name="Year" column="year"/>)"
               R"(<Level name="Month" column="month" nameColumn="month_name"/>)") +
          days("Delivery", "delivered", R"(<Level name="Year" column="year"/>)") +
          days("Weeks", "day_id", R"(<Level name="Year of Week" column="year"/>)") +
          R"(<Dimension name="Method"><Hierarchy hasAll="true"><Level name="Method" column="method"/>)"
          R"(</Hierarchy></Dimension><Measure name="Amount" column="amount" aggregator="sum"/>)"
          R"(</Cube></Schema>)",
      "test");
  std::string reason;
  auto shape = cube_shape(schema, *cube_named(schema, "Sales"), reason);
  EXPECT_TRUE(shape) << reason;
  return *shape;
}

std::string part(const std::string& name, const std::string& slices) {
  return R"({"name":")" + name + R"(","query":"select )" + name + R"(","slices":[)" + slices + "]}";
}

std::string slice(const std::string& column, const std::string& value, bool is_number = true,
                  const std::string& table = "calendar") {
  return R"({"table":")" + table + R"(","column":")" + column + R"(","value":")" + value +
         R"(","number":)" + (is_number ? "true}" : "false}");
}

CubeShape by_year() {
  return parts_of_shop("[" + part("a", slice("year", "-1")) + "," + part("b", slice("year", "2")) +
                       "," + part("c", slice("year", "2")) + "]");
}

std::vector<std::string> conditions(const CubeShape& shape, const LevelCombination& levels) {
  std::vector<std::string> result;
  for (const auto& rows : partition_rows(shape, levels, rows_kind)) {
    result.push_back(rows.condition);
  }
  return result;
}

TEST(PartitionRows, AreToldApartByTheSlicedLevelOrOneBelow) {
  const auto rows = partition_rows(by_year(), {1, 0, 0, 0}, rows_kind);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].condition, "\"dimension1_level1_key\" = -1");
  EXPECT_THAT(rows[0].partitions, ElementsAre(0));
  EXPECT_EQ(rows[1].condition, "\"dimension1_level1_key\" = 2");
  EXPECT_THAT(rows[1].partitions, ElementsAre(1, 2));
  EXPECT_EQ(conditions(by_year(), {2, 0, 0, 1}).size(), 2U);
  EXPECT_THAT(conditions(by_year(), {0, 0, 0, 1}), IsEmpty());
}

TEST(PartitionRows, AreNotToldApartByAnotherDimensionOverTheSameTable) {
  EXPECT_THAT(conditions(by_year(), {0, 1, 0, 0}), IsEmpty());
  // One that is tied by the same key is the same.
  EXPECT_THAT(conditions(by_year(), {0, 0, 1, 0}),
              ElementsAre("\"dimension3_level1_key\" = -1", "\"dimension3_level1_key\" = 2"));
}

TEST(PartitionRows, AreToldApartByNamesAndByColumnsOfTheFacts) {
  const auto named = parts_of_shop("[" + part("a", slice("month_name", "Jan", false)) + "," +
                                   part("b", slice("month_name", "l'an", false)) + "]");
  EXPECT_THAT(conditions(named, {2, 0, 0, 0}), ElementsAre("\"dimension1_level2_name\" = 'Jan'",
                                                           "\"dimension1_level2_name\" = 'l''an'"));
  EXPECT_THAT(conditions(named, {1, 0, 0, 0}), IsEmpty());
  const auto method = parts_of_shop("[" + part("a", slice("method", "1", true, "sales")) + "," +
                                    part("b", slice("method", "2", true, "sales")) + "]");
  EXPECT_THAT(conditions(method, {0, 0, 0, 1}),
              ElementsAre("\"dimension4_level1_key\" = 1", "\"dimension4_level1_key\" = 2"));
}

TEST(PartitionRows, AreToldApartByAllSlicesThatAllPartitionsHave) {
  const auto shape =
      parts_of_shop("[" + part("a", slice("year", "1") + "," + slice("month", "1")) + "," +
                    part("b", slice("month", "2") + "," + slice("year", "1")) + "]");
  EXPECT_THAT(conditions(shape, {2, 0, 0, 0}),
              ElementsAre("\"dimension1_level1_key\" = 1 and \"dimension1_level2_key\" = 1",
                          "\"dimension1_level1_key\" = 1 and \"dimension1_level2_key\" = 2"));
  // By years alone they are one.
  EXPECT_THAT(conditions(shape, {1, 0, 0, 0}), IsEmpty());
  EXPECT_THAT(conditions(parts_of_shop("[" + part("a", slice("year", "1")) + "," +
                                       part("b", slice("month", "2")) + "]"),
                         {2, 0, 0, 0}),
              IsEmpty());
  auto whole = shape;
  whole.partitions.clear();
  EXPECT_THAT(conditions(whole, {2, 0, 0, 0}), IsEmpty());
}

TEST(PartitionRows, ComeFromTheQueriesOfTheirPartitions) {
  EXPECT_THAT(partitions_query(by_year(), {0, 0, 0, 1}, {0, 2}, rows_kind),
              AllOf(HasSubstr("from (select a\nunion all\nselect c) \"sales\""),
                    HasSubstr("group by \"sales\".\"method\"")));
}

TEST(PartitionRows, HaveFingerprintsOfTheirOwn) {
  EXPECT_THAT(facts_fingerprint_statement(by_year(), rows_kind),
              AllOf(HasSubstr("from (select a) \"sales\""), HasSubstr("from (select b) \"sales\""),
                    HasSubstr("from (select c) \"sales\""), Not(HasSubstr("calendar")),
                    Not(HasSubstr("select 1"))));
  const auto parts = fingerprint_parts(by_year(), "1:10 2:-20 0:0");
  EXPECT_THAT(parts, ElementsAre("1:10", "2:-20", "0:0"));
  EXPECT_EQ(facts_counted(parts[1]), 2);
}

TEST(PartitionRows, HaveChangedWithTheirFactsUnlessADimensionOrAllHave) {
  const auto shape = by_year();
  const auto rows = partition_rows(shape, {1, 0, 0, 0}, rows_kind);
  const auto changed = [&](const std::string& facts, const std::string& dimensions) {
    std::vector<std::string> result;
    for (const auto& one : changed_rows(shape, rows, {"1:1 2:2 3:3", "9:9"}, {facts, dimensions})) {
      result.push_back(one.condition);
    }
    return result;
  };
  EXPECT_THAT(changed("1:0 2:2 3:3", "9:9"), ElementsAre("\"dimension1_level1_key\" = -1"));
  EXPECT_THAT(changed("1:1 2:2 3:0", "9:9"), ElementsAre("\"dimension1_level1_key\" = 2"));
  EXPECT_THAT(changed("1:0 2:2 3:3", "9:0"), IsEmpty());
  EXPECT_THAT(changed("1:0 2:0 3:3", "9:9"), IsEmpty());
}

}  // namespace
}  // namespace importkcd
