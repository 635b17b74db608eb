#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

#include "tests/olap/sales_questions.h"
#include "tests/olap/shards/sharded_warehouse.h"
#include "tests/support/olap_service.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* sharded_database = "Harbour Retail";

/// The sales example, imported over a warehouse of several servers as over any other, and served.
class ShardedAnswers : public ::testing::Test {
 protected:
  static void serve(std::unique_ptr<ShardedWarehouse> warehouse) {
    warehouse_ = std::move(warehouse);
    folder_ = std::make_unique<TemporaryFolder>();
    engine_ = served("cubes");
  }

  static void TearDownTestSuite() {
    engine_.reset();
    folder_.reset();
    warehouse_.reset();
  }

  static std::string directory(const std::string& name) {
    return "mondrian:" + folder_->file(name);
  }

  static ProcessResult kcd(std::vector<std::string> arguments) {
    return run_process({KCD_PROGRAM, std::move(arguments), {{"LC_ALL", "C"}}});
  }

  static void import(const std::string& name) {
    const auto result =
        kcd({"import", std::string(EXAMPLES_FOLDER) + "/sales.kcd", "--partitions", "--server",
             directory(name), "--connect-string", warehouse_->connection_string()});
    ASSERT_EQ(result.exit_status, 0) << result.errors;
  }

  static std::unique_ptr<OlapService> served(const std::string& name) {
    import(name);
    return std::make_unique<OlapService>(KCD_PROGRAM, folder_->file(name));
  }

  static std::vector<Question> all_of_them() {
    auto all = sales_questions();
    for (const auto& more : {stock_questions(), payroll_questions()}) {
      all.insert(all.end(), more.begin(), more.end());
    }
    return all;
  }

  static Question question(const std::string& name) {
    const auto all = all_of_them();
    return *std::find_if(all.begin(), all.end(),
                         [&](const Question& each) { return each.name == name; });
  }

  static void expect_figures_of_one_server(const OlapService& engine,
                                           const std::vector<Question>& asked) {
    for (const auto& [name, mdx, sql] : asked) {
      const auto expected = figures(warehouse_->sql("whole", sql));
      ASSERT_FALSE(expected.empty()) << sql;
      EXPECT_EQ(difference(figures(engine.ask(sharded_database, mdx)), expected), "")
          << name << ": " << mdx;
    }
  }

  static void expect_every_shard_to_have_facts() {
    for (const auto& table : ShardedWarehouse::facts()) {
      const auto count = "SELECT count(*) FROM " + table;
      int sum = 0;
      for (std::size_t shard = 0; shard < ShardedWarehouse::shards; ++shard) {
        const auto rows = std::stoi(warehouse_->shard_sql(shard, count));
        EXPECT_GT(rows, 0) << table;
        sum += rows;
      }
      EXPECT_EQ(sum, std::stoi(warehouse_->sql("whole", count))) << table;
    }
  }

  /// What each shard has been asked for since the last call.
  static std::vector<std::vector<std::string>> new_queries() {
    std::vector<std::vector<std::string>> all;
    for (std::size_t shard = 0; shard < ShardedWarehouse::shards; ++shard) {
      all.push_back(warehouse_->new_queries(shard));
    }
    return all;
  }

  /// What each shard is asked for a question, by an engine that knows no figures.
  static std::vector<std::vector<std::string>> queries(const OlapService& engine,
                                                       const std::string& mdx) {
    EXPECT_EQ(kcd({"refresh", engine.address()}).exit_status, 0);
    // Before its first answer it reads the members of this dimension, which are in the facts.
    engine.ask(sharded_database, "SELECT [Stock Status].Members ON COLUMNS FROM [Stock]");
    new_queries();
    engine.ask(sharded_database, mdx);
    return new_queries();
  }

  static void expect_aggregates_to_spare_the_shards() {
    import("aggregated");
    const auto built = kcd({"aggregate", "build", directory("aggregated")});
    ASSERT_EQ(built.exit_status, 0) << built.errors;
    const OlapService engine(KCD_PROGRAM, folder_->file("aggregated"));
    for (const auto* name : {"SnowflakeOuterTable", "TimeByQuarters", "PayrollByDepartment"}) {
      const auto asked = question(name);
      expect_figures_of_one_server(engine, {asked});
      EXPECT_THAT(queries(*engine_, asked.mdx), Each(Not(IsEmpty()))) << name;
      EXPECT_THAT(queries(engine, asked.mdx), Each(IsEmpty())) << name;
    }
  }

  static std::unique_ptr<TemporaryFolder> folder_;
  static std::unique_ptr<ShardedWarehouse> warehouse_;
  static std::unique_ptr<OlapService> engine_;
};

std::unique_ptr<TemporaryFolder> ShardedAnswers::folder_;
std::unique_ptr<ShardedWarehouse> ShardedAnswers::warehouse_;
std::unique_ptr<OlapService> ShardedAnswers::engine_;

class AnswersOfPostgresShards : public ShardedAnswers {
 protected:
  static void SetUpTestSuite() { serve(std::make_unique<PostgresShards>()); }

