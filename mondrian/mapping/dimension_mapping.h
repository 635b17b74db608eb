#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/mapping/dimension_plan.h"
#include "mondrian/mapping/fact_source.h"
#include "mondrian/mapping/schema_relations.h"

namespace importkcd {

/// A dimension of a cube as the schema has it.
struct MappedDimension {
  /// The dimension with its one hierarchy; without a foreign key.
  XmlElement element;
  /// The column of the facts that ties it; empty for one whose values are with the facts.
  std::string foreign_key;
  /// Whether the definition is that of the database and could serve other cubes too.
  bool may_be_shared = false;
  /// How the schema calls its relations; none for one whose values are with the facts.
  std::vector<std::string> relations;
  /// In the order of the plan's levels.
  std::vector<LevelValues> levels;
};

/// Whether the dimension's values make a view out of the fact table.
bool dimension_needs_fact_view(const DimensionPlan& plan, const CubeSource& source);

/// `aliases` are those of the schema. `number` counts the cube's dimensions, from 1. Throws
/// NotExpressible when the dimension's clause cannot be expressed.
MappedDimension map_dimension(const DimensionPlan& plan, std::size_t number,
                              const CubeSource& source, FactSource& facts,
                              RelationAliases& aliases);

}  // namespace importkcd
