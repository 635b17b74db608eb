#pragma once

#include <optional>
#include <string>
#include <vector>

#include "mondrian/aggregation/declared_aggregates.h"
#include "mondrian/warehouse/aggregate_work.h"
#include "mondrian/warehouse/warehouse.h"

namespace importkcd {

/// What the queries about all that a table is made of give now. Throws ImportError when a table or
/// column of these is not there.
FingerprintTexts fingerprint_now(Warehouse& warehouse, const FingerprintTexts& queries);

/// Builds the table of a record as a whole and brings the record up to date: it is not finished
/// when the table would not answer as the facts do; why, is in the outcome. Throws ImportError when
/// the warehouse refuses; then the table is as it was.
AggregateOutcome build_table(Warehouse& warehouse, const AggregateDefinition& today,
                             AggregateRecord& record, std::vector<std::string>& remarks);

/// Replaces the rows of a finished table whose partitions have changed, and brings the record up to
/// date. `fingerprint` is what the queries of the record give now; empty when that is not known.
/// Nothing, with table and record as they were, when only building it as a whole is sure to be
/// right.
std::optional<AggregateOutcome> refresh_rows(Warehouse& warehouse, const AggregateDefinition& today,
                                             const FingerprintTexts& fingerprint,
                                             AggregateRecord& record);

}  // namespace importkcd
