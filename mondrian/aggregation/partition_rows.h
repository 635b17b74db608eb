#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mondrian/aggregation/aggregate_records.h"
#include "mondrian/aggregation/cube_shape.h"
#include "mondrian/aggregation/level_lattice.h"
#include "mondrian/sql/sql_text.h"

namespace importkcd {

/// The rows of an aggregate table that come from some partitions of its cube, and from no others.
struct PartitionRows {
  /// Positions in the shape.
  std::vector<std::size_t> partitions;
  /// What is true of these rows alone, about columns of the table.
  std::string condition;
};

/// The rows of a table by the partitions that they come from: all of them, each once. Nothing when
/// the table does not tell partitions apart. That they are as their slices say is for the facts to
/// show: each of these has to count as many facts as its partitions have.
std::vector<PartitionRows> partition_rows(const CubeShape& shape, const LevelCombination& levels,
                                          DatabaseKind kind);

/// The query that gives the rows of the table that come from these partitions.
std::string partitions_query(const CubeShape& shape, const LevelCombination& levels,
                             const std::vector<std::size_t>& partitions, DatabaseKind kind);

/// The fingerprint of the facts, taken apart: one part per partition; one for the facts of a cube
/// without any. `facts` is what facts_fingerprint_statement() gave for the shape.
std::vector<std::string> fingerprint_parts(const CubeShape& shape, std::string_view facts);

/// How many facts a part of a fingerprint says there are.
double facts_counted(const std::string& part);

/// The rows whose partitions have changed between two fingerprints of a table. Nothing when other
/// rows may differ too, or all do.
std::vector<PartitionRows> changed_rows(const CubeShape& shape,
                                        const std::vector<PartitionRows>& rows,
                                        const FingerprintTexts& before,
                                        const FingerprintTexts& now);

}  // namespace importkcd
