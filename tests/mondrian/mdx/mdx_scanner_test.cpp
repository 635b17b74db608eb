#include "mondrian/mdx/mdx_scanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::Optional;

TEST(MdxScanner, AreWrittenInBracketsWithClosingOnesDoubled) {
  EXPECT_EQ(mdx_name("Unit [kg]"), "[Unit [kg]]]");
  EXPECT_EQ(mdx_path({"Store", "O'Neill's", "売上"}), "[Store].[O'Neill's].[売上]");
}

TEST(MdxScanner, APathIsTakenOffTheFront) {
  std::string_view text = " [Store] . City.[A]]B] AS x";
  EXPECT_THAT(take_mdx_path(text), Optional(ElementsAre("Store", "City", "A]B")));
  EXPECT_EQ(text, "AS x");
}

TEST(MdxScanner, WhatDoesNotBeginWithANameIsNoPath) {
  for (std::string_view text : {"", "  ", "'x'", ".[x]", "[x].", "[x", "[x].[y]]"}) {
    const std::string shown(text);
    EXPECT_EQ(take_mdx_path(text), std::nullopt) << shown;
  }
}

/// The tokens up to the end: their kinds as letters, and what they mean.
std::vector<std::string> mdx_tokens(std::string_view text) {
  std::vector<std::string> result;
  MdxScanner scanner(text);
  for (auto token = scanner.next(); token.kind != MdxToken::Kind::end; token = scanner.next()) {
    result.push_back(std::string(1, "nsbw.u"[static_cast<std::size_t>(token.kind)]) + token.text);
  }
  return result;
}

TEST(MdxScanner, TellsNumbersTextsNamesWordsAndSymbolsApart) {
  EXPECT_THAT(
      mdx_tokens("IIf([A]]B].x$1 <= .5e-3, \"a\"\"b\", 'it''s')"),
      ElementsAre("wiif", ".(", "bA]B", "..", "wx$1", ".<=", "n", ".,", "s", ".,", "s", ".)"));
}

TEST(MdxScanner, PassesOverBlanksAndComments) {
  EXPECT_THAT(mdx_tokens(" 1 -- it's\n/* [ */ - // (\n\tGröße"), ElementsAre("n", ".-", "wgröße"));
}

TEST(MdxScanner, WhatIsNotClosedIsOnePieceUpToTheEnd) {
  EXPECT_THAT(mdx_tokens("1 + [A]] 'x'"), ElementsAre("n", ".+", "u"));
}

TEST(MdxScanner, SaysWhereAPieceStands) {
  MdxScanner scanner(" [A] . ");
  const auto name = scanner.next();
  EXPECT_EQ(name.begin, 1U);
  EXPECT_EQ(name.end, 4U);
  EXPECT_EQ(scanner.next().begin, 5U);
  EXPECT_EQ(scanner.next().begin, 7U);
}

}  // namespace
}  // namespace importkcd
