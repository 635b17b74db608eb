#pragma once

#include <functional>
#include <string>

#include "base/xml_element.h"
#include "model/definitions.h"
#include "mondrian/mapping/cube_mapping.h"

namespace importkcd {

/// Gives the mapped cube of a name; null when the schema has none.
using FindMappedCube = std::function<const MappedCube*(const std::string& name)>;
/// Whether a dimension of a mapped cube is the schema's shared one.
using IsShared = std::function<bool(const MappedCube& cube, const std::string& dimension)>;

/// The cube that a virtual cube's measure comes from, as its source column names it
/// ("[Cube].[Measure]"); empty when it names none.
std::string cube_of_virtual_measure(const OlapMeasure& measure);

/// The element of a virtual cube over cubes of the same schema. Throws NotExpressible with the
/// reason when it cannot be expressed.
XmlElement virtual_cube_element(const OlapCube& cube, const FindMappedCube& find_cube,
                                const IsShared& is_shared);

}  // namespace importkcd
