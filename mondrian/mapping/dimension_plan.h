#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "model/definitions.h"
#include "mondrian/mapping/cube_source.h"

namespace importkcd {

/// A level that a cube uses, with its expressions taken apart. The definitions outlive the plan.
struct LevelPlan {
  /// The cube's copy.
  const OlapLevel* level = nullptr;
  SqlText key;
  /// Empty when members are shown by their key.
  SqlText name;
  std::vector<SqlText> properties;
  /// How messages call it.
  std::string description;
};

/// How a dimension comes to the figures of one cube.
struct DimensionPlan {
  const OlapDimension* dimension = nullptr;
  /// The "all" level; null when the cube has none.
  const OlapLevel* all = nullptr;
  /// From the top down, without the "all" level and the disabled ones.
  std::vector<LevelPlan> levels;
  /// All levels are there and are as the dimension itself defines them.
  bool is_unchanged = true;

  enum class Place {
    /// All values are in the fact table: a degenerate dimension.
    fact_table,
    /// The values come along with the facts, from a view over several tables.
    fact_view,
    /// The dimension has tables of its own, which one column ties to the fact table.
    own_tables,
  };
  Place place = Place::own_tables;

  /// Only with own tables: what its columns are taken from, unless the clauses are no graph.
  std::optional<JoinGraph> graph;
  /// The column of the fact table, and the one of the dimension's tables that it equals.
  SourceColumn foreign_key;
  SourceColumn primary_key;
};

/// Finds out how a dimension of a cube is to be read. `dimension` is the database's definition,
/// `levels` the cube's copy of the levels. Throws NotExpressible with the reason, level or clause
/// named, when the dimension cannot be tied to the facts.
DimensionPlan plan_dimension(const OlapDimension& dimension,
                             const NamedCollection<OlapLevel>& levels, const CubeSource& source);

/// The table that names without a table belong to in a dimension's expressions; empty when there
/// are several.
std::string default_table(const JoinGraph& graph);

}  // namespace importkcd
