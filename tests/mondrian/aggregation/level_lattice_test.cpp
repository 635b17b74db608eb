#include "mondrian/aggregation/level_lattice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

LatticeLimits limits_of(double budget) {
  LatticeLimits limits;
  limits.budget_rows = budget;
  return limits;
}

TEST(LevelLattice, ExpectsAsManyRowsAsCellsThatGetOne) {
  EXPECT_DOUBLE_EQ(expected_rows(1, 500), 1);
  EXPECT_DOUBLE_EQ(expected_rows(1, 0), 0);
  // Two rows into two cells: both in one as often as not.
  EXPECT_DOUBLE_EQ(expected_rows(2, 2), 1.5);
  EXPECT_NEAR(expected_rows(100, 1e6), 100, 1e-9);
  EXPECT_NEAR(expected_rows(1e18, 1e6), 1e6, 1);
}

TEST(LevelLattice, MultipliesTheMembersOfTheLevelsThatAreToldApart) {
  const Lattice lattice{1e9, {{{3, 12}, 0}, {{10}, 0}}, {}};
  EXPECT_NEAR(expected_rows(lattice, {2, 1}), 120, 1e-6);
  EXPECT_NEAR(expected_rows(lattice, {1, 0}), 3, 1e-6);
  EXPECT_NEAR(expected_rows(lattice, {0, 0}), 1, 1e-6);
}

TEST(LevelLattice, ATableAnswersForItsLevelsAndThoseAbove) {
  EXPECT_TRUE(answers({2, 1}, {2, 1}));
  EXPECT_TRUE(answers({2, 1}, {1, 0}));
  EXPECT_FALSE(answers({2, 1}, {1, 2}));
  EXPECT_FALSE(answers({2, 1}, {3, 0}));
}

TEST(LevelLattice, CombinationsBeginWithThoseThatTellFewDimensionsApart) {
  const Lattice lattice{100, {{{2, 4}, 0}, {{3}, 0}}, {}};
  EXPECT_THAT(combinations(lattice, 100, 2),
              ElementsAre(LevelCombination{0, 0}, LevelCombination{0, 1}, LevelCombination{1, 0},
                          LevelCombination{2, 0}, LevelCombination{1, 1}, LevelCombination{2, 1}));
  EXPECT_THAT(combinations(lattice, 100, 1), SizeIs(4));
  EXPECT_THAT(combinations(lattice, 3, 2), SizeIs(3));
}

TEST(LevelLattice, ADimensionWithoutAnAllLevelIsAlwaysToldApart) {
  const Lattice lattice{100, {{{2, 4}, 1}}, {}};
  EXPECT_THAT(combinations(lattice, 100, 1), ElementsAre(LevelCombination{1}, LevelCombination{2}));
}

TEST(LevelLattice, ChoosesTheTableThatSavesMost) {
  const Lattice lattice{1e6, {{{10, 1000}, 0}, {{500000}, 0}}, {}};
  const auto chosen = choose_tables(lattice, limits_of(200000));
  ASSERT_FALSE(chosen.empty());
  EXPECT_EQ(chosen.front().levels, (LevelCombination{2, 0}));
  EXPECT_NEAR(chosen.front().rows, 1000, 1);
  // Three of the six questions read 1000 rows and no longer a million.
  EXPECT_NEAR(chosen.front().saved_rows, 0.5 * (1e6 - 1000), 10);
}

TEST(LevelLattice, StaysWithinTheBudget) {
  const Lattice lattice{1e6, {{{10, 1000}, 0}, {{20, 300}, 0}, {{7}, 0}}, {}};
  for (const double budget : {5.0, 500.0, 50000.0, 300000.0}) {
    double rows = 0;
    for (const auto& table : choose_tables(lattice, limits_of(budget))) {
      rows += table.rows;
    }
    EXPECT_LE(rows, budget);
  }
  EXPECT_THAT(choose_tables(lattice, limits_of(0.5)), SizeIs(0));
}

