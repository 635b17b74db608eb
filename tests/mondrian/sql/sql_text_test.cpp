#include "mondrian/sql/sql_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace importkcd {
namespace {

using ::testing::ElementsAre;

/// The tokens as texts: the parts of a path joined by "|", quoted ones in angle brackets.
std::vector<std::string> tokens(std::string_view text) {
  std::vector<std::string> result;
  const auto parsed = parse_sql_text(text);
  if (!parsed) {
    return {"nothing"};
  }
  for (const auto& token : *parsed) {
    auto shown = token.text;
    for (const auto& name : token.path) {
      shown += (shown.empty() ? "" : "|") + (name.is_quoted ? "<" + name.text + ">" : name.text);
    }
    result.push_back(shown);
  }
  return result;
}

std::string rewritten(DatabaseKind kind, std::string_view text) {
  return sql_text(kind, *parse_sql_text(text), {});
}

TEST(SqlText, NamesMayStandInAnyQuotesOrNone) {
  EXPECT_THAT(tokens("\"dbo\".\"Fact Sales\" [dbo].[Fact] `a`.`b` dbo.fact"),
              ElementsAre("<dbo>|<Fact Sales>", "<dbo>|<Fact>", "<a>|<b>", "dbo|fact"));
}

TEST(SqlText, QuotesInsideOfNamesAreDoubled) {
  EXPECT_THAT(tokens("\"a\"\"b\" [a]]b] `a``b` [a[b]"),
              ElementsAre("<a\"b>", "<a]b>", "<a`b>", "<a[b>"));
}

TEST(SqlText, BlanksAroundThePointsOfAPathDoNotCount) {
  EXPECT_THAT(tokens("\"a\" . \"b\"\n.c"), ElementsAre("<a>|<b>|c"));
}

TEST(SqlText, ABareNameMayHoldAnyScriptAndMarks) {
  EXPECT_THAT(tokens("umsätze.größe 売上 #tmp @x a$1 _b"),
              ElementsAre("umsätze|größe", "売上", "#tmp", "@x", "a$1", "_b"));
}

TEST(SqlText, TablesInFrontOfAnAsteriskAreNoPath) {
  EXPECT_THAT(tokens("t.*"), ElementsAre("t", ".", "*"));
}

TEST(SqlText, AStringIsOnePieceWithWhateverIsInside) {
  EXPECT_THAT(tokens("'it''s \"x\" -- [y] /*' + ''"),
              ElementsAre("'it''s \"x\" -- [y] /*'", "+", "''"));
}

TEST(SqlText, NumbersMayHaveFractionAndExponent) {
  EXPECT_THAT(tokens("1 0.5 1.5e-3 2E7 3e"), ElementsAre("1", "0.5", "1.5e-3", "2E7", "3", "e"));
}

TEST(SqlText, OperatorsOfTwoCharactersStayTogether) {
  EXPECT_THAT(tokens("a<>b<=c>=d!=e||f*=g=*h::i"),
              ElementsAre("a", "<>", "b", "<=", "c", ">=", "d", "!=", "e", "||", "f", "*=", "g",
                          "=*", "h", "::", "i"));
}

TEST(SqlText, CommentsAreDropped) {
  EXPECT_THAT(tokens("a -- \"b\n /* 'c */ d--"), ElementsAre("a", "d"));
}

TEST(SqlText, TheJoinEscapeOfOdbcIsDroppedWithItsBracket) {
  EXPECT_THAT(tokens("{oj a LEFT OUTER JOIN b ON a.x = b.x}, {fn now()}"),
              ElementsAre("a", "LEFT", "OUTER", "JOIN", "b", "ON", "a|x", "=", "b|x", ",", "{",
                          "fn", "now", "(", ")", "}"));
}

TEST(SqlText, AQuoteThatIsNotClosedIsNoText) {
  for (const auto* text : {R"("a)", "[a", "`a", "'a", R"("a"."b)", "'it''s", "[a]]"}) {
    EXPECT_THAT(tokens(text), ElementsAre("nothing")) << text;
  }
}

TEST(SqlText, AWordIsBareAndAloneInAnyLetterCase) {
  const auto text = *parse_sql_text("Join \"JOIN\" a.join '=' =");
  EXPECT_TRUE(is_word(text[0], "JOIN"));
  EXPECT_FALSE(is_word(text[1], "JOIN"));
  EXPECT_FALSE(is_word(text[2], "JOIN"));
  EXPECT_FALSE(is_symbol(text[3], "="));
  EXPECT_TRUE(is_symbol(text[4], "="));
}

TEST(SqlText, IsPutTogetherInTheQuotesOfTheDatabase) {
  EXPECT_EQ(rewritten(DatabaseKind::mariadb, "\"a\".[b c]+d  =\n'x'"), "`a`.`b c`+d = 'x'");
  EXPECT_EQ(rewritten(DatabaseKind::postgresql, "[a]]b].`c\"d`"), "\"a]b\".\"c\"\"d\"");
}

TEST(SqlText, AWriterDecidesOnPathsAndLeavesOthers) {
  const auto name = [](const SqlPath& path) {
    return path.size() == 2 ? std::optional<std::string>("X") : std::nullopt;
  };
  EXPECT_EQ(sql_text(DatabaseKind::unknown, *parse_sql_text("f(a.b, c) AND \"d\""), name),
            "f(X, c) AND \"d\"");
}

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
