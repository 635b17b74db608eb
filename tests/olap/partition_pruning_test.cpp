#include <gmock/gmock.h>

#include <memory>
#include <utility>

#include "tests/olap/aggregated_sales.h"
#include "tests/olap/olap_world.h"
#include "tests/olap/sales_questions.h"

namespace importkcd::testing {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

using Texts = std::vector<std::string>;

constexpr const char* all_years =
    "CREATE VIEW sales_of_all_years AS SELECT * FROM sales WHERE day_id > 260000 UNION ALL SELECT "
    "* "
    "FROM sales_2025 WHERE day_id BETWEEN 250000 AND 260000 UNION ALL SELECT * FROM sales_2024;";

std::string with(std::string text,
                 const std::vector<std::pair<std::string, std::string>>& changes) {
  for (const auto& [from, to] : changes) {
    EXPECT_NE(text.find(from), std::string::npos) << from;
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
      text.replace(at, from.size(), to);
    }
  }
  return text;
}

/// The sales of three years, each in a partition of its own, and a data warehouse that notes what
/// it is asked.
class PartitionPruning : public ::testing::TestWithParam<AggregateServer> {
 protected:
  PartitionPruning() {
    sales.sql(
        "INSERT INTO calendar (day_id, the_date, year, quarter, month, week) SELECT day_id - "
        "10000, "
        "the_date - INTERVAL '1' YEAR, 2024, quarter, month, week FROM calendar WHERE year = "
        "2025;");
    auto table = read_file(EXAMPLES_FOLDER "/sales-warehouse.sql");
    table.erase(0, table.find("CREATE TABLE sales_2025"));
    table.erase(table.find(';') + 1);
    sales.sql(with(table, {{"sales_2025", "sales_2024"}}) +
              "INSERT INTO sales_2024 SELECT sale_id, day_id - 10000, store_id, product_id, "
              "customer_id, promotion_id, payment_method, quantity, list_amount, amount * 2, cost "
              "FROM sales_2025 WHERE day_id > 250000 AND day_id < 260000;");
    sales.sql(all_years);
    sales.sql(is_postgresql() ? "DO $$ BEGIN EXECUTE format('ALTER DATABASE %I SET log_statement = "
                                "''all''', current_database()); END $$;"
                              : "SET GLOBAL log_output = 'TABLE'; SET GLOBAL general_log = 1;");
  }
  static void TearDownTestSuite() { end_aggregate_servers(); }

  bool is_postgresql() const { return sales.server() == AggregateServer::postgresql; }

