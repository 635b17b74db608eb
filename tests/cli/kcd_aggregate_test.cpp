#include "tests/cli/kcd_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// `kcd aggregate` where no data warehouse is needed. With one, the tests of the OLAP engine run
/// it.
class KcdAggregate : public KcdTest {
 protected:
  KcdAggregate() {
    const auto imported = import(
        read_file(std::string(EXAMPLES_FOLDER) + "/sales.kcd"),
        {"--server", server(), "--partitions", "--connect-string",
         "Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=1;Database=dw;Uid=a;Pwd=secret"});
    EXPECT_EQ(imported.exit_status, 0) << imported.errors;
  }

  std::string server() const { return "mondrian:" + folder.file("olap"); }

  ProcessResult aggregate(const std::string& action, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"aggregate", action, server()});
    return kcd(std::move(arguments));
  }
};

TEST_F(KcdAggregate, PlansTablesWithinTheBudgetByWhatTheDocumentExpects) {
  const auto plan = aggregate("plan");
  EXPECT_EQ(plan.exit_status, 0) << plan.errors;
  EXPECT_THAT(plan.output,
              ::testing::ContainsRegex(
                  "Cube 'Sales', 2400000 facts: [0-9]+ tables, [0-9]+ rows \\(20 %\\)"));
  EXPECT_THAT(plan.output, ::testing::ContainsRegex(
                               "  Employee: Department of Employee, Pay Month: Month of Pay: 288 "
                               "rows, saves [0-9]+ % of the average question\n"));
  const auto small = aggregate("plan", {"Harbour Retail", "Sales", "--budget", "1000"});
  EXPECT_THAT(small.output, ::testing::ContainsRegex("tables, [0-9]{1,3} rows \\(0 %\\)"));
  EXPECT_THAT(small.output, Not(HasSubstr("Payroll")));
}

TEST_F(KcdAggregate, PlansNoneForACubeThatWantsNoneUnlessItIsNamed) {
  EXPECT_THAT(aggregate("plan").output,
              HasSubstr("Cube 'Stock': no tables, its storage mode asks for no aggregations; name "
                        "the cube to make some\n"));
  EXPECT_THAT(aggregate("plan", {"harbour retail", "stock"}).output,
              HasSubstr("Cube 'Stock', 95000 facts: "));
}

TEST_F(KcdAggregate, PlansForWhatWasAsked) {
  const auto log = folder.write(
      "log",
      R"({"database":"Harbour Retail","mdx":"SELECT [Pay Month].[Pay Year].Members ON 0 FROM [Payroll]"})"
      "\n");
  EXPECT_EQ(aggregate("plan", {"Harbour Retail", "Payroll", "--from-log", log}).output,
            "Cube 'Payroll', 8400 facts: 1 table, 3 rows (0 %)\n"
            "  Pay Month: Pay Year: 3 rows, saves 100 % of the average question\n");
}

TEST_F(KcdAggregate, PrintsStatementsWithoutReachingTheWarehouse) {
  const auto script = aggregate("build", {"--sql"});
  EXPECT_EQ(script.exit_status, 0) << script.errors;
  EXPECT_THAT(script.output, HasSubstr("create view \"sales_agg_facts\" as\nselect "));
  EXPECT_THAT(script.output, HasSubstr("create table \"payroll_agg_1\" as\nselect"));
  EXPECT_THAT(script.output, HasSubstr("create index on \"payroll_agg_1\" ("));
  EXPECT_THAT(script.output, Not(HasSubstr("stock_agg")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("olap/aggregates.xml")));
}

TEST_F(KcdAggregate, RefusesWhatItCannotDo) {
  const auto reason = [&](const std::vector<std::string>& arguments, int status) {
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, status);
    return result.errors;
  };
  EXPECT_EQ(reason({"aggregate", "plan", "catalogue:x"}, 2),
            "aggregate tables belong to a server of the form mondrian:DIRECTORY\n");
  EXPECT_EQ(reason({"aggregate", "plan", server(), "--budget", "some"}, 2),
            "--budget: 'some' is neither a share such as 20% nor a number\n");
  EXPECT_THAT(reason({"aggregate", "plan", server(), "Nowhere"}, 1),
              HasSubstr("there is no database 'Nowhere' in '"));
  EXPECT_EQ(reason({"aggregate", "plan", server(), "Harbour Retail", "None"}, 1),
            "there is no published cube 'None'\n");
  EXPECT_THAT(reason({"aggregate", "paint", server()}, 2), HasSubstr("paint"));
  EXPECT_THAT(reason({"aggregate", "plan", server(), "--from-log", folder.file("none")}, 1),
              HasSubstr("none"));
}

TEST_F(KcdAggregate, TellsThatTheWarehouseCannotBeReachedWithoutItsPassword) {
  for (const auto* action : {"build", "status"}) {
    const auto result = aggregate(action);
    EXPECT_EQ(result.exit_status, 5);
    EXPECT_THAT(result.errors, HasSubstr("the data warehouse cannot be reached: "));
    EXPECT_THAT(result.errors, Not(HasSubstr("secret")));
  }
}

}  // namespace
}  // namespace importkcd::testing
