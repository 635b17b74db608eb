#pragma once

#include <iosfwd>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "model/olap_database.h"
#include "xmla/xmla_client.h"

namespace importkcd {

/// Writes databases as one JSON document, object by object:
/// `{"databases": [{"name": ..., "description": ..., "data_sources": [...], "dimensions": [...],
/// "roles": [...], "cubes": [...]}, ...]}`. Keys are the words of cube definition documents, codes
/// are the model's numbers, lists are in collection order, a data source that was not set is null,
/// and texts stand as they are; bytes that are not UTF-8 become U+FFFD.
class DatabaseJson {
 public:
  /// Begins the document. `out` outlives this object; its state tells whether writing failed.
  explicit DatabaseJson(std::ostream& out);

  /// Adds a database with all that is in it. Throws ImportError when an object cannot be read.
  void add(OlapDatabase& database);

  /// Ends the document; called once, after the last database.
  void end();

 private:
  std::ostream& out_;
  bool first_ = true;
};

/// A database that an XMLA server offers: `{"name": ..., "cubes": [{"name": ..., "virtual": ...,
/// "description": ...}]}`.
nlohmann::ordered_json xmla_database_json(const std::string& database,
                                          const std::vector<XmlaCube>& cubes,
                                          const std::vector<UnservedCube>& unserved = {});

}  // namespace importkcd
