#pragma once

#include <string>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/publication/catalogues.h"

namespace importkcd {

/// The schema of one catalogue of a database. Cubes that cannot be expressed are left out; why, and
/// what else was left out, is added to `remarks`, one sentence each.
XmlElement schema_element(OlapDatabase& database, const PublishedCatalogue& catalogue,
                          std::vector<std::string>& remarks);

}  // namespace importkcd
