#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include "tests/olap/aggregated_sales.h"
#include "tests/olap/olap_world.h"
#include "tests/olap/sales_questions.h"

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class Aggregates : public ::testing::TestWithParam<AggregateServer> {
 protected:
  static void TearDownTestSuite() { end_aggregate_servers(); }

  static std::vector<Question> all_of_them() {
    auto all = sales_questions();
    for (const auto& more : {stock_questions(), payroll_questions()}) {
      all.insert(all.end(), more.begin(), more.end());
    }
    return all;
  }

  /// The answers of a fresh engine, one per question.
  std::vector<FigureTable> answers(const std::vector<Question>& asked) const {
    const auto engine = sales.engine();
    std::vector<FigureTable> result;
    result.reserve(asked.size());
    for (const auto& question : asked) {
      result.push_back(figures(engine->ask(sales_database, question.mdx)));
    }
    return result;
  }

  void expect_right_answers(const std::vector<Question>& asked) const {
    const auto given = answers(asked);
    for (std::size_t i = 0; i < given.size(); ++i) {
      EXPECT_EQ(difference(given[i], figures(sales.sql(asked[i].sql))), "") << asked[i].mdx;
    }
  }

  std::string status() const { return sales.aggregate("status").output; }

  AggregatedSales sales{GetParam()};
};

TEST_P(Aggregates, AnswerEachQuestionAsTheFactsDo) {
  sales.build_all();
  expect_right_answers(all_of_them());
}

TEST_P(Aggregates, AreReadInPlaceOfTheFacts) {
  sales.build("Payroll");
  auto asked = payroll_questions();
  // No table tells single employees and months apart.
  asked.push_back({"Detail",
                   "SELECT [Pay Month].[Month of Pay].Members ON COLUMNS, "
                   "[Employee].[Employee].Members ON ROWS FROM [Payroll]",
                   {}});
  const auto before = answers(asked);
  sales.sql("DELETE FROM payroll;");
  const auto after = answers(asked);
  std::size_t answered_without_facts = 0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    answered_without_facts += difference(after[i], before[i]).empty() ? 1 : 0;
  }
  EXPECT_GT(answered_without_facts, before.size() / 2);
  EXPECT_NE(difference(after.back(), before.back()), "");
}

TEST_P(Aggregates, AreToldToBeStaleAfterAChangedRowAndFreshAfterARefresh) {
  sales.build("Payroll");
  EXPECT_EQ(sales.aggregate("status").exit_status, 0) << status();
  EXPECT_THAT(status(), AllOf(HasSubstr("fresh"), Not(HasSubstr("stale"))));
  sales.sql("UPDATE payroll SET hours = hours + 100 WHERE payroll_id = 1;");
  const auto stale = sales.aggregate("status");
  EXPECT_EQ(stale.exit_status, 10);
  EXPECT_THAT(stale.output, HasSubstr("payroll_agg_1 (cube 'Payroll'"));
  EXPECT_THAT(stale.output,
              HasSubstr("): stale: the data warehouse has changed since it was built\n"));
  const auto refreshed = sales.aggregate("refresh");
  EXPECT_EQ(refreshed.exit_status, 0) << refreshed.errors;
  EXPECT_THAT(refreshed.output, HasSubstr("Built 'payroll_agg_1'"));
  EXPECT_EQ(sales.aggregate("status").exit_status, 0) << status();
  expect_right_answers(payroll_questions());
}

TEST_P(Aggregates, AreRefreshedFromThePartitionThatWasLoaded) {
  sales.build("Sales");
  sales.sql("UPDATE sales SET quantity = quantity + 3, amount = amount + 100;");
  EXPECT_THAT(status(), HasSubstr("stale"));
  const auto refreshed = sales.aggregate("refresh");
  EXPECT_EQ(refreshed.exit_status, 0) << refreshed.errors;
  EXPECT_THAT(refreshed.output, ::testing::ContainsRegex("Refreshed 'sales_agg_[0-9]+' for cube "
                                                         "'Sales': 1 of 2 partitions read anew, "
                                                         "[0-9]+ rows\n"));
  EXPECT_EQ(sales.aggregate("status").exit_status, 0) << status();
  expect_right_answers(sales_questions());
}

