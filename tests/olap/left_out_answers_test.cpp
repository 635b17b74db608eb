#include "tests/olap/olap_world.h"
#include "tests/olap/small_document.h"

namespace importkcd::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Imports these cubes into a database; gives what the import said on standard error.
std::string import_errors(
    const std::string& database, const std::vector<SmallCube>& cubes,
    const std::string& connection_string = world().postgres().connection_string(sales_warehouse)) {
  const auto document =
      world().folder().write(database + ".kcd", small_document(database, connection_string, cubes));
  const auto result = world().import(document, {"--on-error", "keep"});
  EXPECT_EQ(result.exit_status, result.errors.empty() ? 0 : 1);
  return result.errors;
}

/// What the import says about cubes that are stored, but cannot be served.
std::string stored_incomplete(const std::vector<std::string>& cubes) {
  std::string text;
  for (const auto& cube : cubes) {
    text += "Cube '" + cube +
            "' is stored although it is not complete; an import in incremental mode skips it, in "
            "update or replace mode it builds it anew\n";
  }
  return text;
}

void expect_figures(const std::string& database, const std::string& cube,
                    const std::string& column) {
  wait_for_database(database);
  EXPECT_EQ(
      difference(figures(world().engine().ask(database,
                                              "SELECT {[Measures].[Figure]} ON COLUMNS, NON EMPTY "
                                              "[Store].[Store].Members ON ROWS FROM [" +
                                                  cube + "]")),
                 figures(world().postgres().run_sql(
                     sales_warehouse, "SELECT store_name, sum(" + column +
                                          ") FROM sales JOIN store USING (store_id) GROUP BY "
                                          "store_id, store_name ORDER BY store_id"))),
      "");
}

std::string without_cube(const std::string& database, const std::string& cube) {
  return world().engine().refusal(database, "SELECT FROM [" + cube + "]");
}

TEST(LeftOut, CubesThatCannotBeExpressedAreNamedWithDimensionAndClause) {
  SmallCube untied{.name = "Untied"};
  untied.from_clause = R"("sales", "store", "region")";
  untied.dimensions = {"Store", "Region"};
  SmallCube outer_join{.name = "Old Join"};
  outer_join.join_clause = R"("sales"."store_id" *= "store"."store_id")";
  SmallCube open_quote{.name = "Open Quote"};
  open_quote.from_clause = R"("sales", "store)";
  SmallCube stray{.name = "Stray"};
  stray.measure_column = R"("stock"."stock_value")";
  SmallCube far_away{.name = "Far"};
  far_away.dimensions = {"Store", "Far Away"};
  SmallCube last{.name = "Last"};
  last.measure_column = R"("sales"."cost")";
  const auto errors = import_errors(
      "Half Good", {{.name = "First"}, untied, outer_join, open_quote, stray, far_away, last});
  EXPECT_THAT(
      errors,
      StartsWith(
          "Cube 'Untied' cannot be published: dimension 'Region': no equality ties its tables "
          "region to the fact table in the cube's join clause\n"
          "Cube 'Old Join' cannot be published: the clause \"sales\".\"store_id\" *= "
          "\"store\".\"store_id\" holds an outer join in the old form (*= or =*); write LEFT OUTER "
          "JOIN in the from clause\n"
          "Cube 'Open Quote' cannot be published: a quote is not closed in the clause \"sales\", "
          "\"store\n"
          "Cube 'Stray' cannot be published: measure 'Figure': it names \"stock\".\"stock_value\", "
          "whose table is not in the cube's from clause\n"
          "Cube 'Far' cannot be published: dimension 'Far Away': its data source 'Elsewhere' is "
          "another database than the cube's, 'Warehouse'\n" +
          stored_incomplete({"Untied", "Old Join", "Open Quote", "Stray", "Far"}) +
          "New Cube structure is not valid\n"));
  EXPECT_THAT(errors, EndsWith(": error: cube 'Far': New Cube structure is not valid\n"));
  expect_figures("Half Good", "First", "amount");
  expect_figures("Half Good", "Last", "cost");
  for (const std::string cube : {"Untied", "Old Join", "Open Quote", "Stray", "Far"}) {
    EXPECT_THAT(without_cube("Half Good", cube), HasSubstr("MDX cube '" + cube + "' not found"));
  }
}

TEST(LeftOut, CalculatedMembersThatCannotBeReadLeaveTheirCube) {
  SmallCube cube{.name = "Sales"};
  cube.calculation = "CREATE MEMBER CURRENTCUBE.[Measures].[Rate] AS '[Measures].[Nothing] / 2'";
  const auto document = world().folder().write(
      "less.kcd",
      small_document("Less", world().postgres().connection_string(sales_warehouse), {cube}));
  const auto result = world().import(document, {});
  EXPECT_EQ(result.errors,
            "Cube 'Sales' is published without its calculated member 'Rate': there is no measure "
            "'Nothing' in the cube\n");
  EXPECT_EQ(result.exit_status, 0);
  expect_figures("Less", "Sales", "amount");
}

TEST(LeftOut, AConnectionToNoKnownDatabaseLeavesOtherDatabases) {
  EXPECT_THAT(import_errors("Unreachable", {{.name = "Sales"}}, "DSN=somewhere"),
              HasSubstr("Cube 'Sales' cannot be published: "));
  // What comes after it is served all the same, and so is what was there before.
  EXPECT_EQ(import_errors("After", {{.name = "Sales"}}), "");
  expect_figures("After", "Sales", "amount");
  EXPECT_EQ(world().engine().refusal(sales_database, "SELECT FROM [Sales]"), "");
}

}  // namespace
}  // namespace importkcd::testing
