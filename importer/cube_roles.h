#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Builds the roles of a cube, regular or virtual, from the children of `cube_roles`: new ones are
/// added in every mode, existing ones are rewritten in update mode only.
///
/// Ends at the first error, which it throws as ImportError (an absent attribute, a name that the
/// cube refuses).
void BuildCubeRoles(ImportRun& run, const KcdElement& cube_roles, OlapCube& cube);

}  // namespace importkcd
