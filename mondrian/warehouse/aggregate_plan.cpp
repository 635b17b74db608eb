#include "mondrian/warehouse/aggregate_plan.h"

#include <algorithm>

#include "base/numbers.h"
#include "mondrian/aggregation/aggregate_table.h"
#include "mondrian/aggregation/cube_shape.h"
#include "mondrian/aggregation/declared_aggregates.h"

namespace importkcd {
namespace {

constexpr double percent = 100;

double counted_number(Warehouse& warehouse, const std::string& query) {
  return exact_number<double>(warehouse.row(query, 1).front()).value_or(0);
}

/// The lattice of a cube by its document. Levels of which nothing is known count as large as the
/// facts.
Lattice expected_lattice(const CubeShape& shape, double rows) {
  Lattice lattice;
  lattice.rows = rows;
  for (const auto& dimension : shape.dimensions) {
    LatticeDimension sizes;
    sizes.fewest = dimension.has_all ? 0 : 1;
    for (const auto& level : dimension.levels) {
      sizes.sizes.push_back(level.size > 0 ? level.size : std::max(rows, 1.0));
    }
    lattice.dimensions.push_back(std::move(sizes));
  }
  return lattice;
}

Lattice counted_lattice(const CubeShape& shape, Warehouse& warehouse) {
  const auto kind = warehouse.kind();
  auto lattice =
      expected_lattice(shape, counted_number(warehouse, count_facts_statement(shape, kind)));
  for (std::size_t i = 0; i < shape.dimensions.size(); ++i) {
    for (std::size_t j = 0; j < shape.dimensions[i].levels.size(); ++j) {
      lattice.dimensions[i].sizes[j] =
          std::max(counted_number(warehouse, count_members_statement(shape, i, j, kind)), 1.0);
    }
  }
  return lattice;
}

PlannedTable planned_table(const CubeShape& shape, const ChosenTable& chosen, double rows) {
  PlannedTable table{chosen.levels, {}, chosen.rows, chosen.saved_rows / rows};
  for (std::size_t i = 0; i < chosen.levels.size(); ++i) {
    if (chosen.levels[i] > 0) {
      const auto& dimension = shape.dimensions[i];
      table.names.emplace_back(dimension.name, dimension.levels[chosen.levels[i] - 1].name);
    }
  }
  return table;
}

}  // namespace

std::optional<AggregateBudget> parse_budget(const std::string& text) {
  AggregateBudget budget;
  budget.is_share = text.ends_with('%');
  const auto number = exact_number<double>(text.substr(0, text.size() - (budget.is_share ? 1 : 0)));
  if (!number || !(*number > 0)) {
    return std::nullopt;
  }
  budget.amount = *number;
  return budget;
}

PlannedCube plan_cube(const ScopeCube& cube, const PlanWishes& wishes, Warehouse* counted_in) {
  PlannedCube plan{cube, {}, 0, {}};
  if (cube.mode == OlapMode::rolap && !cube.is_named) {
    plan.reason = "its storage mode asks for no aggregations; name the cube to make some";
    return plan;
  }
  if (!can_be_aggregated_in(cube.connection.kind)) {
    plan.reason = "its data warehouse is none of PostgreSQL, MariaDB and SQL Server";
    return plan;
  }
  const auto shape = cube_shape(*cube.schema, element_of(cube), plan.reason);
  if (!shape) {
    return plan;
  }
  auto lattice = counted_in == nullptr ? expected_lattice(*shape, cube.estimated_rows)
                                       : counted_lattice(*shape, *counted_in);
  plan.rows = lattice.rows;
  if (lattice.rows <= 0) {
    plan.reason = counted_in == nullptr
                      ? "its document does not say how many facts to expect; --count counts them"
                      : "it has no facts";
    return plan;
  }
  lattice.questions = lattice_questions(*shape, cube.database, wishes.asked);
  const auto& budget = wishes.budget;
  LatticeLimits limits;
  limits.budget_rows = budget.is_share ? budget.amount / percent * lattice.rows : budget.amount;
  for (const auto& chosen : choose_tables(lattice, limits)) {
    plan.tables.push_back(planned_table(*shape, chosen, lattice.rows));
  }
  if (plan.tables.empty()) {
    plan.reason = "no table within the budget would save anything";
  }
  return plan;
}

std::string aggregates_script(const std::vector<PlannedCube>& plans) {
  std::string script;
  const auto add = [&script](const std::vector<std::string>& statements) {
    for (const auto& statement : statements) {
      script += statement + ";\n\n";
    }
  };
  for (const auto& plan : plans) {
    const auto& cube = plan.cube;
    const auto kind = cube.connection.kind;
    const auto& facts = *facts_of(element_of(cube));
    const FactsViewRecord view{cube.database, cube.cube, facts_view_name(cube), sql_of(facts)};
    if (!plan.tables.empty() && facts.name == "View") {
      add(view_statements(kind, view.view, view.query));
    }
    for (std::size_t i = 0; i < plan.tables.size(); ++i) {
      const auto shape = shape_to_build_on(*cube.schema, element_of(cube), &view);
      const auto& levels = plan.tables[i].levels;
      const auto table = cube.prefix + std::to_string(i + 1);
      add({create_table_statement(kind, table, aggregate_query(*shape, levels, kind))});
      add(index_statements(*shape, levels, kind, table));
    }
  }
  return script;
}

}  // namespace importkcd
