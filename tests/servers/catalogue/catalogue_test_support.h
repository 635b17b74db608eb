#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "servers/catalogue/catalogue_store.h"

namespace importkcd::testing {

inline std::shared_ptr<OlapStore> opened_store(const std::string& path,
                                               ServerAccess access = ServerAccess::read_write) {
  auto store = make_catalogue_store(path, access);
  store->open();
  return store;
}

/// Changes that leave a database of that name.
inline DatabaseChanges changes_of(const std::string& database) {
  DatabaseChanges changes;
  changes.name = database;
  changes.exists_afterwards = true;
  return changes;
}

inline void apply(OlapStore& store, DatabaseChanges changes) {
  std::vector<DatabaseChanges> all;
  all.push_back(std::move(changes));
  store.apply(std::move(all));
}

/// What an operation throws, as "description (source)"; "nothing" when it throws no ImportError.
template <class Operation>
std::string error_of(const Operation& operation) {
  try {
    operation();
  } catch (const ImportError& error) {
    return error.description() + " (" + error.source() + ")";
  }
  return "nothing";
}

/// Changes that fill a database: the description, `count` cubes and all their measures say `state`.
/// Stored over an earlier state, they replace every object of it.
inline DatabaseChanges whole_state(const std::string& database, const std::string& state,
                                   int count) {
  auto changes = changes_of(database);
  changes.description = state;
  for (int i = 0; i < count; ++i) {
    OlapCube cube;
    cube.name = "Cube " + std::to_string(i);
    cube.description = state;
    for (int j = 0; j < 10; ++j) {
      cube.measures.add({"Measure " + std::to_string(j), state, "", "", false, {}});
    }
    changes.cubes.add(std::move(cube));
  }
  return changes;
}

/// The state that all parts of such a database agree about; "mixed" when they do not.
inline std::string state_of(OlapStore& store, const std::string& database, int count) {
  const auto state = store.description(database);
  const auto cubes = store.sources(database).cubes;
  const auto names = cubes->names();
  bool whole = names.size() == static_cast<std::size_t>(count);
  for (const auto& name : names) {
    const auto cube = cubes->load(name);
    whole = whole && cube->description == state && cube->measures.size() == 10;
    for (const auto& measure : cube->measures) {
      whole = whole && measure.description == state;
    }
  }
  return whole ? state : "mixed";
}

}  // namespace importkcd::testing
