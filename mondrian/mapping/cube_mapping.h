#pragma once

#include <string>
#include <vector>

#include "base/xml_element.h"
#include "model/olap_database.h"
#include "mondrian/mapping/data_source_connections.h"
#include "mondrian/mapping/dimension_mapping.h"
#include "mondrian/mapping/schema_relations.h"

namespace importkcd {

/// A dimension of a mapped cube.
struct CubeDimensionMapping {
  std::string name;
  MappedDimension mapped;
};

/// A regular cube as the schema has it.
struct MappedCube {
  std::string name;
  std::string description;
  /// What partitions_text() says of its partitions.
  std::string partitions;
  XmlElement fact;
  std::vector<CubeDimensionMapping> dimensions;
  std::vector<XmlElement> measures;
  std::vector<XmlElement> calculated_members;
};

/// Maps a regular cube of a database. What is published without a part adds a sentence to
/// `remarks`. Throws NotExpressible with the reason, cube, dimension and clause named, when the
/// cube cannot be expressed.
MappedCube map_cube(OlapDatabase& database, const OlapCube& cube,
                    DataSourceConnections& connections, RelationAliases& aliases,
                    std::vector<std::string>& remarks);

}  // namespace importkcd
