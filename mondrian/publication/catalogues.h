#pragma once

#include <string>
#include <vector>

#include "model/olap_database.h"
#include "mondrian/mapping/schema_mapping.h"

namespace importkcd {

/// The catalogues of a database, in the order of their first cubes. Data sources with the same
/// connection count as one. Cubes whose data source means no database are in none; why, is added to
/// `remarks`, one sentence per cube.
std::vector<PublishedCatalogue> catalogues_of(OlapDatabase& database,
                                              std::vector<std::string>& remarks);

/// A file name for the schema of a catalogue: letters, digits and a few marks, different for
/// different databases and data sources.
std::string schema_file_name(const std::string& database, const std::string& data_source);

}  // namespace importkcd
