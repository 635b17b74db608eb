#pragma once

#include "cli/text_tree.h"
#include "model/olap_database.h"

namespace importkcd {

/// A cube as a part of its database's tree (catalogue_tree.h). `database` tells which of the cube's
/// dimensions are its own.
TreeNode cube_tree(const OlapCube& cube, OlapDatabase& database);

}  // namespace importkcd
