#pragma once

#include <string>
#include <vector>

#include "model/definitions.h"
#include "model/olap_database.h"
#include "servers/olap_store.h"

namespace importkcd {

/// A whole database as a value.
struct DatabaseDefinition {
  std::string name;
  std::string description;
  NamedCollection<OlapDataSource> data_sources;
  NamedCollection<OlapDimension> dimensions;
  NamedCollection<OlapRole> roles;
  NamedCollection<OlapCube> cubes;
};

/// Reads everything that a working copy holds. Throws ImportError when an object cannot be read.
DatabaseDefinition definition_of(OlapDatabase& database);

/// The same for a stored database.
DatabaseDefinition stored_definition(OlapStore& store, const std::string& database);

/// Readers of a database, which stays as it is now for them.
DatabaseSources sources_of(const DatabaseDefinition& database);

/// OlapStore::dimensions_in_use().
std::vector<std::string> dimensions_in_use(const DatabaseDefinition& database, OlapCubeKind kind);

/// OlapStore::apply() for databases in memory, where nothing is kept of what was there.
void apply_changes(DatabaseChanges changes, NamedCollection<DatabaseDefinition>& databases);

}  // namespace importkcd
