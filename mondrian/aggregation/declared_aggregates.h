#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/aggregation/aggregate_records.h"
#include "mondrian/aggregation/cube_shape.h"
#include "mondrian/aggregation/level_lattice.h"
#include "mondrian/sql/sql_text.h"

namespace importkcd {

/// What a recorded table would be made of today.
struct AggregateDefinition {
  CubeShape shape;
  LevelCombination levels;
};

/// Whether a text that is recorded in a file is this one; line ends come back from there as line
/// feeds.
bool same_recorded_text(const std::string& recorded, const std::string& text);

/// The shape of a cube as its tables are built: a cube that takes its facts from a query is built
/// over the view that stands for them. Nothing when it has none of today's query, or the cube has
/// no shape.
std::optional<CubeShape> shape_to_build_on(const XmlElement& schema, const XmlElement& cube,
                                           const FactsViewRecord* view);

/// The definition of a recorded table by the schema of today. Nothing when the cube, a level of the
/// table or the view of its facts is not there any more.
std::optional<AggregateDefinition> definition_today(const XmlElement& schema,
                                                    const AggregateRecords& records,
                                                    const AggregateRecord& record);

/// Whether a finished table holds what the schema of today would have in it.
bool is_as_defined(const XmlElement& schema, const AggregateRecords& records,
                   const AggregateRecord& record, DatabaseKind kind);

/// Declares the tables of a database in one of its schemas, so that the engine reads them: those
/// that are finished and hold what the schema would have in them. About each other one that is
/// finished a sentence is added to `remarks`.
void declare_aggregates(XmlElement& schema, const std::string& database, DatabaseKind kind,
                        const AggregateRecords& records, std::vector<std::string>& remarks);

}  // namespace importkcd
