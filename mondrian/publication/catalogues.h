#pragma once

#include <string>
#include <vector>

#include "model/olap_database.h"
#include "mondrian/publication/jdbc_connection.h"

namespace importkcd {

/// A catalogue of the engine: the cubes of a database that read from one data warehouse.
struct PublishedCatalogue {
  /// The database's name; with several catalogues the data source's name follows it.
  std::string name;
  JdbcConnection connection;
  /// Names of regular cubes, in the database's order. Some may turn out to be inexpressible.
  std::vector<std::string> cubes;
  std::vector<std::string> virtual_cubes;
  /// The data source that its connection was found with; others may mean the same one.
  std::string warehouse;
  /// The data source that tells this catalogue from others of its database; empty for the only one.
  std::string data_source;
};

/// The catalogues of a database, in the order of their first cubes. Data sources with the same
/// connection count as one. Cubes whose data source means no database are in none; why, is added to
/// `remarks`, one sentence per cube.
std::vector<PublishedCatalogue> catalogues_of(OlapDatabase& database,
                                              std::vector<std::string>& remarks);

/// A file name for the schema of a catalogue: letters, digits and a few marks, different for
/// different databases and data sources.
std::string schema_file_name(const std::string& database, const std::string& data_source);

}  // namespace importkcd