  /// How the warehouse carries out the statement that the engine sends for a question.
  static std::string plan(const std::string& mdx) {
    auto& warehouse = dynamic_cast<PostgresShards&>(*warehouse_);
    EXPECT_EQ(kcd({"refresh", engine_->address()}).exit_status, 0);
    warehouse.new_statements();
    engine_->ask(sharded_database, mdx);
    const auto statements = warehouse.new_statements();
    EXPECT_EQ(statements.size(), 1U) << ::testing::PrintToString(statements);
    return statements.empty()
               ? ""
               : warehouse.sql("warehouse", "EXPLAIN (VERBOSE, COSTS OFF) " + statements.front());
  }

  /// How often a plan has a text.
  static std::size_t count(const std::string& plan, const std::string& text) {
    std::size_t times = 0;
    for (auto at = plan.find(text); at != std::string::npos; at = plan.find(text, at + 1)) {
      ++times;
    }
    return times;
  }
};

TEST_F(AnswersOfPostgresShards, AreThoseOfOneServer) {
  expect_every_shard_to_have_facts();
  expect_figures_of_one_server(*engine_, all_of_them());
}

TEST_F(AnswersOfPostgresShards, AreAddedUpByTheShardsWhereGroupsKeepToOneOfThem) {
  const std::string mdx =
      "SELECT {[Measures].[Hours], [Measures].[Lowest Pay], [Measures].[Payments]} ON COLUMNS, "
      "[Employee].[Employee].Members ON ROWS FROM [Payroll]";
  const auto explained = plan(mdx);
  EXPECT_EQ(count(explained, "Async Foreign Scan"), 3U) << explained;
  EXPECT_EQ(count(explained, "Relations: Aggregate on "), 3U) << explained;
  EXPECT_EQ(count(explained, "Remote SQL: "), 3U) << explained;
  EXPECT_THAT(queries(*engine_, mdx),
              Each(Contains(
                  AllOf(HasSubstr("sum("), HasSubstr("public.employee"), HasSubstr("GROUP BY")))));
}

TEST_F(AnswersOfPostgresShards, AreMadeOfTheRowsThatShardsFindForTheDaysOfAPartition) {
  const auto explained = plan(question("SnowflakeOuterTable").mdx);
  EXPECT_THAT(explained, HasSubstr("Async Foreign Scan"));
  EXPECT_EQ(count(explained, ") INNER JOIN (public.calendar_"), 6U) << explained;
  EXPECT_EQ(count(explained, ".year = 2026)"), 3U) << explained;
  // The departments are in no shard: it cannot add up by them.
  EXPECT_THAT(queries(*engine_, question("SnowflakeOuterTable").mdx),
              Each(Contains(AllOf(HasSubstr("INNER JOIN public.calendar"), HasSubstr("amount"),
                                  Not(HasSubstr("sum("))))));
}

TEST_F(AnswersOfPostgresShards, AreNoWorkOfTheShardsWhereThereAreAggregates) {
  expect_aggregates_to_spare_the_shards();
}

class AnswersOfMariaDbShards : public ShardedAnswers {
 protected:
  static void SetUpTestSuite() {
    ASSERT_TRUE(MariaDbShards::available())
        << "MariaDB has no Spider engine here (Debian package mariadb-plugin-spider)";
    serve(std::make_unique<MariaDbShards>());
  }
  void SetUp() override { ASSERT_TRUE(warehouse_) << "there are no servers to ask"; }
};

TEST_F(AnswersOfMariaDbShards, AreThoseOfOneServer) {
  expect_every_shard_to_have_facts();
  expect_figures_of_one_server(*engine_, all_of_them());
}

TEST_F(AnswersOfMariaDbShards, AreAddedUpByTheShardsWhereOnlyFactsAreAsked) {
  EXPECT_THAT(queries(*engine_,
                      "SELECT {[Measures].[Hours], [Measures].[Lowest Pay]} ON COLUMNS FROM "
                      "[Payroll]"),
              Each(Contains(AllOf(HasSubstr("sum(`hours`)"), HasSubstr("min(`gross_pay`)")))));
  warehouse_->sql("warehouse",
                  "SELECT payment_method, sum(amount) FROM sales GROUP BY payment_method");
  EXPECT_THAT(
      new_queries(),
      Each(Contains(AllOf(HasSubstr("sum(`amount`)"), HasSubstr("group by `payment_method`")))));
}

TEST_F(AnswersOfMariaDbShards, AreMadeOfAllRowsWhereOtherTablesAreAsked) {
  EXPECT_THAT(queries(*engine_, question("PayrollByDepartment").mdx),
              Each(Contains(AllOf(HasSubstr("`gross_pay`"), Not(HasSubstr("sum("))))));
}

TEST_F(AnswersOfMariaDbShards, AreNoWorkOfTheShardsWhereThereAreAggregates) {
  expect_aggregates_to_spare_the_shards();
}

}  // namespace
}  // namespace importkcd::testing
