#include "tests/olap/olap_world.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;

/// The virtual cube of the example, which its import takes along.
class VirtualCubeAnswers : public ::testing::Test {
 protected:
  static void expect_same(const std::string& mdx, const std::string& sql) {
    EXPECT_EQ(difference(figures(world().engine().ask(sales_database, mdx)),
                         figures(world().postgres().run_sql(sales_warehouse, sql))),
              "")
        << mdx;
  }
};

TEST_F(VirtualCubeAnswers, BringTheFiguresOfTwoCubesTogether) {
  expect_same(
      "SELECT {[Measures].[Revenue], [Measures].[Stock Value]} ON COLUMNS, NON EMPTY "
      "[Product].[Department].Members ON ROWS FROM [Trade] WHERE ([Calendar].[2026])",
      "SELECT department, sum(amount), (SELECT sum(stock_value) FROM every_count c WHERE "
      "c.department = s.department) "
      "FROM every_sale s WHERE year = 2026 GROUP BY department ORDER BY department");
}

TEST_F(VirtualCubeAnswers, FollowATimeDimensionOfBoth) {
  expect_same(
      "SELECT {[Measures].[Revenue], [Measures].[Stock Value]} ON COLUMNS, "
      "[Calendar].[Quarter].Members ON ROWS FROM [Trade]",
      "SELECT quarter, sum(amount), (SELECT sum(stock_value) FROM every_count c WHERE "
      "c.year = s.year AND c.quarter = s.quarter) "
      "FROM every_sale s GROUP BY year, quarter ORDER BY year, quarter");
}

TEST_F(VirtualCubeAnswers, FollowASnowflakeToItsLeaves) {
  expect_same(
      "SELECT {[Measures].[Revenue], [Measures].[Stock Value]} ON COLUMNS, "
      "[Product].[Product].Members ON ROWS FROM [Trade] WHERE ([Calendar].[2026])",
      "SELECT product_name, "
      "(SELECT sum(amount) FROM every_sale s WHERE s.product_id = p.product_id AND s.year = 2026), "
      "(SELECT sum(stock_value) FROM every_count c WHERE c.product_id = p.product_id) "
      "FROM product p JOIN product_group g ON g.product_group_id = p.product_group_id "
      "ORDER BY department, group_name, product_name");
}

TEST_F(VirtualCubeAnswers, AreForTheirRolesOnly) {
  const std::string mdx = "SELECT {[Measures].[Revenue]} ON COLUMNS FROM [Trade]";
  EXPECT_EQ(world().engine().refusal(sales_database, mdx, "Head Office"), "");
  EXPECT_THAT(world().engine().refusal(sales_database, mdx, "Store Managers"),
              HasSubstr("MDX cube 'Trade' not found"));
}

}  // namespace
}  // namespace importkcd::testing
