#pragma once

#include <cstddef>
#include <string>

#include "base/xml_element.h"
#include "model/definitions.h"
#include "mondrian/mapping/fact_source.h"

namespace importkcd {

/// What a measure aggregates. A count without a column, or of "*", counts rows. Throws
/// NotExpressible when there is nothing to aggregate or the column's table is not in the cube's
/// clauses.
SqlText measure_expression(const OlapMeasure& measure, const CubeSource& source);

/// Whether the expression makes a view out of the fact table: it names other tables, or columns
/// that might be another table's.
bool needs_fact_view(const SqlText& measure_expression, const CubeSource& source);

/// `number` counts the cube's measures, from 1.
XmlElement measure_element(const OlapMeasure& measure, const SqlText& expression,
                           std::size_t number, FactSource& facts);

}  // namespace importkcd
