#pragma once

#include <filesystem>
#include <functional>

#include "mondrian/aggregation/aggregate_records.h"

namespace importkcd {

/// The records of a directory's aggregates. Without a file there are none. Throws ImportError when
/// the file cannot be read.
AggregateRecords read_aggregates(const std::filesystem::path& directory);

/// Changes the records on the disk and nothing that is published; waits for a publication that goes
/// on. Throws ImportError when they cannot be read or written.
void record_aggregates(const std::filesystem::path& directory,
                       const std::function<void(AggregateRecords&)>& change);

}  // namespace importkcd
