#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "mondrian/warehouse/aggregate_plan.h"
#include "mondrian/warehouse/aggregate_scope.h"

namespace importkcd {

// What `kcd aggregate` does to warehouses and to the records of a directory. Two of these at a time
// in one directory are refused. The order is always the same: what the engine is told to read is
// there before, and what is dropped is not read any more.

/// How one table, or a view that stands for facts, is.
struct AggregateStatus {
  enum class State {
    /// Holds what a question to the facts would find.
    fresh,
    /// The warehouse has changed since it was built.
    stale,
    /// It is recorded, but not in the warehouse.
    missing,
    /// The cube has changed since it was built; the engine does not read it.
    changed,
    /// Whoever built it did not get to the end.
    not_finished,
    /// Its name begins like those of the cube, but no record has it.
    not_ours,
  };
  std::string database;
  std::string cube;
  std::string table;
  State state = State::fresh;
  std::string built;
  std::vector<std::pair<std::string, std::string>> levels;
};

/// The outcome for one table.
struct AggregateOutcome {
  std::string cube;
  std::string table;
  /// Why it was not built; empty when it was.
  std::string failure;
  double rows = 0;
  /// How many partitions were read for it, of how many, when the rows of the others were kept; 0
  /// when it was built as a whole.
  std::size_t partitions_read = 0;
  std::size_t partitions = 0;
};

/// What a run did, and what a person should know.
struct AggregateReport {
  std::vector<AggregateOutcome> built;
  std::vector<std::string> dropped;
  std::vector<std::string> remarks;
};

/// Plans all cubes of a scope.
std::vector<PlannedCube> plan_aggregates(const AggregateScope& scope, const PlanWishes& wishes,
                                         const std::string& login);

/// Makes the tables of the plans those of their cubes: builds them, anew where they are there,
/// tells the engine, and drops the cubes' other ones. Throws ImportError when a warehouse cannot be
/// reached or refuses to build; what was built before that is told to the engine all the same.
AggregateReport build_aggregates(const AggregateScope& scope, const std::vector<PlannedCube>& plans,
                                 const std::string& login);

/// Builds those tables of a scope anew that are not fresh. Where only some partitions of the facts
/// have changed, and a table tells them apart, it replaces only the rows that come from them.
AggregateReport refresh_aggregates(const AggregateScope& scope, const std::string& login);

/// Drops all tables of a scope.
AggregateReport drop_aggregates(const AggregateScope& scope, const std::string& login);

std::vector<AggregateStatus> aggregates_status(const AggregateScope& scope,
                                               const std::string& login);

}  // namespace importkcd
