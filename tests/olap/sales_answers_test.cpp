#include "tests/olap/olap_world.h"
#include "tests/olap/sales_questions.h"

namespace importkcd::testing {
namespace {

class Answers : public ::testing::TestWithParam<Question> {};

TEST_P(Answers, AreThoseOfTheTables) {
  const auto& [name, mdx, sql] = GetParam();
  const auto expected = figures(world().postgres().run_sql(sales_warehouse, sql));
  ASSERT_FALSE(expected.empty()) << sql;
  EXPECT_EQ(difference(figures(world().engine().ask(sales_database, mdx)), expected), "")
      << mdx << '\n'
      << sql;
}

INSTANTIATE_TEST_SUITE_P(Sales, Answers, ::testing::ValuesIn(sales_questions()), question_name);
INSTANTIATE_TEST_SUITE_P(Stock, Answers, ::testing::ValuesIn(stock_questions()), question_name);
INSTANTIATE_TEST_SUITE_P(Payroll, Answers, ::testing::ValuesIn(payroll_questions()), question_name);

std::string formatted(const std::string& mdx) {
  const auto dataset = world().engine().ask(sales_database, mdx);
  return dataset.cells.empty() ? "" : dataset.cells.at(0).formatted;
}

TEST(Answers, ComeInTheFormatOfTheirMeasure) {
  const auto expected = [](const std::string& sql) {
    auto text = world().postgres().run_sql(sales_warehouse, sql);
    return text.substr(0, text.find('\n'));
  };
  EXPECT_EQ(formatted("SELECT {[Measures].[Revenue]} ON COLUMNS FROM [Sales] WHERE "
                      "([Calendar].[2026])"),
            expected("SELECT to_char(sum(amount), 'FM999,999,990.00') FROM every_sale WHERE year = "
                     "2026"));
  EXPECT_EQ(formatted("SELECT {[Measures].[Quantity]} ON COLUMNS FROM [Sales] WHERE "
                      "([Calendar].[2026])"),
            expected("SELECT to_char(sum(quantity), 'FM999,999,990') FROM every_sale WHERE year = "
                     "2026"));
  EXPECT_EQ(formatted("SELECT {[Measures].[Discount Rate]} ON COLUMNS FROM [Sales] WHERE "
                      "([Calendar].[2026])"),
            expected("SELECT to_char(100 * sum(list_amount - amount) / sum(list_amount), "
                     "'FM990.0') || '%' FROM every_sale WHERE year = 2026"));
}

TEST(Answers, DoNotReachADisabledLevel) {
  EXPECT_THAT(world().engine().refusal(sales_database,
                                       "SELECT [Calendar].[Day].Members ON COLUMNS FROM [Stock]"),
              ::testing::HasSubstr("'[Calendar].[Day]' not found in cube 'Stock'"));
}

TEST(Answers, KnowWhichMeasuresAreHidden) {
  const auto table = figures(world().engine().ask(
      sales_database,
      "WITH MEMBER [Measures].[First] AS '[Measures].[Counts].Properties(\"$visible\")' "
      "MEMBER [Measures].[Second] AS '[Measures].[Stock Value].Properties(\"$visible\")' "
      "SELECT {[Measures].[First], [Measures].[Second]} ON COLUMNS FROM [Stock]"));
  EXPECT_EQ(difference(table, {{"false", "true"}}), "");
}

}  // namespace
}  // namespace importkcd::testing
