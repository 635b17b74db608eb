#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace importkcd {

// What was built in data warehouses for the cubes of a directory: the file "aggregates.xml" there.

/// About what a table is made of: the queries that compare it with the warehouse, or what they
/// gave.
struct FingerprintTexts {
  /// About all facts of its cube.
  std::string facts;
  /// About the tables of dimensions that it takes; empty when it takes none.
  std::string dimensions;

  bool operator==(const FingerprintTexts&) const = default;
};

/// An aggregate table.
struct AggregateRecord {
  std::string database;
  std::string cube;
  std::string table;
  /// Dimensions and their lowest levels that the table tells apart.
  std::vector<std::pair<std::string, std::string>> levels;
  /// The query whose rows it holds.
  std::string query;
  /// When it was built, in UTC: "2026-11-21 06:30:00". Empty while it was not finished.
  std::string built;
  /// The queries about what it was made of, and what they gave when it was built. The records of
  /// older versions have no query about the facts: such a table counts as stale.
  FingerprintTexts fingerprint_queries;
  FingerprintTexts fingerprint;
  /// How many rows it had when it was built.
  std::string rows;

  bool is_finished() const { return !built.empty(); }
};

/// A view of the warehouse that stands for the facts of a cube that takes them from a query.
struct FactsViewRecord {
  std::string database;
  std::string cube;
  std::string view;
  /// The cube's query. Empty while the view was not finished.
  std::string query;
};

struct AggregateRecords {
  std::vector<AggregateRecord> tables;
  std::vector<FactsViewRecord> views;

  /// The view of a cube; null when there is none. Names are compared without regard to letter case.
  const FactsViewRecord* view_of(std::string_view database, std::string_view cube) const;
  /// Whether a table or view of the warehouse is recorded, letter case aside.
  bool names(std::string_view table) const;
};

/// The records as a file. Throws ImportError when a text cannot stand in XML.
std::string aggregates_text(const AggregateRecords& records);

/// Reads such a file. Throws ImportError, `file` named, when it is none.
AggregateRecords parse_aggregates(std::string_view text, const std::string& file);

}  // namespace importkcd
