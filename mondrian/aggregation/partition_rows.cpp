#include "mondrian/aggregation/partition_rows.h"

#include <algorithm>
#include <utility>

#include "base/numbers.h"
#include "mondrian/aggregation/aggregate_table.h"

namespace importkcd {
namespace {

using SlicedColumn = std::pair<std::string, std::string>;

const PublishedSlice* slice_of(const PublishedPartition& partition, const SlicedColumn& column) {
  const auto found = std::find_if(
      partition.slices.begin(), partition.slices.end(), [&](const PublishedSlice& slice) {
        return slice.table == column.first && slice.column == column.second;
      });
  return found == partition.slices.end() ? nullptr : &*found;
}

/// The slices of the first partition that the table tells apart and that all other partitions
/// have too, with other values or the same.
std::vector<PublishedSlice> common_slices(const CubeShape& shape, const LevelCombination& levels) {
  std::vector<PublishedSlice> result;
  for (const auto& slice : shape.partitions.front().slices) {
    const bool all_have_it = std::all_of(
        shape.partitions.begin(), shape.partitions.end(), [&](const PublishedPartition& partition) {
          return slice_of(partition, {slice.table, slice.column}) != nullptr;
        });
    if (all_have_it && !slice_column(shape, levels, slice).empty()) {
      result.push_back(slice);
    }
  }
  return result;
}

std::string condition_of(const CubeShape& shape, const LevelCombination& levels,
                         const PublishedPartition& partition,
                         const std::vector<PublishedSlice>& common, DatabaseKind kind) {
  std::string result;
  for (const auto& one : common) {
    const auto& slice = *slice_of(partition, {one.table, one.column});
    // The value stands as it does in the partition's own query.
    result.append(result.empty() ? "" : " and ")
        .append(quoted_name(kind, slice_column(shape, levels, slice)))
        .append(" = ")
        .append(slice.is_number ? slice.value : sql_string(slice.value));
  }
  return result;
}

}  // namespace

std::vector<PartitionRows> partition_rows(const CubeShape& shape, const LevelCombination& levels,
                                          DatabaseKind kind) {
  if (shape.partitions.empty()) {
    return {};
  }
  const auto common = common_slices(shape, levels);
  std::vector<PartitionRows> result;
  for (std::size_t i = 0; i < shape.partitions.size(); ++i) {
    auto condition = condition_of(shape, levels, shape.partitions[i], common, kind);
    const auto known = std::find_if(result.begin(), result.end(), [&](const PartitionRows& rows) {
      return rows.condition == condition;
    });
    if (known != result.end()) {
      known->partitions.push_back(i);
    } else {
      result.push_back({{i}, std::move(condition)});
    }
  }
  return result.size() > 1 ? result : std::vector<PartitionRows>();
}

std::string partitions_query(const CubeShape& shape, const LevelCombination& levels,
                             const std::vector<std::size_t>& partitions, DatabaseKind kind) {
  auto part = shape;
  part.facts = {shape.facts.alias, {}, {}, {}};
  for (const auto position : partitions) {
    part.facts.sql.append(part.facts.sql.empty() ? "" : "\nunion all\n")
        .append(shape.partitions.at(position).query);
  }
  return aggregate_query(part, levels, kind);
}

std::vector<std::string> fingerprint_parts(const CubeShape& shape, std::string_view facts) {
  std::vector<std::string> result;
  const auto count = std::max<std::size_t>(shape.partitions.size(), 1);
  while (result.size() < count) {
    const auto end = std::min(facts.find(' '), facts.size());
    result.emplace_back(facts.substr(0, end));
    facts.remove_prefix(std::min(end + 1, facts.size()));
  }
  return result;
}

double facts_counted(const std::string& part) {
  return exact_number<double>(part.substr(0, part.find(':'))).value_or(-1);
}

std::vector<PartitionRows> changed_rows(const CubeShape& shape,
                                        const std::vector<PartitionRows>& rows,
                                        const FingerprintTexts& before,
                                        const FingerprintTexts& now) {
  if (before.dimensions != now.dimensions) {
    return {};
  }
  const auto old_parts = fingerprint_parts(shape, before.facts);
  const auto new_parts = fingerprint_parts(shape, now.facts);
  std::vector<PartitionRows> result;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(result), [&](const auto& one) {
    return std::any_of(one.partitions.begin(), one.partitions.end(), [&](std::size_t position) {
      return old_parts[position] != new_parts[position];
    });
  });
  return result.size() < rows.size() ? result : std::vector<PartitionRows>();
}

}  // namespace importkcd
