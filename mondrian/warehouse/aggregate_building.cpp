#include "mondrian/warehouse/aggregate_building.h"

#include <algorithm>
#include <ctime>

#include "base/import_error.h"
#include "base/numbers.h"
#include "mondrian/aggregation/aggregate_table.h"
#include "mondrian/aggregation/partition_rows.h"

namespace importkcd {
namespace {

std::string utc_now() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  std::string text(32, '\0');
  text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts));
  return text;
}

/// Asks whether a table, which may have its new name, answers as the facts do. Keeps the number of
/// its rows, and the reason when it does not.
void judge(Warehouse& warehouse, const AggregateDefinition& today, const std::string& table,
           AggregateRecord& record, AggregateOutcome& outcome) {
  const auto found =
      warehouse.row(completeness_statement(today.shape, today.levels, warehouse.kind(), table), 3);
  record.rows = found[2];
  outcome.rows = exact_number<double>(found[2]).value_or(0);
  double facts = 0;
  for (const auto& part : fingerprint_parts(today.shape, record.fingerprint.facts)) {
    facts += facts_counted(part);
  }
  if (exact_number<double>(found[0]) != facts) {
    outcome.failure =
        "it would not count each fact once: a dimension's table has a key twice, or facts came "
        "while it was built";
  } else if (exact_number<double>(found[1]) != 0.0) {
    outcome.failure =
        "there are facts without a member, which it would count otherwise than the cube";
  }
}

/// Whether the rows that should come from some partitions count as many facts as these have.
bool come_from_their_partitions(Warehouse& warehouse, const AggregateDefinition& today,
                                const AggregateRecord& record,
                                const std::vector<PartitionRows>& rows) {
  std::vector<std::string> conditions;
  conditions.reserve(rows.size());
  for (const auto& one : rows) {
    conditions.push_back(one.condition);
  }
  const auto counts = warehouse.row(counts_statement(warehouse.kind(), record.table, conditions),
                                    conditions.size());
  const auto facts = fingerprint_parts(today.shape, record.fingerprint.facts);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    double expected = 0;
    for (const auto position : rows[i].partitions) {
      expected += facts_counted(facts[position]);
    }
    if (exact_number<double>(counts[i]) != expected) {
      return false;
    }
  }
  return true;
}

/// Deletes rows and inserts what their partitions have now.
std::vector<std::string> replacing_statements(DatabaseKind kind, const AggregateDefinition& today,
                                              const std::string& table,
                                              const std::vector<PartitionRows>& rows) {
  const auto name = quoted_name(kind, table);
  std::vector<std::string> statements;
  statements.reserve(2 * rows.size());
  for (const auto& one : rows) {
    statements.push_back("delete from " + name + " where " + one.condition);
  }
  for (const auto& one : rows) {
    statements.push_back("insert into " + name + "\n" +
                         partitions_query(today.shape, today.levels, one.partitions, kind));
  }
  return statements;
}

bool same_queries(const FingerprintTexts& recorded, const FingerprintTexts& today) {
  return same_recorded_text(recorded.facts, today.facts) &&
         same_recorded_text(recorded.dimensions, today.dimensions);
}

}  // namespace

FingerprintTexts fingerprint_now(Warehouse& warehouse, const FingerprintTexts& queries) {
  const auto answer = [&](const std::string& query) {
    return query.empty() ? std::string() : warehouse.fingerprint(query);
  };
  return {answer(queries.facts), answer(queries.dimensions)};
}

AggregateOutcome build_table(Warehouse& warehouse, const AggregateDefinition& today,
                             AggregateRecord& record, std::vector<std::string>& remarks) {
  const auto kind = warehouse.kind();
  record.query = aggregate_query(today.shape, today.levels, kind);
  record.fingerprint_queries = fingerprint_statements(today.shape, today.levels, kind);
  // What changes from now on makes the table stale; so does what changed since the same query was
  // asked for another table.
  record.fingerprint = fingerprint_now(warehouse, record.fingerprint_queries);
  AggregateOutcome outcome{record.cube, record.table, {}};
  const auto new_name = new_name_of(record.table);
  const auto is_complete = [&] {
    judge(warehouse, today, new_name, record, outcome);
    return outcome.failure.empty();
  };
  const WarehouseTable table{record.table, record.query,
                             index_statements(today.shape, today.levels, kind, new_name)};
  record.built = warehouse.replace(table, is_complete, remarks) ? utc_now() : "";
  return outcome;
}

std::optional<AggregateOutcome> refresh_rows(Warehouse& warehouse, const AggregateDefinition& today,
                                             const FingerprintTexts& fingerprint,
                                             AggregateRecord& record) {
  const auto kind = warehouse.kind();
  if (fingerprint.facts.empty() || !record.is_finished() ||
      !same_queries(record.fingerprint_queries,
                    fingerprint_statements(today.shape, today.levels, kind))) {
    return std::nullopt;
  }
  const auto rows = partition_rows(today.shape, today.levels, kind);
  const auto changed = changed_rows(today.shape, rows, record.fingerprint, fingerprint);
  if (changed.empty()) {
    return std::nullopt;
  }
  auto refreshed = record;
  refreshed.fingerprint = fingerprint;
  AggregateOutcome outcome{record.cube, record.table, {}};
  const auto is_right = [&] {
    judge(warehouse, today, record.table, refreshed, outcome);
    return outcome.failure.empty() && come_from_their_partitions(warehouse, today, refreshed, rows);
  };
  try {
    if (!warehouse.change_rows(
            record.table, replacing_statements(kind, today, record.table, changed), is_right)) {
      return std::nullopt;
    }
  } catch (const ImportError&) {
    // If it is more than a matter of these rows, building the table tells it.
    return std::nullopt;
  }
  refreshed.built = utc_now();
  record = std::move(refreshed);
  outcome.partitions = today.shape.partitions.size();
  for (const auto& one : changed) {
    outcome.partitions_read += one.partitions.size();
  }
  return outcome;
}

}  // namespace importkcd
