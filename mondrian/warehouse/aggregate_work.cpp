#include "mondrian/warehouse/aggregate_work.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <list>
#include <memory>
#include <set>
#include <utility>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "mondrian/aggregation/aggregate_table.h"
#include "mondrian/aggregation/declared_aggregates.h"
#include "mondrian/publication/aggregates_file.h"
#include "mondrian/publication/files_beside.h"
#include "mondrian/publication/mondrian_server.h"
#include "mondrian/publication/publication.h"
#include "mondrian/warehouse/aggregate_building.h"
#include "mondrian/warehouse/warehouse.h"

namespace importkcd {
namespace {

using LevelNames = std::vector<std::pair<std::string, std::string>>;

/// A table that is to be made.
struct WantedTable {
  LevelNames levels;
  /// Where a finished table is stale: what the queries of its record give now.
  FingerprintTexts fingerprint;
};

/// The warehouses of a scope, each connected once, when it is first needed.
class OpenWarehouses {
 public:
  explicit OpenWarehouses(std::string login) : login_(std::move(login)) {}

  Warehouse& of(const JdbcConnection& connection) {
    for (auto& [known, warehouse] : open_) {
      if (known == connection) {
        return warehouse;
      }
    }
    return open_
        .emplace_back(std::piecewise_construct, std::forward_as_tuple(connection),
                      std::forward_as_tuple(connection, login_))
        .second;
  }

 private:
  std::string login_;
  std::list<std::pair<JdbcConnection, Warehouse>> open_;
};

bool is_in(const AggregateScope& scope, const std::string& database, const std::string& cube) {
  return (scope.database.empty() || same_name(scope.database, database)) &&
         (scope.cube.empty() || same_name(scope.cube, cube));
}

const ScopeCube* find_cube(const std::vector<ScopeCube>& cubes, const std::string& database,
                           const std::string& name) {
  for (const auto& cube : cubes) {
    if (same_name(cube.database, database) && same_name(cube.cube, name)) {
      return &cube;
    }
  }
  return nullptr;
}

/// Keeps other runs that change warehouses out of a directory.
std::unique_ptr<const WaitingLock> lock_of(const AggregateScope& scope) {
  auto lock = std::make_unique<const WaitingLock>(
      std::filesystem::path(scope.directory) / (std::string(published::aggregates) + "-lock"),
      WaitingLock::Wait::no);
  if (!lock->is_held()) {
    throw ImportError("another 'kcd aggregate' works in this directory", error_source::olap_server,
                      FailureCause::held);
  }
  return lock;
}

/// One run, over the records of a directory and its warehouses.
class AggregateRun {
 public:
  /// `lock` is nothing for a run that changes nothing.
  AggregateRun(AggregateScope scope, const std::string& login,
               std::unique_ptr<const WaitingLock> lock)
      : scope_(std::move(scope)),
        lock_(std::move(lock)),
        warehouses_(login),
        records_(read_aggregates(scope_.directory)) {}

  void build(const PlannedCube& plan) {
    const auto& cube = plan.cube;
    std::vector<WantedTable> wanted;
    for (const auto& table : plan.tables) {
      wanted.push_back({table.names, {}});
    }
    make(cube, wanted);
    std::vector<AggregateRecord> others;
    for (const auto& record : records_.tables) {
      if (is_of(record, cube) &&
          std::none_of(wanted.begin(), wanted.end(),
                       [&](const WantedTable& table) { return table.levels == record.levels; })) {
        others.push_back(record);
      }
    }
    remove(cube.database, others, {}, &cube.connection);
  }

  void refresh(const ScopeCube& cube) {
    std::vector<WantedTable> wanted;
    for (const auto& record : records_.tables) {
      FingerprintTexts fingerprint;
      if (is_of(record, cube) &&
          state_of(cube, record, fingerprint) != AggregateStatus::State::fresh) {
        wanted.push_back({record.levels, fingerprint});
      }
    }
    make(cube, wanted);
  }

