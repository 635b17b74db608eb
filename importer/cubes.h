#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Imports the cubes of a document: creates, rewrites, rebuilds or skips each one, has its parts
/// built and asks the server whether the result is a valid cube.
///
/// `cubes` may be null: then only the section's heading is reported. The child elements are taken
/// as cubes whatever their tag. Nothing is trapped here: an ImportError leaves the section, and the
/// cube stays as far as it was written back. A refused update is told by messages alone; an invalid
/// structure ends the run's success, yet the following cubes are built.
///
/// `run.current_cube` is set by every cube that is created or updated, cleared by one that is
/// skipped, and left alone otherwise.
void ImportCubes(ImportRun& run, const KcdElement* cubes);

}  // namespace importkcd
