#include "mondrian/sql/sql_expression.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

JoinGraph graph() {
  return *parse_join_graph("dbo.sales s, store", "s.store_id = store.id", DatabaseKind::sql_server);
}

std::string text(std::string_view expression) {
  return expression_text(parse_expression(expression), graph(), "s");
}

TEST(SqlExpression, AnUnclosedQuoteIsAnErrorThatTellsTheText) {
  EXPECT_EQ(testing::reason_of([] { parse_expression("\"sales\".\"amount"); }),
            "a quote is not closed in \"sales\".\"amount");
}

TEST(SqlExpression, ANameInAnyParenthesesIsAPlainColumn) {
  EXPECT_EQ(plain_column(parse_expression("((dbo.sales.amount))"), graph(), ""),
            (SourceColumn{"s", "amount"}));
  EXPECT_EQ(plain_column(parse_expression("amount"), graph(), "s"), (SourceColumn{"s", "amount"}));
}

TEST(SqlExpression, MoreThanANameIsNoPlainColumn) {
  for (const auto* expression :
       {"s.amount + 1", "sum(s.amount)", "'s'", "1", "", "other.amount", "s.a s.b"}) {
    EXPECT_EQ(plain_column(parse_expression(expression), graph(), "s"), std::nullopt) << expression;
  }
  EXPECT_EQ(plain_column(parse_expression("amount"), graph(), ""), std::nullopt);
}

TEST(SqlExpression, TellsTheTablesThatItNames) {
  EXPECT_THAT(tables_of(parse_expression("s.a * coalesce(store.b, 'x.y') + c"), graph()),
              ElementsAre("s", "store"));
  EXPECT_THAT(tables_of(parse_expression("year(d)"), graph()), IsEmpty());
}

TEST(SqlExpression, TellsTheFirstColumnOfATableThatIsNotThere) {
  EXPECT_EQ(unknown_column(parse_expression("s.a + \"shop\".\"b\" + x.y"), graph()),
            "\"shop\".\"b\"");
  EXPECT_EQ(unknown_column(parse_expression("dbo.days(s.a) + b"), graph()), "");
}

TEST(SqlExpression, ColumnsAreWrittenUnderTheAliasesOfTheirTables) {
  EXPECT_EQ(text("DatePart(month, dbo.sales.[the date])"), "DatePart(month, \"s\".\"the date\")");
  EXPECT_EQ(text("amount"), "\"s\".\"amount\"");
  EXPECT_EQ(text("CASE WHEN s.a=1 THEN 'it''s' END"), "CASE WHEN \"s\".\"a\"=1 THEN 'it''s' END");
}

TEST(SqlExpression, TablesAreWrittenWithSchemaAndAlias) {
  EXPECT_EQ(table_text(DatabaseKind::sql_server, {{"dw", "dbo"}, "sales", "s"}),
            "\"dw\".\"dbo\".\"sales\" as \"s\"");
  EXPECT_EQ(table_text(DatabaseKind::mariadb, {{}, "sales", "sales"}), "`sales`");
}

}  // namespace
}  // namespace importkcd