  void drop(const std::vector<ScopeCube>& cubes) {
    std::set<std::string> databases;
    for (const auto& record : records_.tables) {
      databases.insert(record.database);
    }
    for (const auto& view : records_.views) {
      databases.insert(view.database);
    }
    for (const auto& database : databases) {
      drop_in(database, cubes);
    }
  }

  /// `fingerprint` becomes what the record's queries give now, where it comes to that.
  AggregateStatus::State state_of(const ScopeCube& cube, const AggregateRecord& record,
                                  FingerprintTexts& fingerprint) {
    using State = AggregateStatus::State;
    auto& warehouse = warehouses_.of(cube.connection);
    if (!record.is_finished()) {
      return State::not_finished;
    }
    if (!warehouse.has(record.table)) {
      return State::missing;
    }
    if (!is_as_defined(*cube.schema, records_, record, warehouse.kind())) {
      return State::changed;
    }
    if (record.fingerprint_queries.facts.empty()) {
      return State::stale;
    }
    try {
      fingerprint = fingerprint_now(warehouse, record.fingerprint_queries);
      return fingerprint == record.fingerprint ? State::fresh : State::stale;
    } catch (const ImportError&) {
      // A table or column that it was made of is not there any more.
      return State::stale;
    }
  }

  void add_status(const std::vector<ScopeCube>& cubes, std::vector<AggregateStatus>& result) {
    for (const auto& record : records_.tables) {
      if (!is_in(scope_, record.database, record.cube)) {
        continue;
      }
      const auto* cube = find_cube(cubes, record.database, record.cube);
      FingerprintTexts ignored;
      result.push_back(
          {record.database, record.cube, record.table,
           cube == nullptr ? AggregateStatus::State::changed : state_of(*cube, record, ignored),
           record.built, record.levels});
    }
    for (const auto& cube : cubes) {
      add_foreign_tables(cube, result);
    }
  }

  AggregateReport take_report() { return std::move(report_); }

 private:
  static bool is_of(const AggregateRecord& record, const ScopeCube& cube) {
    return same_name(record.database, cube.database) && same_name(record.cube, cube.cube);
  }

  /// Changes the records, on the disk too.
  void record(const std::function<void(AggregateRecords&)>& change) {
    record_aggregates(scope_.directory, change);
    change(records_);
  }

  void publish(const std::string& database, const std::function<void(AggregateRecords&)>& change) {
    // What is left out of a publication was told by the import.
    publish_aggregates(scope_.directory, database, change);
    change(records_);
  }

  /// Builds the tables of a cube that tell these levels apart and tells the engine of them.
  void make(const ScopeCube& cube, const std::vector<WantedTable>& wanted) {
    if (wanted.empty()) {
      return;
    }
    make_facts_view(cube);
    std::vector<AggregateRecord> made;
    const auto tell = [&] {
      publish(cube.database, [&](AggregateRecords& records) {
        for (const auto& record : made) {
          replace_record(records, record);
        }
      });
    };
    try {
      for (const auto& table : wanted) {
        made.push_back(make_table(cube, table));
        if (!report_.built.back().failure.empty()) {
          // Maybe facts came: then the other tables are to be compared with what there is now.
          warehouses_.of(cube.connection).forget_fingerprints();
        }
      }
    } catch (const std::exception&) {
      tell();
      throw;
    }
    // Another cube's tables are to be compared with what there is before the first of them is
    // built.
    warehouses_.of(cube.connection).forget_fingerprints();
    tell();
  }

  static void replace_record(AggregateRecords& records, const AggregateRecord& record) {
    for (auto& known : records.tables) {
      if (same_name(known.table, record.table) && same_name(known.database, record.database)) {
        known = record;
      }
    }
  }

  void refuse_foreign(Warehouse& warehouse, const std::string& table) {
    if (warehouse.has(table)) {
      throw ImportError("the data warehouse has a table '" + table +
                            "' that 'kcd aggregate' has not made; rename it, or give the cube "
                            "another aggregation_prefix",
                        error_source::warehouse);
    }
  }

