#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/mapping/dimension_plan.h"
#include "mondrian/mapping/level_mapping.h"
#include "mondrian/mapping/relation_aliases.h"

namespace importkcd {

/// What a dimension with tables of its own is read from.
struct DimensionRelation {
  /// A table, tables joined in a chain that begins at the key's table, or an SQL view.
  XmlElement element;
  std::string primary_key;
  /// Only where there are several tables.
  std::string primary_key_table;
  /// In the order of the plan's levels.
  std::vector<LevelValues> levels;
};

/// A view is taken when a value is more than a column, when a level's values come from several
/// tables, when the tables are no chain of single equalities, and when the clauses are no graph.
/// Throws NotExpressible for a clause that no view could hold.
DimensionRelation dimension_relation(const DimensionPlan& plan, DatabaseKind kind,
                                     RelationAliases& aliases);

/// How the columns of the level at a position, counted from 0, begin in a view.
std::string level_column_prefix(std::size_t position);

}  // namespace importkcd
