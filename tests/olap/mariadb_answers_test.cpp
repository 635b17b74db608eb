#include <gtest/gtest.h>

#include <memory>

#include "tests/olap/sales_questions.h"
#include "tests/olap/sales_views.h"
#include "tests/support/mariadb_server.h"
#include "tests/support/olap_service.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

constexpr const char* asked_database = "Harbour Retail";

/// The sales example over MariaDB: imported by the program and served.
class MariaDbAnswers : public ::testing::TestWithParam<Question> {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<TemporaryFolder>();
    mariadb_ = std::make_unique<MariaDbServer>();
    mariadb_->run_sql("", "CREATE DATABASE warehouse");
    mariadb_->run_sql("warehouse", read_file(EXAMPLES_FOLDER "/sales-warehouse.sql"));
    mariadb_->run_sql("warehouse", sales_views);
    // Passwords with such characters stand in braces, in which a closing one is doubled.
    const auto connection_string = mariadb_->connection_string() +
                                   ";Database=warehouse;UID=" + MariaDbServer::user +
                                   ";PWD={p;w}}d={1}";
    const std::string document = EXAMPLES_FOLDER "/sales.kcd";
    const auto result =
        run_process({KCD_PROGRAM,
                     {"import", document, "--partitions", "--server",
                      "mondrian:" + folder_->file("olap"), "--connect-string", connection_string},
                     {{"LC_ALL", "C"}},
                     {},
                     {}});
    ASSERT_EQ(result.exit_status, 0) << result.errors;
    engine_ = std::make_unique<OlapService>(KCD_PROGRAM, folder_->file("olap"));
  }

  static void TearDownTestSuite() {
    engine_.reset();
    mariadb_.reset();
    folder_.reset();
  }

  static std::unique_ptr<TemporaryFolder> folder_;
  static std::unique_ptr<MariaDbServer> mariadb_;
  static std::unique_ptr<OlapService> engine_;
};

std::unique_ptr<TemporaryFolder> MariaDbAnswers::folder_;
std::unique_ptr<MariaDbServer> MariaDbAnswers::mariadb_;
std::unique_ptr<OlapService> MariaDbAnswers::engine_;

std::vector<Question> all_questions() {
  auto all = sales_questions();
  for (const auto& questions : {stock_questions(), payroll_questions()}) {
    all.insert(all.end(), questions.begin(), questions.end());
  }
  return all;
}

TEST_P(MariaDbAnswers, AreThoseOfTheTables) {
  const auto& [name, mdx, sql] = GetParam();
  const auto expected = figures(mariadb_->run_sql("warehouse", sql));
  ASSERT_FALSE(expected.empty()) << sql;
  EXPECT_EQ(difference(figures(engine_->ask(asked_database, mdx)), expected), "") << mdx << '\n'
                                                                                  << sql;
}

INSTANTIATE_TEST_SUITE_P(MariaDb, MariaDbAnswers, ::testing::ValuesIn(all_questions()),
                         question_name);

}  // namespace
}  // namespace importkcd::testing