  /// The view that stands for the facts of a cube that takes them from a query.
  void make_facts_view(const ScopeCube& cube) {
    const auto& facts = *facts_of(element_of(cube));
    if (facts.name != "View") {
      return;
    }
    auto& warehouse = warehouses_.of(cube.connection);
    const auto* known = records_.view_of(cube.database, cube.cube);
    if (known == nullptr) {
      const FactsViewRecord view{cube.database, cube.cube, facts_view_name(cube), {}};
      refuse_foreign(warehouse, view.view);
      record([&](AggregateRecords& records) { records.views.push_back(view); });
      known = records_.view_of(cube.database, cube.cube);
    }
    if (shape_to_build_on(*cube.schema, element_of(cube), known) &&
        warehouse.has_view_of(known->view, sql_of(facts))) {
      return;
    }
    const auto query = sql_of(facts);
    warehouse.replace_view(known->view, query);
    warehouse.forget_fingerprints();
    record([&](AggregateRecords& records) {
      for (auto& view : records.views) {
        if (same_name(view.database, cube.database) && same_name(view.cube, cube.cube)) {
          view.query = query;
        }
      }
    });
  }

  /// The record of the table with these levels; one that is not there yet is reserved.
  AggregateRecord reserved(const ScopeCube& cube, const LevelNames& levels) {
    for (const auto& record : records_.tables) {
      if (is_of(record, cube) && record.levels == levels) {
        return record;
      }
    }
    AggregateRecord made{cube.database, cube.cube, {}, levels, {}, {}, {}, {}, {}};
    for (int number = 1; made.table.empty() || records_.names(made.table); ++number) {
      made.table = cube.prefix + std::to_string(number);
    }
    auto& warehouse = warehouses_.of(cube.connection);
    refuse_foreign(warehouse, made.table);
    refuse_foreign(warehouse, new_name_of(made.table));
    record([&](AggregateRecords& records) { records.tables.push_back(made); });
    return made;
  }

  /// Gives the record as it is to be published: not finished when the table would not answer as the
  /// facts do.
  AggregateRecord make_table(const ScopeCube& cube, const WantedTable& wanted) {
    auto& warehouse = warehouses_.of(cube.connection);
    auto record = reserved(cube, wanted.levels);
    const auto today = definition_today(*cube.schema, records_, record);
    if (!today) {
      report_.built.push_back(
          {cube.cube, record.table, "the cube does not have its levels any more", 0});
      record.built.clear();
      return record;
    }
    auto outcome = refresh_rows(warehouse, *today, wanted.fingerprint, record);
    report_.built.push_back(outcome ? std::move(*outcome)
                                    : build_table(warehouse, *today, record, report_.remarks));
    return record;
  }

  /// Lets the engine forget tables and views, drops them, and then their records.
  void remove(const std::string& database, const std::vector<AggregateRecord>& tables,
              const std::vector<FactsViewRecord>& views, const JdbcConnection* connection) {
    if (tables.empty() && views.empty()) {
      return;
    }
    if (connection == nullptr) {
      report_.remarks.push_back("The tables of database '" + database +
                                "' stay: it has no cube any more that says where they are");
      return;
    }
    publish(database, [&](AggregateRecords& records) {
      for (auto record : tables) {
        record.built.clear();
        replace_record(records, record);
      }
      for (auto& view : records.views) {
        for (const auto& gone : views) {
          if (view.view == gone.view && view.database == gone.database) {
            view.query.clear();
          }
        }
      }
    });
    auto& warehouse = warehouses_.of(*connection);
    for (const auto& table : tables) {
      warehouse.drop(table.table, false);
      report_.dropped.push_back(table.table);
    }
    for (const auto& view : views) {
      warehouse.drop(view.view, true);
      report_.dropped.push_back(view.view);
    }
    record([&](AggregateRecords& records) {
      std::erase_if(records.tables, [&](const AggregateRecord& known) {
        return known.database == database &&
               std::any_of(tables.begin(), tables.end(),
                           [&](const auto& gone) { return gone.table == known.table; });
      });
      std::erase_if(records.views, [&](const FactsViewRecord& known) {
        return known.database == database &&
               std::any_of(views.begin(), views.end(),
                           [&](const auto& gone) { return gone.view == known.view; });
      });
    });
  }