TEST_P(Aggregates, AreNotReadOnceAnImportHasChangedTheirCube) {
  sales.build("Sales");
  sales.build("Payroll");
  auto document = read_file(EXAMPLES_FOLDER "/sales.kcd");
  const std::string column = R"(source_column='"sales"."cost"')";
  document.replace(document.find(column), column.size(), R"(source_column='"sales"."quantity"')");
  const auto imported = sales.import(sales.folder().write("changed.kcd", document));
  EXPECT_THAT(imported.errors,
              HasSubstr("Cube 'Sales' is published without its aggregate table 'sales_agg_1': the "
                        "cube has changed since it was built; 'kcd aggregate refresh' builds it "
                        "anew\n"));
  EXPECT_THAT(sales.schemas(), AllOf(Not(HasSubstr("sales_agg_")), HasSubstr("\"payroll_agg_1\"")));
  EXPECT_THAT(status(), HasSubstr("not used: the cube has changed since it was built"));
  const auto refreshed = sales.aggregate("refresh");
  EXPECT_EQ(refreshed.exit_status, 0) << refreshed.errors;
  EXPECT_THAT(sales.schemas(), HasSubstr("\"sales_agg_1\""));
  EXPECT_THAT(status(), Not(HasSubstr("not used")));
}

TEST_P(Aggregates, LeaveNothingBehindOnceTheyAreDropped) {
  sales.build("Sales");
  EXPECT_NE(sales.aggregates(), "");
  const auto dropped = sales.aggregate("drop");
  EXPECT_EQ(dropped.exit_status, 0) << dropped.errors;
  EXPECT_THAT(dropped.output, HasSubstr("Dropped 'sales_agg_facts'\n"));
  EXPECT_EQ(sales.aggregates(), "");
  EXPECT_THAT(sales.schemas(), Not(HasSubstr("agg_")));
  EXPECT_EQ(status(), "There are no aggregate tables\n");
  EXPECT_EQ(sales.aggregate("refresh").output, "Nothing is to be done\n");
}

TEST_P(Aggregates, DoNotTouchATableOfSomebodyElse) {
  sales.sql("CREATE TABLE payroll_agg_1 (x INTEGER); INSERT INTO payroll_agg_1 VALUES (7);");
  EXPECT_THAT(status(), HasSubstr("payroll_agg_1 (cube 'Payroll'): not built by kcd aggregate\n"));
  const auto refused = sales.aggregate("build", {sales_database, "Payroll"});
  EXPECT_EQ(refused.exit_status, 1);
  EXPECT_THAT(refused.errors,
              HasSubstr("the data warehouse has a table 'payroll_agg_1' that 'kcd aggregate' has "
                        "not made; rename it, or give the cube another aggregation_prefix\n"));
  EXPECT_EQ(sales.sql("SELECT x FROM payroll_agg_1"), "7\n");
  EXPECT_THAT(sales.schemas(), Not(HasSubstr("payroll_agg_1")));
  EXPECT_EQ(sales.aggregate("drop").exit_status, 0);
  EXPECT_EQ(sales.sql("SELECT x FROM payroll_agg_1"), "7\n");
}

TEST_P(Aggregates, AreToldToBeMissingAndBuiltAnew) {
  sales.build("Payroll");
  sales.sql("DROP TABLE payroll_agg_2;");
  EXPECT_THAT(status(), HasSubstr("missing: it is not in the data warehouse any more"));
  EXPECT_THAT(sales.aggregate("refresh").output, HasSubstr("Built 'payroll_agg_2'"));
  EXPECT_THAT(status(), Not(HasSubstr("missing")));
}

TEST_P(Aggregates, AreNotReadWhenFactsLackAMember) {
  sales.sql(sales.server() == AggregateServer::postgresql
                ? "ALTER TABLE payroll DROP CONSTRAINT payroll_employee_id_fkey;"
                : "SET SESSION foreign_key_checks = 0;");
  sales.sql(std::string(sales.server() == AggregateServer::mariadb
                            ? "SET SESSION foreign_key_checks = 0;"
                            : "") +
            "UPDATE payroll SET employee_id = 999 WHERE payroll_id = 1;");
  const auto built = sales.aggregate("build", {sales_database, "Payroll"});
  EXPECT_EQ(built.exit_status, 1);
  EXPECT_THAT(built.errors, HasSubstr("Table 'payroll_agg_1' of cube 'Payroll' is not used: there "
                                      "are facts without a member"));
  EXPECT_THAT(sales.schemas(), Not(HasSubstr("\"payroll_agg_1\"")));
  EXPECT_THAT(status(), HasSubstr("not used: it was not finished"));
}