  /// Imports the example with a partition of 2024, and with slices of payment methods, and serves
  /// it.
  void serve(const std::vector<std::pair<std::string, std::string>>& methods = {}) {
    auto document = read_file(EXAMPLES_FOLDER "/sales.kcd");
    const auto begin = document.find("<cube_partition name=\"Sales 2025\"");
    const std::string end_tag = "</cube_partition>";
    const auto end = document.find(end_tag, begin) + end_tag.size();
    document.insert(end, with(document.substr(begin, end - begin),
                              {{"sales_2025", "sales_2024"},
                               {"Sales 2025", "Sales 2024"},
                               {R"(slice_value="2025")", R"(slice_value="2024")"}}));
    const std::string dimensions = "<partition_dimensions>";
    document.insert(
        document.find(dimensions, document.find("<cube_partition name=\"Sales\"")) +
            dimensions.size(),
        R"(<partition_dimension name="Payment Method"><partition_levels><partition_level )"
        R"(name="Method" member_key_column='"sales"."payment_method"' slice_value=""/>)"
        "</partition_levels></partition_dimension>");
    for (const auto& [table, value] : methods) {
      const auto level = document.find(R"(name="Method" member_key_column='")" + table + "\".");
      const std::string attribute = R"(slice_value=")";
      document.insert(document.find(attribute, level) + attribute.size(), value);
    }
    const auto imported = sales.import(sales.folder().write("three years.kcd", document));
    ASSERT_EQ(imported.exit_status, 0) << imported.errors;
    engine = sales.engine();
  }

  /// The statements about facts that the data warehouse has noted, but for looks at columns.
  Texts statements() const {
    const auto text = is_postgresql() ? world().postgres().log()
                                      : sales.sql("SELECT argument FROM mysql.general_log");
    const std::string begin = is_postgresql() ? "LOG:  execute" : "\n";
    Texts result;
    for (auto at = text.find(begin); at != std::string::npos;) {
      const auto next = text.find(begin, at + 1);
      auto one = text.substr(at, next - at);
      if (one.find(" as " + quoted("sales")) != std::string::npos &&
          one.find("1 = 0") == std::string::npos) {
        result.push_back(std::move(one));
      }
      at = next;
    }
    return result;
  }

  std::string quoted(const std::string& name) const {
    return is_postgresql() ? "\"" + name + "\"" : "`" + name + "`";
  }

  /// The partitions that each statement reads which a question leads to.
  Texts parts_read(const std::string& mdx) {
    const auto before = statements().size();
    EXPECT_EQ(engine->refusal(sales_database, mdx), "") << mdx;
    Texts result;
    const auto now = statements();
    for (auto i = before; i < now.size(); ++i) {
      std::string parts;
      for (const auto* part : {"sales", "sales_2025", "sales_2024"}) {
        if (now[i].find("from " + quoted(part) + ", " + quoted("calendar")) != std::string::npos) {
          parts.append(parts.empty() ? "" : " ").append(part);
        }
      }
      result.push_back(parts);
    }
    EXPECT_THAT(result, Not(IsEmpty())) << mdx;
    return result;
  }

  void expect_answer(const std::string& mdx, const std::string& where) const {
    EXPECT_EQ(difference(
                  figures(engine->ask(sales_database, mdx)),
                  figures(sales.sql(
                      "SELECT region_name, sum(amount) FROM sales_of_all_years s "
                      "JOIN calendar c ON c.day_id = s.day_id JOIN store t ON "
                      "t.store_id = s.store_id JOIN region r ON r.region_id = "
                      "t.region_id WHERE " +
                      where + " GROUP BY r.country, region_name ORDER BY r.country, region_name"))),
              "")
        << mdx;
  }

  static std::string by_region(const std::string& where) {
    return "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Store].[Region].Members ON ROWS "
           "FROM [Sales] WHERE (" +
           where + ")";
  }

  void expect_only_what_is_needed() {
    EXPECT_THAT(parts_read(by_region("[Calendar].[2024]")), Each("sales_2024"));
    EXPECT_THAT(parts_read(by_region("[Calendar].[2026]")), Each("sales"));
    EXPECT_THAT(parts_read(by_region("[Calendar].[2025].[Q1]")), Each("sales_2025"));
    EXPECT_THAT(parts_read("SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY Descendants("
                           "[Calendar].[2025], [Calendar].[Month]) ON ROWS FROM [Sales]"),
                Each("sales_2025"));
    // The engine asks for days by their dates alone, and for members of several levels by "or".
    EXPECT_THAT(parts_read("SELECT {[Measures].[Revenue]} ON COLUMNS, [Calendar].[2025].[Q2].[4]."
                           "Children ON ROWS FROM [Sales]"),
                Each("sales_2025"));
    EXPECT_THAT(parts_read(by_region("{[Calendar].[2024], [Calendar].[2025].[Q3]}")),
                Each(StartsWith("sales_20")));
    EXPECT_THAT(parts_read("SELECT {[Measures].[Revenue]} ON COLUMNS, [Calendar].[Year].Members ON "
                           "ROWS FROM [Sales]"),
                Each("sales sales_2025 sales_2024"));
    expect_answer(by_region("[Calendar].[2024]"), "year = 2024");
    expect_answer(by_region("[Calendar].[2026]"), "year = 2026");
    expect_answer(by_region("[Calendar].[2025].[Q1]"), "year = 2025 AND quarter = 'Q1'");
    expect_answer(by_region("{[Calendar].[2024], [Calendar].[2025]}"), "year < 2026");
    expect_answer(by_region("{[Calendar].[2024], [Calendar].[2025].[Q3]}"),
                  "(year = 2024 OR year = 2025 AND quarter = 'Q3')");
  }

  AggregatedSales sales{GetParam()};
  std::unique_ptr<OlapService> engine;
};