  /// Tables of a cube that is not there any more are where the others of its database are.
  static const JdbcConnection* connection_for(const std::vector<ScopeCube>& cubes,
                                              const std::string& database,
                                              const std::string& name) {
    if (const auto* cube = find_cube(cubes, database, name)) {
      return &cube->connection;
    }
    for (const auto& cube : cubes) {
      if (same_name(cube.database, database)) {
        return &cube.connection;
      }
    }
    return nullptr;
  }

  void drop_in(const std::string& database, const std::vector<ScopeCube>& cubes) {
    std::set<std::string> names;
    for (const auto& table : records_.tables) {
      names.insert(table.cube);
    }
    for (const auto& view : records_.views) {
      names.insert(view.cube);
    }
    for (const auto& name : names) {
      if (!is_in(scope_, database, name)) {
        continue;
      }
      const auto is_here = [&](const auto& record) {
        return record.database == database && record.cube == name;
      };
      std::vector<AggregateRecord> tables;
      std::copy_if(records_.tables.begin(), records_.tables.end(), std::back_inserter(tables),
                   is_here);
      std::vector<FactsViewRecord> views;
      std::copy_if(records_.views.begin(), records_.views.end(), std::back_inserter(views),
                   is_here);
      remove(database, tables, views, connection_for(cubes, database, name));
    }
  }

  void add_foreign_tables(const ScopeCube& cube, std::vector<AggregateStatus>& result) {
    if (!can_be_aggregated_in(cube.connection.kind)) {
      return;
    }
    const auto begin = lower_cased(cube.prefix);
    for (const auto& table : warehouses_.of(cube.connection).tables()) {
      const bool is_known = records_.names(table) ||
                            std::any_of(result.begin(), result.end(),
                                        [&](const auto& status) { return status.table == table; });
      if (!is_known && lower_cased(table).starts_with(begin)) {
        result.push_back(
            {cube.database, cube.cube, table, AggregateStatus::State::not_ours, {}, {}});
      }
    }
  }

  AggregateScope scope_;
  std::unique_ptr<const WaitingLock> lock_;
  OpenWarehouses warehouses_;
  AggregateRecords records_;
  AggregateReport report_;
};

}  // namespace

std::vector<PlannedCube> plan_aggregates(const AggregateScope& scope, const PlanWishes& wishes,
                                         const std::string& login) {
  OpenWarehouses warehouses(login);
  std::vector<PlannedCube> plans;
  for (const auto& cube : cubes_in_scope(scope)) {
    const bool is_counted = wishes.counts && can_be_aggregated_in(cube.connection.kind) &&
                            (cube.mode != OlapMode::rolap || cube.is_named);
    plans.push_back(
        plan_cube(cube, wishes, is_counted ? &warehouses.of(cube.connection) : nullptr));
  }
  return plans;
}

AggregateReport build_aggregates(const AggregateScope& scope, const std::vector<PlannedCube>& plans,
                                 const std::string& login) {
  AggregateRun run(scope, login, lock_of(scope));
  for (const auto& plan : plans) {
    if (!plan.tables.empty()) {
      run.build(plan);
    }
  }
  return run.take_report();
}

AggregateReport refresh_aggregates(const AggregateScope& scope, const std::string& login) {
  const auto cubes = cubes_in_scope(scope);
  AggregateRun run(scope, login, lock_of(scope));
  for (const auto& cube : cubes) {
    run.refresh(cube);
  }
  return run.take_report();
}

AggregateReport drop_aggregates(const AggregateScope& scope, const std::string& login) {
  const auto cubes = cubes_in_scope({scope.directory, scope.database, {}});
  AggregateRun run(scope, login, lock_of(scope));
  run.drop(cubes);
  return run.take_report();
}

std::vector<AggregateStatus> aggregates_status(const AggregateScope& scope,
                                               const std::string& login) {
  AggregateRun run(scope, login, nullptr);
  std::vector<AggregateStatus> result;
  run.add_status(cubes_in_scope(scope), result);
  return result;
}

}  // namespace importkcd
