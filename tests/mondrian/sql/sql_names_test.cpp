#include "mondrian/sql/sql_names.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(SqlNames, ABareNameIsKnownAsTheDatabaseFoldsIt) {
  const SqlName name{"FactSales", false};
  EXPECT_EQ(known_name(DatabaseKind::postgresql, name), "factsales");
  EXPECT_EQ(known_name(DatabaseKind::upper_case, name), "FACTSALES");
  EXPECT_EQ(known_name(DatabaseKind::mariadb, name), "FactSales");
  EXPECT_EQ(known_name(DatabaseKind::sql_server, name), "FactSales");
  EXPECT_EQ(known_name(DatabaseKind::unknown, name), "FactSales");
}

TEST(SqlNames, FoldingLeavesLettersBeyondAsciiAlone) {
  EXPECT_EQ(known_name(DatabaseKind::postgresql, {"UmsÄtze", false}), "umsÄtze");
  EXPECT_EQ(known_name(DatabaseKind::upper_case, {"umsätze", false}), "UMSäTZE");
}

TEST(SqlNames, AQuotedNameIsKnownAsItIs) {
  for (const auto kind : {DatabaseKind::postgresql, DatabaseKind::upper_case}) {
    EXPECT_EQ(known_name(kind, {"Fact Sales", true}), "Fact Sales");
  }
}

TEST(SqlNames, AreQuotedInTheQuotesOfTheDatabaseWithThoseInsideDoubled) {
  EXPECT_EQ(quoted_name(DatabaseKind::postgresql, "a\"b`c]d"), "\"a\"\"b`c]d\"");
  EXPECT_EQ(quoted_name(DatabaseKind::mariadb, "a\"b`c]d"), "`a\"b``c]d`");
  EXPECT_EQ(quoted_name(DatabaseKind::sql_server, "売上"), "\"売上\"");
}

TEST(SqlNames, LetterCaseCountsWhereItDoesForTheDatabase) {
  EXPECT_FALSE(same_known_name(DatabaseKind::postgresql, "Sales", "sales"));
  EXPECT_FALSE(same_known_name(DatabaseKind::upper_case, "Sales", "SALES"));
  EXPECT_TRUE(same_known_name(DatabaseKind::sql_server, "Sales", "sALES"));
  EXPECT_TRUE(same_known_name(DatabaseKind::mariadb, "Sales", "sALES"));
  EXPECT_TRUE(same_known_name(DatabaseKind::unknown, "Sales", "sALES"));
}

TEST(SqlNames, ATextBecomesAStringWithItsApostrophesDoubled) {
  EXPECT_EQ(sql_string("O'Neill's"), "'O''Neill''s'");
  EXPECT_EQ(sql_string(""), "''");
}

}  // namespace
}  // namespace importkcd
