#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Adds every child of `cube_calculated_members` to the current cube as a calculated member.
///
/// A member that fails (an absent attribute, a statement without " AS ", a name in use) is left out
/// silently; the others follow. Throws nothing and sends no messages.
void BuildCalculatedMembers(ImportRun& run, const KcdElement& cube_calculated_members);

}  // namespace importkcd
