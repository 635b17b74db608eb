#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Creates, updates or skips the roles of the run's database. `roles` may be null: the document has
/// none. Roles take effect when they are set; nothing is written back here.
///
/// Unlike the other sections of the library this one traps nothing: it throws ImportError at the
/// first role that fails, and the next roles are not imported.
void import_roles(ImportRun& run, const KcdElement* roles);

/// Builds the roles of a cube, regular or virtual, from the children of `cube_roles`: new ones are
/// added in every mode, existing ones are rewritten in update mode only.
///
/// Ends at the first error, which it throws as ImportError (an absent attribute, a name that the
/// cube refuses).
void build_cube_roles(ImportRun& run, const KcdElement& cube_roles, OlapCube& cube);

}  // namespace importkcd
