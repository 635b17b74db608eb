#include "mondrian/mdx/mdx_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mondrian/mapping/calculated_member_mapping.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(MdxCheck, WhatTheEngineReadsHasNoFault) {
  for (const std::string expression : {
           "1",
           "-1",
           "+ 1",
           ".5",
           "5.",
           "1.5E-3",
           "Measures.Revenue",
           "[Measures].[Revenue] / [Measures].[Cost] * 100",
           "([Measures].[Revenue], [Product].[All Products])",
           "IIF([Measures].[Cost] = 0 AND NOT [Measures].[Revenue] > 3, NULL, 1)",
           "iif (1 <> 2, 1, 2)",
           "CASE WHEN [Measures].[Cost] > 1 THEN 1 ELSE 2 END",
           "CASE [Measures].[Cost] WHEN 1 THEN 1 END",
           "Sum(Descendants([Product].CurrentMember, , LEAVES), [Measures].[Revenue])",
           "VBA!Abs(1)",
           "([Measures].[Revenue], [Calendar].CurrentMember.Lag(1))",
           "[Product].CurrentMember IS [Product].[All Products]",
           "[Measures].[Revenue] IS NULL",
           "Sum({[Calendar].[2025] : [Calendar].[2026]}, [Measures].[Revenue])",
           R"("a""b" || 'c')",
           "[Product].[All Products].&[5]",
           R"([A]]B].[C "'] -- a comment)",
           "/* a comment */ 1 // and another",
           "Filter({[Product].[Department].members} AS s, 1 > 0).Count",
           R"("abc" NOT MATCHES "a.*")",
           "[Product].CurrentMember IN {[Product].[All Products]}",
           "Sum({}, 1)",
           "Dimensions(1).Name",
           "[日本].CurrentMember.Größe",
       }) {
    EXPECT_EQ(mdx_fault(expression), "") << expression;
  }
}

TEST(MdxCheck, AFunctionThatTheEngineLacksIsNamed) {
  EXPECT_EQ(mdx_fault(R"(1 + LookupCube("Stock", "[Measures].[Counts]"))"),
            "the engine has no function 'LookupCube'");
  EXPECT_EQ(mdx_fault("[Product].CurrentMember.Foo(1)"), "the engine has no function 'Foo'");
  EXPECT_EQ(mdx_fault("VBA!Foo(1)"), "the engine has no function 'Foo'");
  EXPECT_EQ(mdx_fault("İ(1)"), "the engine has no function 'İ'");
}

TEST(MdxCheck, AnExpressionThatEndsTooEarlyIsShown) {
  for (const std::string expression :
       {"", "[Measures].[Revenue] +", "(1 + 2", "CASE WHEN 1 > 2 THEN 1", "// nothing", "NOT",
        "[A].", "Sum(1,", "Sum("}) {
    EXPECT_EQ(mdx_fault(expression), "its formula ends too early: " + expression);
  }
}

TEST(MdxCheck, TheRestThatCannotBeReadIsShown) {
  for (const auto& [expression, rest] : std::vector<std::pair<std::string, std::string>>{
           {"* 2", "* 2"},
           {"[A] [B]", "[B]"},
           {"([A], )", ")"},
           {"1 != 2", "!= 2"},
           {"1 == 2", "= 2"},
           {"5 % 2", "% 2"},
           {"1 + 2)", ")"},
           {"[A];", ";"},
           {"[A], 1", ", 1"},
           {"[A](1)", "(1)"},
           {"1 + [A", "[A"},
           {R"(1 + "a)", R"("a)"},
           {"CASE 1 END", "END"},
           {"1 NOT 2", "2"},
           {"{1, 2)", ")"},
           {"1 ääääääääääääääääääääääääää", "ääääääääääääääääääää"}}) {
    EXPECT_EQ(mdx_fault(expression), "its formula cannot be read from here on: " + rest);
  }
}