TEST_P(PartitionPruning, LeavesOutThePartitionsThatAQuestionDoesNotNeed) {
  serve();
  expect_only_what_is_needed();
}

TEST_P(PartitionPruning, LeavesThemOutOfTheViewThatAggregateTablesNeed) {
  serve();
  engine.reset();
  sales.build("Sales");
  EXPECT_THAT(sales.schemas(), HasSubstr("\"sales_agg_facts\""));
  engine = sales.engine();
  // No aggregate table tells single customers and days apart.
  const std::string detail =
      "SELECT {[Measures].[Revenue]} ON COLUMNS, NON EMPTY [Customer].[Customer].Members * "
      "Descendants([Calendar].[2024], [Calendar].[Day]) * [Product].[Product].Members ON ROWS FROM "
      "[Sales]";
  EXPECT_THAT(parts_read(detail), Contains("sales_2024"));
  expect_answer(by_region("[Calendar].[2024]"), "year = 2024");
}

TEST_P(PartitionPruning, ReadsOnePartitionWhenNoneHasWhatIsAsked) {
  sales.sql(
      "INSERT INTO calendar (day_id, the_date, year, quarter, month, week) SELECT day_id - 20000, "
      "the_date - INTERVAL '2' YEAR, 2023, quarter, month, week FROM calendar WHERE year = 2025;");
  serve();
  const std::string mdx =
      "SELECT {[Measures].[Revenue]} ON COLUMNS, {[Calendar].[2023]} ON ROWS FROM [Sales]";
  EXPECT_THAT(parts_read(mdx), Each("sales"));
  EXPECT_THAT(figures(engine->ask(sales_database, mdx)), ElementsAre(Texts{"2023", ""}));
}

TEST_P(PartitionPruning, ReadsAllPartitionsWhenTheirColumnsHaveOtherTypes) {
  sales.sql(std::string("DROP VIEW sales_of_all_years; ALTER TABLE sales_2024 ") +
            (is_postgresql() ? "ALTER COLUMN quantity TYPE NUMERIC(12, 3); "
                             : "MODIFY quantity DECIMAL(12, 3); ") +
            all_years);
  serve();
  EXPECT_THAT(parts_read(by_region("[Calendar].[2025]")), Each("sales sales_2025 sales_2024"));
  expect_answer(by_region("[Calendar].[2025]"), "year = 2025");
}

TEST_P(PartitionPruning, ComparesTextsLikeTheMostLenientDatabase) {
  sales.sql(R"(UPDATE sales SET payment_method = 'Card '' union all "';)"
            "UPDATE sales_2025 SET payment_method = 'Cash';"
            "UPDATE sales_2024 SET payment_method = 'CASH';");
  serve({{"sales", "Card @#$% union all &quot;"}, {"sales_2025", "Cash"}, {"sales_2024", "CASH"}});
  const auto paid = [](const std::string& method) {
    return "SELECT [Calendar].[Year].Members ON COLUMNS, {[Payment Method].[" + method +
           "]} ON ROWS FROM [Sales] WHERE ([Measures].[Revenue])";
  };
  // The engine looks for the member among all facts before.
  const auto hostile = paid("Card ' union all \"");
  EXPECT_EQ(parts_read(hostile).back(), "sales");
  EXPECT_EQ(
      difference(figures(engine->ask(sales_database, hostile)),
                 figures(sales.sql("SELECT payment_method, NULL, NULL, sum(amount) FROM sales "
                                   "WHERE day_id > 260000 GROUP BY payment_method"))),
      "");
  EXPECT_EQ(parts_read(paid("Cash")).back(), "sales_2025 sales_2024");
}

INSTANTIATE_TEST_SUITE_P(Over, PartitionPruning,
                         ::testing::Values(AggregateServer::postgresql, AggregateServer::mariadb),
                         aggregate_server_name);

}  // namespace
}  // namespace importkcd::testing
