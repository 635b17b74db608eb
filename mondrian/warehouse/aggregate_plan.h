#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "mondrian/aggregation/level_lattice.h"
#include "mondrian/warehouse/aggregate_scope.h"
#include "mondrian/warehouse/asked_questions.h"
#include "mondrian/warehouse/warehouse.h"

namespace importkcd {

/// How many rows all tables of a cube may have together.
struct AggregateBudget {
  double amount = 20;
  /// Of the facts, in percent; otherwise rows.
  bool is_share = true;
};

/// "20%", or a number of rows. Nothing for anything else.
std::optional<AggregateBudget> parse_budget(const std::string& text);

/// What a plan is made by.
struct PlanWishes {
  AggregateBudget budget;
  /// With sizes counted in the warehouse, not with those of the document.
  bool counts = false;
  /// Questions that were asked. A cube that none is about is planned as if there were none.
  std::vector<AskedQuestion> asked;
};

struct PlannedTable {
  LevelCombination levels;
  /// The dimensions that it tells apart, and down to which level.
  std::vector<std::pair<std::string, std::string>> names;
  double rows = 0;
  /// What the average question reads less with it than with those before it, as a share of the
  /// facts.
  double saved_share = 0;
};

/// The tables that a cube should have.
struct PlannedCube {
  ScopeCube cube;
  /// Why there are none; empty otherwise.
  std::string reason;
  double rows = 0;
  std::vector<PlannedTable> tables;
};

/// Plans the tables of a cube. `counted_in` is its warehouse where sizes are counted, otherwise
/// null. Throws ImportError when they cannot be counted.
PlannedCube plan_cube(const ScopeCube& cube, const PlanWishes& wishes, Warehouse* counted_in);

/// The statements that make the tables of the plans where none are.
std::string aggregates_script(const std::vector<PlannedCube>& plans);

}  // namespace importkcd
