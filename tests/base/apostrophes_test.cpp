#include "base/apostrophes.h"

#include <gtest/gtest.h>

#include <string>

namespace importkcd {
namespace {

TEST(Apostrophes, EveryPlaceholderBecomesAnApostrophe) {
  EXPECT_EQ(DecodeApostrophes("@#$%Rock @#$%n@#$% Roll@#$%"), "'Rock 'n' Roll'");
  EXPECT_EQ(DecodeApostrophes("@#$%@#$%"), "''");
}

TEST(Apostrophes, AStatementGetsTwoApostrophesForEveryPlaceholder) {
  EXPECT_EQ(DecodeApostrophesForStatement("O@#$%Neil@#$%s"), "O''Neil''s");
}

TEST(Apostrophes, EveryApostropheBecomesAPlaceholder) {
  EXPECT_EQ(EncodeApostrophes("'a''b'"), "@#$%a@#$%@#$%b@#$%");
}

TEST(Apostrophes, IncompletePlaceholdersStay) {
  EXPECT_EQ(DecodeApostrophes("@#$ @# %$#@ @@#$%% @#$"), "@#$ @# %$#@ @'% @#$");
}

TEST(Apostrophes, TextsWithoutApostrophesStay) {
  for (const std::string text : {"", "Sales", "\xC3\xA9t\xC3\xA9 2020"}) {
    EXPECT_EQ(DecodeApostrophes(text), text);
    EXPECT_EQ(DecodeApostrophesForStatement(text), text);
    EXPECT_EQ(EncodeApostrophes(text), text);
  }
}

TEST(Apostrophes, DecodingUndoesEncoding) {
  const std::string text = "'it''s @# $% '@'";
  EXPECT_EQ(DecodeApostrophes(EncodeApostrophes(text)), text);
}

TEST(Apostrophes, ADecodedTextIsNotDecodedAgain) {
  EXPECT_EQ(DecodeApostrophes("@#@#$%$%"), "@#'$%");
}

}  // namespace
}  // namespace importkcd
