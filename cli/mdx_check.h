#pragma once

#include <string>
#include <vector>

#include "check/findings.h"
#include "document/kcd_document.h"
#include "model/olap_server.h"

namespace importkcd {

/// What the OLAP engine could not serve of the document in `file`, as warnings at its cubes, in the
/// words of an import. The document, of which `document` is the tree, is imported for that into a
/// mondrian server in a temporary folder, which `open_server` makes and which goes away. Throws
/// ImportError when the import fails for a reason of another kind.
std::vector<Finding> check_for_mdx(const KcdDocument& document, const std::string& file,
                                   const OlapServerFactory& open_server);

}  // namespace importkcd
