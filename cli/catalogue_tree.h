#pragma once

#include <string>

#include "cli/text_tree.h"
#include "model/olap_database.h"

namespace importkcd {

/// A database as a tree for people: data sources (passwords masked), shared and virtual dimensions
/// with their levels, roles, and cubes with their source, dimensions, measures, calculated members,
/// roles and partitions. Empty groups are left out. Throws ImportError when an object cannot be
/// read.
TreeNode database_tree(OlapDatabase& database);

}  // namespace importkcd
