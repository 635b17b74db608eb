#include "mondrian/aggregation/level_lattice.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace importkcd {
namespace {

/// Adds the combinations in which exactly `apart` dimensions from `position` on tell more levels
/// apart than they must.
void add_combinations(const Lattice& lattice, std::size_t position, std::size_t apart,
                      std::size_t most, LevelCombination& levels,
                      std::vector<LevelCombination>& result) {
  if (result.size() >= most) {
    return;
  }
  if (position == lattice.dimensions.size()) {
    if (apart == 0) {
      result.push_back(levels);
    }
    return;
  }
  const auto& dimension = lattice.dimensions[position];
  levels[position] = dimension.fewest;
  if (lattice.dimensions.size() - position > apart) {
    add_combinations(lattice, position + 1, apart, most, levels, result);
  }
  if (apart == 0) {
    return;
  }
  for (std::size_t depth = dimension.fewest + 1; depth <= dimension.sizes.size(); ++depth) {
    levels[position] = depth;
    add_combinations(lattice, position + 1, apart - 1, most, levels, result);
  }
  levels[position] = dimension.fewest;
}

/// A table that could be made, and what questions would have of it.
struct Candidate {
  LevelCombination levels;
  double rows = 0;
};

/// What the questions read less with the candidate.
double saving(const Candidate& candidate, const std::vector<LatticeQuestion>& questions,
              const std::vector<double>& costs) {
  double saved = 0;
  for (std::size_t i = 0; i < questions.size(); ++i) {
    if (candidate.rows < costs[i] && answers(candidate.levels, questions[i].levels)) {
      saved += questions[i].weight * (costs[i] - candidate.rows);
    }
  }
  return saved;
}

double weight_of(const std::vector<LatticeQuestion>& questions) {
  double sum = 0;
  for (const auto& question : questions) {
    sum += question.weight;
  }
  return sum;
}

/// What makes one candidate better than another.
enum class Measure { saving, saving_per_row };

/// One greedy selection, and what the tables leave to read.
class Selection {
 public:
  Selection(const Lattice& lattice, const std::vector<LatticeQuestion>& questions,
            const std::vector<Candidate>& candidates)
      : questions_(questions),
        candidates_(candidates),
        rows_(lattice.rows),
        weight_(weight_of(questions)),
        costs_(questions.size(), lattice.rows) {}

  std::vector<ChosenTable> choose(const LatticeLimits& limits, Measure measure) {
    double left = limits.budget_rows;
    std::vector<ChosenTable> chosen;
    while (chosen.size() < limits.most_tables) {
      const auto [best, saved] = best_within(left, measure);
      if (best == nullptr || saved < limits.least_saving * rows_ * weight_) {
        break;
      }
      take(*best);
      left -= best->rows;
      chosen.push_back({best->levels, best->rows, saved / weight_});
    }
    return chosen;
  }

 private:
  std::pair<const Candidate*, double> best_within(double rows, Measure measure) const {
    const Candidate* best = nullptr;
    double best_saved = 0;
    double best_rate = 0;
    for (const auto& candidate : candidates_) {
      if (candidate.rows > rows) {
        continue;
      }
      const auto saved = saving(candidate, questions_, costs_);
      const auto rate = measure == Measure::saving ? saved : saved / candidate.rows;
      if (rate > best_rate || (rate == best_rate && saved > best_saved)) {
        best = &candidate;
        best_saved = saved;
        best_rate = rate;
      }
    }
    return {best, best_saved};
  }

  void take(const Candidate& table) {
    for (std::size_t i = 0; i < questions_.size(); ++i) {
      if (answers(table.levels, questions_[i].levels)) {
        costs_[i] = std::min(costs_[i], table.rows);
      }
    }
  }

  const std::vector<LatticeQuestion>& questions_;
  const std::vector<Candidate>& candidates_;
  double rows_;
  double weight_;
  /// What each question reads with the tables taken so far.
  std::vector<double> costs_;
};

double saved_by(const std::vector<ChosenTable>& tables) {
  double sum = 0;
  for (const auto& table : tables) {
    sum += table.saved_rows;
  }
  return sum;
}

}  // namespace

double expected_rows(double cells, double rows) {
  if (cells <= 1) {
    return rows > 0 ? 1 : 0;
  }
  // 1 - (1 - 1/cells)^rows, exact for large numbers of cells too.
  return cells * -std::expm1(rows * std::log1p(-1 / cells));
}

double expected_rows(const Lattice& lattice, const LevelCombination& levels) {
  double cells = 1;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    if (levels[i] > 0) {
      cells *= std::max(lattice.dimensions[i].sizes[levels[i] - 1], 1.0);
    }
  }
  return expected_rows(cells, lattice.rows);
}

bool answers(const LevelCombination& table, const LevelCombination& question) {
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i] < question[i]) {
      return false;
    }
  }
  return true;
}

std::vector<LevelCombination> combinations(const Lattice& lattice, std::size_t most,
                                           std::size_t most_apart) {
  std::vector<LevelCombination> result;
  LevelCombination levels(lattice.dimensions.size());
  const auto last = std::min(most_apart, lattice.dimensions.size());
  for (std::size_t apart = 0; apart <= last && result.size() < most; ++apart) {
    add_combinations(lattice, 0, apart, most, levels, result);
  }
  return result;
}

double average_cost(const Lattice& lattice, const std::vector<LatticeQuestion>& questions,
                    const std::vector<LevelCombination>& tables) {
  double sum = 0;
  for (const auto& question : questions) {
    double cost = lattice.rows;
    for (const auto& table : tables) {
      if (answers(table, question.levels)) {
        cost = std::min(cost, expected_rows(lattice, table));
      }
    }
    sum += question.weight * cost;
  }
  const auto weight = weight_of(questions);
  return weight > 0 ? sum / weight : 0;
}

std::vector<ChosenTable> choose_tables(const Lattice& lattice, const LatticeLimits& limits) {
  const auto all = combinations(lattice, limits.most_combinations, lattice.dimensions.size());
  auto questions = lattice.questions;
  if (questions.empty()) {
    for (auto& levels : combinations(lattice, limits.most_combinations, limits.most_apart)) {
      questions.push_back({std::move(levels), 1});
    }
  }
  std::vector<Candidate> candidates;
  const auto consider = [&](const LevelCombination& levels) {
    const auto rows = expected_rows(lattice, levels);
    if (rows > 0 && rows <= limits.largest_share * lattice.rows) {
      candidates.push_back({levels, rows});
    }
  };
  std::for_each(all.begin(), all.end(), consider);
  // What is asked for may be beyond the cut.
  for (const auto& question : lattice.questions) {
    consider(question.levels);
  }
  // Under a budget either way alone can be far from the best; the better one of both is not.
  auto by_saving = Selection(lattice, questions, candidates).choose(limits, Measure::saving);
  auto by_rate = Selection(lattice, questions, candidates).choose(limits, Measure::saving_per_row);
  // Its small tables have to earn the trouble of more tables.
  constexpr double worth_more_tables = 1.01;
  return saved_by(by_rate) > worth_more_tables * saved_by(by_saving) ? by_rate : by_saving;
}

}  // namespace importkcd