TEST(LevelLattice, MakesNoTableThatIsNearlyAsLargeAsTheFacts) {
  // Of 1000 facts, 900 members are expected to have 604 rows, and 500 members 433.
  const auto chosen_for = [](double members) {
    return choose_tables(Lattice{1000, {{{members}, 0}}, {{{1}, 1}}}, limits_of(1000));
  };
  EXPECT_THAT(chosen_for(900), SizeIs(0));
  EXPECT_THAT(chosen_for(500), SizeIs(1));
}

TEST(LevelLattice, MakesNoTableThatSavesNextToNothing) {
  auto limits = limits_of(1000);
  limits.largest_share = 1;
  EXPECT_THAT(choose_tables(Lattice{1000, {{{900000}, 0}}, {{{1}, 1}}}, limits), SizeIs(0));
}

TEST(LevelLattice, PrefersWhatIsAskedFor) {
  Lattice lattice{1e6, {{{100}, 0}, {{100}, 0}}, {}};
  lattice.questions = {{{0, 1}, 9}, {{1, 0}, 1}};
  auto limits = limits_of(150);
  limits.most_tables = 1;
  const auto chosen = choose_tables(lattice, limits);
  ASSERT_THAT(chosen, SizeIs(1));
  EXPECT_EQ(chosen.front().levels, (LevelCombination{0, 1}));
  EXPECT_NEAR(chosen.front().saved_rows, 0.9 * (1e6 - 100), 10);
}

TEST(LevelLattice, ConsidersWhatIsAskedForBeyondTheCut) {
  Lattice lattice{1e9, {{{10}, 0}, {{10}, 0}, {{10}, 0}, {{10}, 0}}, {{{1, 1, 1, 1}, 1}}};
  auto limits = limits_of(1e6);
  limits.most_combinations = 2;
  const auto chosen = choose_tables(lattice, limits);
  ASSERT_THAT(chosen, SizeIs(1));
  EXPECT_EQ(chosen.front().levels, (LevelCombination{1, 1, 1, 1}));
}

/// The least that the average question can read with tables within the budget, over all sets of
/// tables.
double best_cost(const Lattice& lattice, const std::vector<LatticeQuestion>& questions,
                 double budget) {
  std::vector<LevelCombination> possible;
  for (const auto& levels : combinations(lattice, 100, lattice.dimensions.size())) {
    if (expected_rows(lattice, levels) <= lattice.rows / 2) {
      possible.push_back(levels);
    }
  }
  double best = lattice.rows;
  for (std::size_t set = 0; set < (std::size_t{1} << possible.size()); ++set) {
    std::vector<LevelCombination> tables;
    double rows = 0;
    for (std::size_t i = 0; i < possible.size(); ++i) {
      if ((set >> i & 1U) != 0) {
        tables.push_back(possible[i]);
        rows += expected_rows(lattice, possible[i]);
      }
    }
    if (rows <= budget) {
      best = std::min(best, average_cost(lattice, questions, tables));
    }
  }
  return best;
}

TEST(LevelLattice, SavesNearlyWhatTheBestOfAllSelectionsSaves) {
  std::mt19937 random(20261122);
  std::uniform_real_distribution<double> growth(2, 40);
  for (int run = 0; run < 60; ++run) {
    Lattice lattice;
    lattice.rows = 1e5;
    for (int i = 0; i < 2; ++i) {
      LatticeDimension dimension;
      double size = 1;
      for (int level = 0; level < 2; ++level) {
        size *= growth(random);
        dimension.sizes.push_back(size);
      }
      lattice.dimensions.push_back(dimension);
    }
    std::vector<LatticeQuestion> questions;
    for (auto& levels : combinations(lattice, 100, 2)) {
      questions.push_back({levels, 1});
    }
    const auto limits = limits_of(lattice.rows / 5);
    std::vector<LevelCombination> tables;
    double saved = 0;
    for (const auto& table : choose_tables(lattice, limits)) {
      tables.push_back(table.levels);
      saved += table.saved_rows;
    }
    const auto cost = average_cost(lattice, questions, tables);
    EXPECT_NEAR(lattice.rows - cost, saved, 1e-6 * lattice.rows);
    // What the theory promises: (1 - 1/e) / 2 of the best possible. In fact it is far better.
    EXPECT_GE(saved, 0.9 * (lattice.rows - best_cost(lattice, questions, limits.budget_rows)));
  }
}

}  // namespace
}  // namespace importkcd
