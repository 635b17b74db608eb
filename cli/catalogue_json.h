#pragma once

#include <iosfwd>

#include "model/olap_database.h"

namespace importkcd {

/// Writes databases as one JSON document, object by object:
/// `{"databases": [{"name": ..., "description": ..., "data_sources": [...], "dimensions": [...],
/// "roles": [...], "cubes": [...]}, ...]}`. Keys are the words of cube definition documents, codes
/// are the model's numbers, lists are in collection order, and texts stand as they are; bytes that
/// are not UTF-8 become U+FFFD.
class CatalogueJson {
 public:
  /// Begins the document. `out` outlives this object; its state tells whether writing failed.
  explicit CatalogueJson(std::ostream& out);

  /// Adds a database with all that is in it. Throws ImportError when an object cannot be read.
  void add(OlapDatabase& database);

  /// Ends the document; called once, after the last database.
  void end();

 private:
  std::ostream& out_;
  bool first_ = true;
};

}  // namespace importkcd
