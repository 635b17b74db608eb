#include "tests/olap/olap_world.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Whether a role may ask a cube; the engine hides a cube from those who may not.
void expect_access(const std::string& role, const std::string& cube, bool expected) {
  const auto refusal = world().engine().refusal(
      sales_database, "SELECT {[Measures].Members} ON COLUMNS FROM [" + cube + "]", role);
  if (expected) {
    EXPECT_THAT(refusal, IsEmpty()) << role << ", " << cube;
  } else {
    EXPECT_THAT(refusal, HasSubstr("MDX cube '" + cube + "' not found")) << role << ", " << cube;
  }
}

TEST(RoleAnswers, EveryRoleAsksItsOwnCubes) {
  expect_access("Head Office", "Sales", true);
  expect_access("Head Office", "Stock", true);
  expect_access("Head Office", "Payroll", true);
  expect_access("Store Managers", "Sales", true);
  expect_access("Store Managers", "Stock", true);
  expect_access("Store Managers", "Payroll", false);
  expect_access("Personnel", "Sales", false);
  expect_access("Personnel", "Stock", false);
  expect_access("Personnel", "Payroll", true);
}

TEST(RoleAnswers, FiguresAreThoseOfTheTables) {
  const auto answer = figures(world().engine().ask(
      sales_database,
      "SELECT {[Measures].[Gross Pay]} ON COLUMNS, [Employee].[Department of Employee].Members ON "
      "ROWS FROM [Payroll]",
      "Personnel"));
  EXPECT_EQ(difference(answer, figures(world().postgres().run_sql(
                                   sales_warehouse,
                                   "SELECT department_name, sum(gross_pay) FROM every_payment "
                                   "GROUP BY department_name ORDER BY department_name"))),
            "");
}

TEST(RoleAnswers, AnUnknownRoleGetsNone) {
  EXPECT_THAT(world().engine().refusal(sales_database, "SELECT FROM [Sales]", "Nobody"),
              HasSubstr("Nobody"));
}

}  // namespace
}  // namespace importkcd::testing
