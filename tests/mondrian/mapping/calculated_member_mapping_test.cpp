#include "mondrian/mapping/calculated_member_mapping.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

MemberDefinition parsed(const std::string& statement) {
  return parse_calculated_member(statement, "Sales");
}

std::string reason(const std::string& statement) {
  return testing::reason_of([&] { parsed(statement); });
}

std::string xml(const std::string& statement) {
  return xml_text(calculated_member_element(parsed(statement)));
}

TEST(CalculatedMember, AWholeStatementComesApart) {
  const auto member = parsed(
      "CREATE MEMBER CURRENTCUBE.[Measures].[Profit] AS '[Measures].[A]-[Measures].[B]', "
      "FORMAT_STRING = '#,##0.00', solve_order = 5 , VISIBLE = '1'");
  EXPECT_EQ(member.name, "Profit");
  EXPECT_EQ(member.dimension, "Measures");
  EXPECT_EQ(member.parent, "");
  EXPECT_EQ(member.formula, "[Measures].[A]-[Measures].[B]");
  EXPECT_THAT(member.properties, ElementsAre(Pair("FORMAT_STRING", "#,##0.00"),
                                             Pair("SOLVE_ORDER", "5"), Pair("VISIBLE", "1")));
}

TEST(CalculatedMember, TheWordsInFrontMayBeMissing) {
  for (const auto* front :
       {"[Measures].[M]", "[M]", "Measures.M", "MEMBER [Measures].[M]",
        "create member [Measures].[M]", "CREATE SESSION MEMBER [Sales].[Measures].[M]",
        "  CREATE  MEMBER  sales.[Measures].[M]", "Member Measures.[M]"}) {
    const auto member = parsed(std::string(front) + " AS '1'");
    EXPECT_EQ(member.name, "M") << front;
    EXPECT_EQ(member.dimension, "Measures") << front;
    EXPECT_EQ(member.formula, "1") << front;
  }
}

TEST(CalculatedMember, AMemberOfADimensionHasItsParent) {
  const auto member = parsed("[Store].[All Stores].[USA].[West Coast] AS '[Store].[x]'");
  EXPECT_EQ(member.name, "West Coast");
  EXPECT_EQ(member.dimension, "Store");
  EXPECT_EQ(member.parent, "[Store].[All Stores].[USA]");
  EXPECT_EQ(parsed("[Store].[Total] AS '1'").parent, "");
}

TEST(CalculatedMember, ApostrophesOfAFormulaInApostrophesAreUndoubled) {
  EXPECT_EQ(parsed("[M] AS '[Store].[O''Neill''s] '").formula, "[Store].[O'Neill's]");
}

TEST(CalculatedMember, AFormulaWithoutApostrophesEndsAtACommaOutsideOfBrackets) {
  const auto member = parsed("[M] AS Iif([a,b] = 1, 2, {3, 4}) , SOLVE_ORDER = 2");
  EXPECT_EQ(member.formula, "Iif([a,b] = 1, 2, {3, 4})");
  EXPECT_THAT(member.properties, ElementsAre(Pair("SOLVE_ORDER", "2")));
}

TEST(CalculatedMember, PropertiesMayBeQuotedEitherWayOrNotAtAll) {
  EXPECT_THAT(
      parsed("[M] AS '1', A = \"x, y\", B='it''s', NON_EMPTY_BEHAVIOR = {[Measures].[a], [b]}, C=7")
          .properties,
      ElementsAre(Pair("A", "x, y"), Pair("B", "it's"),
                  Pair("NON_EMPTY_BEHAVIOR", "{[Measures].[a], [b]}"), Pair("C", "7")));
}

TEST(CalculatedMember, AStatementThatIsNoneTellsWhy) {
  EXPECT_EQ(reason("[Measures].[M] '1'"), "there is no AS in its statement");
  EXPECT_EQ(reason("'M' AS '1'"), "its name is no member path");
  EXPECT_EQ(reason("[M] [N] AS '1'"), "its name is no member path");
  EXPECT_EQ(reason("[M] AS '1"), "a quote is not closed");
  EXPECT_EQ(reason("[M] AS ''"), "its formula is not complete: ");
  EXPECT_EQ(reason("[M] AS '(1'"), "its formula is not complete: (1");
  EXPECT_EQ(reason("[M] AS '1' SOLVE_ORDER = 1"), "a comma is missing behind its formula");
  EXPECT_EQ(reason("[M] AS '1', VISIBLE"), "a property behind its formula has no value");
}

TEST(CalculatedMember, OfTheMeasuresBecomesAnElementWithItsProperties) {
  EXPECT_EQ(xml("CREATE MEMBER CURRENTCUBE.[Measures].[R] AS 'a < \"b\"', FORMAT_STRING = "
                "'\"0.0 %\"', SOLVE_ORDER = 3, VISIBLE = '0', FORE_COLOR = 255"),
            "<CalculatedMember name=\"R\" dimension=\"Measures\" formatString=\"0.0 %\" "
            "visible=\"false\">\n"
            "  <Formula>a &lt; &quot;b&quot;</Formula>\n"
            "  <CalculatedMemberProperty name=\"SOLVE_ORDER\" value=\"3\"/>\n"
            "</CalculatedMember>\n");
}

