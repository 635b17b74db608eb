#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Adds the measures of a `cube_measures` element to the current cube, which must be there. Every
/// child element is a measure, whatever its tag.
///
/// An error ends its measure only, and silently: neither a message nor the run's outcome tells of
/// it. A measure that was added before its error stays with what it got so far.
void BuildMeasures(ImportRun& run, const KcdElement& cube_measures);

}  // namespace importkcd
