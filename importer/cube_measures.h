#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Adds the measures of a `cube_measures` element to the current cube, which must be there. Every
/// child element is a measure, whatever its tag.
///
/// An error ends the import of its measure only; neither a message nor the run's outcome reports
/// it. A measure that was added before its error stays, with the properties set so far.
void build_measures(ImportRun& run, const KcdElement& cube_measures);

/// Adds every child of `cube_calculated_members` to the current cube as a calculated member.
///
/// A member that fails (an absent attribute, a statement without " AS ", a name in use) is left out
/// silently; the others follow. Throws nothing and sends no messages.
void build_calculated_members(ImportRun& run, const KcdElement& cube_calculated_members);

}  // namespace importkcd
