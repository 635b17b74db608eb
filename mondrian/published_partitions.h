#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

// What a schema tells, to those who know of it, about the partitions that a cube's view puts
// together.

/// A column of the schema that has the same value for all facts of a partition.
struct PublishedSlice {
  /// As the engine's SQL calls it.
  std::string table;
  std::string column;
  std::string value;
  /// Whether the value is a number there, and otherwise a text.
  bool is_number = false;
};

/// The rows of one partition.
struct PublishedPartition {
  std::string name;
  std::string query;
  /// Those of the partition's slices that are surely true of a column of the schema. A slice by an
  /// expression, or over other tables than the engine joins, is none of them.
  std::vector<PublishedSlice> slices;
};

/// The name of the cube's annotation that holds them.
constexpr std::string_view partitions_annotation = "importkcd.partitions";

/// Partitions as a compact JSON text: an array of objects with "name", "query" and "slices", and in
/// these "table", "column", "value" and "number". Empty when there is nothing to tell: for a single
/// partition, or when none has a slice.
std::string partitions_text(const std::vector<PublishedPartition>& partitions);

/// What partitions_text() has written. Throws ImportError for any other text.
std::vector<PublishedPartition> partitions_of_text(std::string_view text);

}  // namespace importkcd
