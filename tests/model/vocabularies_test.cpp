#include "model/vocabularies.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace importkcd {
namespace {

struct WordCode {
  std::string word;
  std::int32_t code;
};

template <class Vocabulary>
void expect_codes(Vocabulary vocabulary, const std::vector<WordCode>& expected) {
  for (const auto& [word, code] : expected) {
    EXPECT_EQ(static_cast<std::int32_t>(vocabulary(word)), code) << "'" << word << "'";
  }
}

TEST(Vocabularies, DimensionTypes) {
  expect_codes(dimension_type, {{"regular", 0}, {"time", 1}, {"quantitative", 5}});
}

TEST(Vocabularies, LevelTypes) {
  expect_codes(level_type, {{"regular", 0},
                            {"all", 1},
                            {"time_years", 20},
                            {"time_half_years", 36},
                            {"time_quarters", 68},
                            {"time_months", 132},
                            {"time_weeks", 260},
                            {"time_days", 516},
                            {"time_hours", 772},
                            {"time_minutes", 1028},
                            {"time_seconds", 2052}});
}

TEST(Vocabularies, Orderings) { expect_codes(level_ordering, {{"name", 0}, {"key", 1}}); }

TEST(Vocabularies, OlapModes) {
  expect_codes(olap_mode, {{"olapmodeAggsMolapIndex", 0},
                           {"olapmodeAggsRolap", 3},
                           {"olapmodeMolapIndex", 0},
                           {"olapmodeHybridIndex", 1},
                           {"olapmodeRolap", 15}});
}

TEST(Vocabularies, AggregateFunctions) {
  expect_codes(aggregate_function, {{"sum", 0}, {"count", 1}, {"min", 2}, {"max", 3}});
}

TEST(Vocabularies, AKnownAggregateFunctionHasItsWord) {
  for (const std::string word : {"sum", "count", "min", "max"}) {
    EXPECT_EQ(aggregate_function_word(aggregate_function(word)), word);
  }
  EXPECT_EQ(aggregate_function_word(static_cast<OlapAggregateFunction>(9)), std::nullopt);
}

TEST(Vocabularies, LetterCaseDoesNotMatter) {
  expect_codes(dimension_type, {{"Quantitative", 5}, {"TIME", 1}});
  expect_codes(level_type, {{"TIME_DAYS", 516}, {"All", 1}});
  expect_codes(level_ordering, {{"Key", 1}});
  expect_codes(aggregate_function, {{"SUM", 0}, {"Count", 1}, {"MAX", 3}});
}

TEST(Vocabularies, LetterCaseOfAnOlapModeMatters) {
  expect_codes(olap_mode, {{"OlapModeRolap", 0},
                           {"olapmoderolap", 0},
                           {"OLAPMODEAGGSROLAP", 0},
                           {"olapmodehybridindex", 0}});
}

TEST(Vocabularies, UnknownWordGivesTheFirstCode) {
  const std::vector<WordCode> unknown = {
      {"other", 0}, {"", 0}, {" time", 0}, {"key ", 0}, {"1", 0}};
  expect_codes(dimension_type, unknown);
  expect_codes(level_type, unknown);
  expect_codes(level_ordering, unknown);
  expect_codes(olap_mode, unknown);
  expect_codes(aggregate_function, unknown);
}

TEST(Vocabularies, AbsentWordGivesTheFirstCode) {
  EXPECT_EQ(dimension_type(std::nullopt), OlapDimensionType::regular);
  EXPECT_EQ(level_type(std::nullopt), OlapLevelType::regular);
  EXPECT_EQ(level_ordering(std::nullopt), OlapOrdering::name);
  EXPECT_EQ(olap_mode(std::nullopt), OlapMode::molap);
  EXPECT_EQ(aggregate_function(std::nullopt), OlapAggregateFunction::sum);
}

TEST(Booleans, OnlyTrueIsTrue) {
  EXPECT_TRUE(boolean("true"));
  EXPECT_TRUE(boolean("True"));
  EXPECT_TRUE(boolean("TRUE"));
  for (const std::string word : {"false", "FALSE", "yes", "1", "-1", "", " true", "true "}) {
    EXPECT_FALSE(boolean(word)) << "'" << word << "'";
  }
  EXPECT_FALSE(boolean(std::nullopt));
}

TEST(Booleans, DefaultIsForEverythingButTrueAndFalse) {
  for (const bool default_value : {true, false}) {
    EXPECT_TRUE(boolean("true", default_value));
    EXPECT_TRUE(boolean("TRUE", default_value));
    EXPECT_FALSE(boolean("false", default_value));
    EXPECT_FALSE(boolean("False", default_value));
    EXPECT_EQ(boolean("yes", default_value), default_value);
    EXPECT_EQ(boolean("0", default_value), default_value);
    EXPECT_EQ(boolean("", default_value), default_value);
    EXPECT_EQ(boolean(std::nullopt, default_value), default_value);
  }
}

}  // namespace
}  // namespace importkcd