TEST(CalculatedMember, OfADimensionBecomesAnElementUnderItsParent) {
  EXPECT_EQ(xml("[Unit [kg]]].[All].[Sum] AS '1'"),
            "<CalculatedMember name=\"Sum\" hierarchy=\"[Unit [kg]]]\" parent=\"[Unit "
            "[kg]]].[All]\">\n"
            "  <Formula>1</Formula>\n"
            "</CalculatedMember>\n");
}

TEST(CalculatedMember, AFormatMayBeAnExpression) {
  EXPECT_EQ(xml("[M] AS '1', FORMAT_STRING = 'Iif([Measures].[x] > 1, \"0\", \"0.0\")'"),
            "<CalculatedMember name=\"M\" dimension=\"Measures\">\n"
            "  <Formula>1</Formula>\n"
            "  <CalculatedMemberProperty name=\"FORMAT_STRING\" expression=\"Iif([Measures].[x] "
            "&gt; 1, &quot;0&quot;, &quot;0.0&quot;)\"/>\n"
            "</CalculatedMember>\n");
}

class CalculatedMembers : public testing::MappingTest {
 protected:
  /// The names of the published members.
  std::vector<std::string> published(
      const std::vector<std::pair<std::string, std::string>>& members) {
    auto& cube = add_sales();
    for (const auto& [name, statement] : members) {
      cube.calculated_members.add({name, statement});
    }
    std::vector<std::string> names;
    for (const auto& element : map(cube).calculated_members) {
      names.push_back(element.attributes.at(0).second);
    }
    return names;
  }
};

TEST_F(CalculatedMembers, ArePublishedInTheirOrder) {
  EXPECT_THAT(published({{"B", "[Measures].[B] AS '[Measures].[Amount] * 2'"},
                         {"A", "[Store].[A] AS '[Measures].[B]'"}}),
              ElementsAre("B", "A"));
  EXPECT_THAT(remarks, IsEmpty());
}

TEST_F(CalculatedMembers, OneThatCannotBeReadIsLeftOutAndToldOf) {
  EXPECT_THAT(published({{"Bad", "[Measures].[Bad] AS '(1'"}, {"Good", "[Good] AS '1'"}}),
              ElementsAre("Good"));
  EXPECT_THAT(remarks, ElementsAre("Cube 'Sales' is published without its calculated member 'Bad': "
                                   "its formula is not complete: (1"));
}

TEST_F(CalculatedMembers, OneThatRefersToWhatIsNotThereIsLeftOutWithThoseThatReferToIt) {
  EXPECT_THAT(published({{"A", "[A] AS '[Measures].[B] + 1'"},
                         {"B", "[B] AS '[Measures].[Missing]'"},
                         {"C", "[Customer].[C] AS '1'"},
                         {"D", "[D] AS '[Measures].[aMOUNT]'"}}),
              ElementsAre("D"));
  EXPECT_THAT(remarks,
              ElementsAre("Cube 'Sales' is published without its calculated member 'B': there is "
                          "no measure 'Missing' in the cube",
                          "Cube 'Sales' is published without its calculated member 'A': there is "
                          "no measure 'B' in the cube",
                          "Cube 'Sales' is published without its calculated member 'C': the cube "
                          "has no dimension 'Customer'"));
}

TEST_F(CalculatedMembers, AreLeftOutInTheOrderOfALookFromTheTopAfterEach) {
  EXPECT_THAT(published({{"A", "[A] AS '[Measures].[C] + [Measures].[B]'"},
                         {"B", "[B] AS '[Measures].[Missing]'"},
                         {"C", "[C] AS '[Measures].[B] + [Measures].[C]'"},
                         {"D", "[D] AS '[Measures].[D] + [Measures].[Amount]'"},
                         {"E", "[E] AS '[Measures].[Missing] + [Measures].[A]'"}}),
              ElementsAre("D"));
  const std::string front = "Cube 'Sales' is published without its calculated member ";
  EXPECT_THAT(remarks, ElementsAre(front + "'B': there is no measure 'Missing' in the cube",
                                   front + "'A': there is no measure 'B' in the cube",
                                   front + "'C': there is no measure 'B' in the cube",
                                   front + "'E': there is no measure 'Missing' in the cube"));
}

TEST_F(CalculatedMembers, OneWithTheNameOfAMeasureIsLeftOut) {
  EXPECT_THAT(published({{"amount", "[Measures].[AMOUNT] AS '1'"}}), IsEmpty());
  EXPECT_THAT(remarks,
              ElementsAre("Cube 'Sales' is published without its calculated member 'amount': a "
                          "measure of the name 'AMOUNT' is there already"));
}

}  // namespace
}  // namespace importkcd
