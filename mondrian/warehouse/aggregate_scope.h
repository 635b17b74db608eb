#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/xml_element.h"
#include "model/olap_database.h"
#include "mondrian/mapping/schema_mapping.h"
#include "servers/olap_store.h"

namespace importkcd {

/// What `kcd aggregate` is asked about. Empty names: all.
struct AggregateScope {
  std::string directory;
  std::string database;
  std::string cube;
};

/// A cube that is asked about, and all that there is to know of it without its warehouse.
struct ScopeCube {
  std::string database;
  std::string cube;
  JdbcConnection connection;
  /// The schema that holds it; shared with other cubes.
  std::shared_ptr<const XmlElement> schema;
  std::string prefix;
  OlapMode mode = OlapMode::molap;
  double estimated_rows = 0;
  /// The cube itself was named.
  bool is_named = false;
};

/// The regular cubes of a scope that are published, in the order of their databases. Throws
/// ImportError when the directory has no definitions, or a name that the scope gives is not there.
std::vector<ScopeCube> cubes_in_scope(const AggregateScope& scope);

/// The cube in its schema.
const XmlElement& element_of(const ScopeCube& cube);

/// The name of the view that stands for a cube's facts.
std::string facts_view_name(const ScopeCube& cube);

/// What the tables of a cube are named by: its prefix with other characters than letters, digits
/// and "_" replaced; the cube's name for one without a prefix.
std::string table_prefix(const std::string& prefix, const std::string& cube);

}  // namespace importkcd
