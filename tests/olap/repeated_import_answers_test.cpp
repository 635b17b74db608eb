#include "base/import_error.h"
#include "tests/olap/olap_world.h"
#include "tests/olap/small_document.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;

/// Imports again while the engine runs. Each test has a database and a table of its own.
class RepeatedImportAnswers : public ::testing::Test {
 protected:
  RepeatedImportAnswers()
      : name_(::testing::UnitTest::GetInstance()->current_test_info()->name()) {}

  ProcessResult import(const std::vector<SmallCube>& cubes, const std::string& mode) const {
    return import_text(
        small_document(name_, world().postgres().connection_string(sales_warehouse), cubes), mode);
  }

  ProcessResult import_text(const std::string& text, const std::string& mode) const {
    std::vector<std::string> arguments{"--mode", mode};
    if (mode == "update") {
      // The levels of a dimension that nobody uses would be added to those that it has.
      arguments.emplace_back("--dont-update-levels");
    }
    return world().import(world().folder().write(name_ + ".kcd", text), arguments);
  }

  ProcessResult import_with_small_files(const std::string& text, const std::string& limit) const {
    return run_process(
        {"/usr/bin/prlimit",
         {"--fsize=" + limit, KCD_PROGRAM, "import", world().folder().write(name_ + ".kcd", text),
          "--mode", "replace", "--server", "mondrian:" + world().directory()},
         {{"LC_ALL", "C"}, {"TMPDIR", world().folder().path().string()}},
         {},
         {}});
  }

  /// A cube over a copy of the sales.
  SmallCube cube(const std::string& cube_name, const std::string& column) const {
    return {.name = cube_name,
            .measure_column = R"("sales".")" + column + "\"",
            .from_clause = "\"" + name_ + R"(" AS "sales", "store")"};
  }

  void copy_sales() const {
    world().postgres().run_sql(sales_warehouse,
                               R"(CREATE TABLE ")" + name_ + R"(" AS SELECT * FROM sales)");
  }

  /// What the cube's answer should be, from the copy.
  FigureTable selected(const std::string& column) const {
    return figures(world().postgres().run_sql(
        sales_warehouse, "SELECT store_name, sum(" + column + R"() FROM ")" + name_ +
                             R"(" JOIN store USING (store_id) GROUP BY store_id, store_name )"
                             "ORDER BY store_id"));
  }

  /// How a cube's answer differs; the engine's words when it refuses.
  std::string fault(const std::string& cube_name, const std::string& column) const {
    const auto mdx =
        "SELECT {[Measures].[Figure]} ON COLUMNS, NON EMPTY [Store].[Store].Members ON ROWS FROM "
        "[" +
        cube_name + "]";
    try {
      return difference(figures(world().engine().ask(name_, mdx)), selected(column));
    } catch (const ImportError& error) {
      return error.description();
    }
  }

  void expect_to_follow(const std::string& cube_name, const std::string& column) const {
    EXPECT_TRUE(comes_true([&] { return fault(cube_name, column).empty(); }))
        << fault(cube_name, column);
  }

  /// Whatever was published before this is served when it returns.
  void let_the_engine_look_again() const {
    const auto marker = name_ + " Marker";
    const auto text = small_document(marker, world().postgres().connection_string(sales_warehouse),
                                     {{.name = "Marker"}});
    const auto result =
        world().import(world().folder().write("marker.kcd", text), {"--mode", "replace"});
    EXPECT_EQ(result.exit_status, 0) << result.errors;
    wait_for_database(marker);
  }

  std::string name_;
};

TEST_F(RepeatedImportAnswers, Incremental) {
  copy_sales();
  ASSERT_EQ(import({cube("Money", "amount")}, "incremental").exit_status, 0);
  expect_to_follow("Money", "amount");
  // What is there is skipped, and what is new is served.
  ASSERT_EQ(import({cube("Money", "cost"), cube("Pieces", "quantity")}, "incremental").exit_status,
            0);
  expect_to_follow("Pieces", "quantity");
  EXPECT_EQ(fault("Money", "amount"), "");
}

TEST_F(RepeatedImportAnswers, Update) {
  copy_sales();
  ASSERT_EQ(import({cube("Money", "amount")}, "incremental").exit_status, 0);
  expect_to_follow("Money", "amount");
  ASSERT_EQ(import({cube("Money", "cost")}, "update").exit_status, 0);
  expect_to_follow("Money", "cost");
}

TEST_F(RepeatedImportAnswers, Replace) {
  copy_sales();
  ASSERT_EQ(import({cube("Money", "amount"), cube("Old", "cost")}, "incremental").exit_status, 0);
  expect_to_follow("Money", "amount");
  expect_to_follow("Old", "cost");
  ASSERT_EQ(import({cube("Money", "list_amount")}, "replace").exit_status, 0);
  expect_to_follow("Money", "list_amount");
  EXPECT_THAT(fault("Old", "cost"), HasSubstr("MDX cube 'Old' not found"));
}

TEST_F(RepeatedImportAnswers, NewRowsCountAfterTheNextImport) {
  copy_sales();
  ASSERT_EQ(import({cube("Money", "amount")}, "incremental").exit_status, 0);
  expect_to_follow("Money", "amount");
  world().postgres().run_sql(sales_warehouse,
                             R"(UPDATE ")" + name_ + R"(" SET amount = amount + 1000)");
  ASSERT_EQ(import({cube("Money", "amount")}, "update").exit_status, 0);
  expect_to_follow("Money", "amount");
}

TEST_F(RepeatedImportAnswers, NewRowsCountAfterARefresh) {
  copy_sales();
  ASSERT_EQ(import({cube("Money", "amount")}, "incremental").exit_status, 0);
  expect_to_follow("Money", "amount");
  world().postgres().run_sql(sales_warehouse,
                             R"(UPDATE ")" + name_ + R"(" SET amount = amount + 1000)");
  // The engine remembers the figures of before.
  EXPECT_NE(fault("Money", "amount"), "");
  const auto refresh = run_process(
      {KCD_PROGRAM, {"refresh", "mondrian:" + world().directory()}, {{"LC_ALL", "C"}}, {}, {}});
  EXPECT_EQ(refresh.exit_status, 0) << refresh.errors;
  expect_to_follow("Money", "amount");
}

TEST_F(RepeatedImportAnswers, StayAfterAFailure) {
  copy_sales();
  ASSERT_EQ(import({cube("Money", "amount")}, "incremental").exit_status, 0);
  expect_to_follow("Money", "amount");
  const auto good = small_document(name_, world().postgres().connection_string(sales_warehouse),
                                   {cube("Money", "cost")});
  auto other_version = good;
  other_version.replace(other_version.find("1.0.1073"), 8, "9.9.9999");
  EXPECT_EQ(import_text(other_version, "update").exit_status, 1);
  EXPECT_EQ(import_text(good.substr(0, good.size() / 2), "replace").exit_status, 1);
  // No file may grow beyond this: the document cannot be copied, or nothing can be stored.
  for (const std::string limit : {"1024", "16384"}) {
    EXPECT_NE(import_with_small_files(good, limit).exit_status, 0);
  }
  let_the_engine_look_again();
  EXPECT_EQ(fault("Money", "amount"), "");
  // And the next good import is followed.
  EXPECT_EQ(import_text(good, "replace").exit_status, 0);
  expect_to_follow("Money", "cost");
}

}  // namespace
}  // namespace importkcd::testing
