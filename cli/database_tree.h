#pragma once

#include <string>
#include <vector>

#include "cli/text_tree.h"
#include "model/olap_database.h"
#include "xmla/xmla_client.h"

namespace importkcd {

/// A database as a tree for people: data sources (passwords masked), shared and virtual dimensions
/// with their levels, roles, and cubes with their source, dimensions, measures, calculated members,
/// roles and partitions. Levels stand in one line from the top down, with their member properties
/// in brackets: "(All) > City > Store [Size, Manager] > Till (disabled)". Empty groups are left
/// out. Throws ImportError when an object cannot be read.
TreeNode database_tree(OlapDatabase& database);

/// A database that an XMLA server offers, with its cubes.
TreeNode xmla_database_tree(const std::string& database, const std::vector<XmlaCube>& cubes,
                            const std::vector<UnservedCube>& unserved = {});

}  // namespace importkcd