TEST_P(Aggregates, NeedALoginThatMayCreateTables) {
  if (sales.server() == AggregateServer::postgresql) {
    sales.sql(
        "DO $$ BEGIN CREATE ROLE looker LOGIN PASSWORD 'look;er'; EXCEPTION WHEN "
        "duplicate_object THEN NULL; END $$; GRANT SELECT ON ALL TABLES IN SCHEMA public TO "
        "looker;");
  } else {
    sales.sql(
        "CREATE OR REPLACE USER looker@'%' IDENTIFIED BY 'look;er'; GRANT SELECT ON *.* TO "
        "looker@'%';");
  }
  const auto login = sales.folder().write("login", sales.connection_string("looker", "look;er"));
  const auto refused =
      sales.aggregate("build", {sales_database, "Payroll", "--connect-string-file", login});
  EXPECT_EQ(refused.exit_status, 1);
  EXPECT_THAT(refused.errors, ::testing::ContainsRegex("denied"));
  EXPECT_THAT(refused.errors, Not(HasSubstr("look;er")));
  EXPECT_EQ(sales.aggregates(), "");
  EXPECT_THAT(sales.schemas(), Not(HasSubstr("payroll_agg_1")));
}

TEST_P(Aggregates, TellThatTheWarehouseCannotBeReached) {
  auto text = sales.connection_string("reader", "sec;ret");
  const auto port =
      text.find("Port=") == std::string::npos ? text.find("PORT=") : text.find("Port=");
  text.replace(port + 5, text.find(';', port) - port - 5, "1");
  const auto login = sales.folder().write("login", text);
  const auto refused = sales.aggregate("build", {"--connect-string-file", login});
  EXPECT_EQ(refused.exit_status, 5) << refused.errors;
  EXPECT_THAT(refused.errors, AllOf(HasSubstr("the data warehouse cannot be reached: "),
                                    Not(HasSubstr("sec;ret"))));
}

TEST_P(Aggregates, OutlastABuildThatIsKilled) {
  const bool is_postgresql = sales.server() == AggregateServer::postgresql;
  sales.sql("ALTER TABLE payroll RENAME TO payroll_rows;");
  // Reading it takes a while.
  sales.sql(std::string("CREATE VIEW payroll AS SELECT * FROM payroll_rows WHERE ") +
            (is_postgresql ? "pg_sleep(0.2) IS NOT NULL" : "sleep(0.2) = 0") + ";");
  RunningProcess build(sales.aggregate_start("build", {sales_database, "Payroll"}));
  const auto records = std::filesystem::path(sales.directory()) / "aggregates.xml";
  EXPECT_TRUE(comes_true([&] { return std::filesystem::exists(records); }));
  EXPECT_TRUE(build.kill());
  EXPECT_THAT(sales.schemas(), Not(HasSubstr("payroll_agg_1")));
  EXPECT_THAT(status(), HasSubstr("not used: it was not finished"));
  sales.sql(is_postgresql ? "DROP VIEW payroll CASCADE; ALTER TABLE payroll_rows RENAME TO payroll;"
                          : "DROP VIEW payroll; ALTER TABLE payroll_rows RENAME TO payroll;");
  const auto built = sales.aggregate("build", {sales_database, "Payroll"});
  EXPECT_EQ(built.exit_status, 0) << built.errors;
  EXPECT_EQ(sales.aggregate("status").exit_status, 0) << status();
  EXPECT_THAT(sales.aggregates(), Not(HasSubstr("_new")));
}

INSTANTIATE_TEST_SUITE_P(Over, Aggregates,
                         ::testing::Values(AggregateServer::postgresql, AggregateServer::mariadb),
                         aggregate_server_name);

}  // namespace
}  // namespace importkcd::testing