TEST(MdxCheck, DeepNestingIsAFault) {
  EXPECT_EQ(mdx_fault(std::string(100, '(') + "1" + std::string(100, ')')), "");
  EXPECT_EQ(mdx_fault(std::string(100'000, '(')), "its formula is nested too deep");
}

TEST(MdxCheck, AnExpressionIsBalancedWhenEverythingIsClosedInItsOrder) {
  for (const auto* text :
       {"", "([a]+{[b]})", "[a)]]b]", "\"(\" + ')' ", "Iif(x, \"it''s\", 'a''b')"}) {
    EXPECT_TRUE(is_balanced_mdx(text)) << text;
  }
  for (const auto* text : {"(", ")", "({)}", "[a", "a]", "\"a", "'a", "[a]]"}) {
    EXPECT_FALSE(is_balanced_mdx(text)) << text;
  }
}

TEST(MdxCheck, FindsTheMeasuresThatAnExpressionNames) {
  EXPECT_THAT(measures_named_in("[Measures].[A] / measures.[B]]C] - [Store].[Measures].[D]"),
              ElementsAre("A", "B]C", "D"));
  EXPECT_THAT(measures_named_in("'x'||Measures.[A]"), ElementsAre("A"));
  EXPECT_THAT(measures_named_in("\"[Measures].[A]\" + [Measures] + [Store].[All]"), IsEmpty());
}

TEST(MdxCheck, AMeasureInAMeasuresPathIsNoDimension) {
  EXPECT_THAT(measures_named_in("[Measures].[Measures].[A]"), ElementsAre("Measures"));
}

TEST(MdxCheck, AnItemEndsAtACommaOutsideOfBracketsAndQuotes) {
  EXPECT_EQ(end_of_mdx_item("Iif([a,b] = 'c,', {1, 2}), x"), 25U);
  EXPECT_EQ(end_of_mdx_item(", x"), 0U);
  EXPECT_EQ(end_of_mdx_item("x"), 1U);
  EXPECT_EQ(end_of_mdx_item("(x, y"), 5U);
  EXPECT_EQ(end_of_mdx_item("x), y"), 5U);
  EXPECT_EQ(end_of_mdx_item("x 'y, z"), 7U);
}

TEST(MdxCheck, NothingCountsInAComment) {
  EXPECT_TRUE(is_balanced_mdx("1 /* it's [ */"));
  EXPECT_THAT(measures_named_in("1 -- [Measures].[A]"), IsEmpty());
  EXPECT_EQ(end_of_mdx_item("1 /* a, b */, c"), 12U);
}

TEST(MdxCheck, AMemberWithAFaultIsLeftOutAndSoAreThoseThatNeedIt) {
  OlapCube cube;
  cube.name = "Sales";
  const auto add = [&](const std::string& name, const std::string& statement) {
    cube.calculated_members.add_new(name).statement = statement;
  };
  add("Good", "CREATE MEMBER CURRENTCUBE.[Measures].[Good] AS '[Measures].[Amount] * 2'");
  add("Bad", "CREATE MEMBER CURRENTCUBE.[Measures].[Bad] AS 'Foo([Measures].[Amount])'");
  add("Needs it", "CREATE MEMBER CURRENTCUBE.[Measures].[Needs it] AS '[Measures].[Bad] + 1'");
  add("Format",
      "CREATE MEMBER CURRENTCUBE.[Measures].[Format] AS '1', FORMAT_STRING = "
      R"('IIf(Foo(1) > 2, "#", "0")')");
  std::vector<std::string> remarks;
  EXPECT_THAT(map_calculated_members(cube, {"Amount"}, remarks), SizeIs(1));
  EXPECT_THAT(
      remarks,
      ElementsAre("Cube 'Sales' is published without its calculated member 'Bad': the engine has "
                  "no function 'Foo'",
                  "Cube 'Sales' is published without its calculated member 'Needs it': there is no "
                  "measure 'Bad' in the cube",
                  "Cube 'Sales' is published without its calculated member 'Format': its format: "
                  "the engine has no function 'Foo'"));
}

}  // namespace
}  // namespace importkcd
