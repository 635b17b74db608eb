#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace importkcd {

// Which combinations of levels are worth a table: the greedy selection of Harinarayan, Rajaraman
// and Ullman ("Implementing Data Cubes Efficiently", 1996). Each question is answered by the
// smallest table that holds its levels, or by the facts; what it costs is the rows of that table.

/// For each dimension how many of its levels are told apart: 0 is all together, 1 the top level.
using LevelCombination = std::vector<std::size_t>;

/// A dimension as the selection sees it.
struct LatticeDimension {
  /// The members of each level, from the top down; at least 1 each.
  std::vector<double> sizes;
  /// How many of its levels each question tells apart at least.
  std::size_t fewest = 0;
};

/// How often combinations of levels are asked for.
struct LatticeQuestion {
  LevelCombination levels;
  double weight = 1;
};

struct Lattice {
  /// Rows of the facts.
  double rows = 0;
  std::vector<LatticeDimension> dimensions;
  /// Empty: each combination that tells few dimensions apart is as likely as any other.
  std::vector<LatticeQuestion> questions;
};

struct LatticeLimits {
  /// All chosen tables together have at most so many rows.
  double budget_rows = 0;
  /// A table larger than this share of the facts is not worth its place.
  double largest_share = 0.5;
  /// Tables per cube.
  std::size_t most_tables = 12;
  /// Tables that could be made. A larger lattice is cut off: combinations that tell fewer
  /// dimensions apart come first.
  std::size_t most_combinations = 16384;
  /// How many dimensions a question tells further apart than it must, where questions are not
  /// known.
  std::size_t most_apart = 3;
  /// A table that saves less of the average question, as a share of the facts, is not worth it.
  double least_saving = 0.001;
};

/// One table of the selection.
struct ChosenTable {
  LevelCombination levels;
  double rows = 0;
  /// What the average question reads less with it than with those before it, in rows.
  double saved_rows = 0;
};

/// How many of `cells` different cells are expected to have one of `rows` rows, when each row falls
/// into any of them alike (Cardenas, 1975).
double expected_rows(double cells, double rows);

/// The rows that a table with these levels is expected to have.
double expected_rows(const Lattice& lattice, const LevelCombination& levels);

/// Whether a table with the levels of `table` can answer a question for those of `question`.
bool answers(const LevelCombination& table, const LevelCombination& question);

/// The combinations of a lattice that tell at most `most_apart` dimensions further apart than each
/// question does, those with few of them first; no more than `most`.
std::vector<LevelCombination> combinations(const Lattice& lattice, std::size_t most,
                                           std::size_t most_apart);

/// What the average question reads with these tables, in rows; without questions nothing.
double average_cost(const Lattice& lattice, const std::vector<LatticeQuestion>& questions,
                    const std::vector<LevelCombination>& tables);

/// The tables to make, in the order of their choice. Among those that still fit the budget, each is
/// the one that saves most, or saves most per row of its own: whichever of these two selections
/// saves more in the end.
std::vector<ChosenTable> choose_tables(const Lattice& lattice, const LatticeLimits& limits);

}  // namespace importkcd
