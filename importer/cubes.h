#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Imports the cubes of a document: creates, rewrites, rebuilds or skips each one, has its parts
/// built and asks the server whether the result is a valid cube.
///
/// `cubes` may be null: then only the section's heading is reported. Every child element is a cube,
/// whatever its tag. Nothing is trapped here: an ImportError leaves the section, and the
/// cube stays as far as it was written back. A refused update is reported by messages only; a cube
/// of invalid structure makes the run fail, but the following cubes are built all the same.
///
/// `run.current_cube` is set by every cube that is created or updated, cleared by one that is
/// skipped, and left alone otherwise.
void import_cubes(ImportRun& run, const KcdElement* cubes);

/// Removes everything of one kind from a cube, one object at a time from the front, as servers
/// expect it. Throws ImportError at the first refusal; what was removed before it stays removed.
void remove_all(const ImportRun& run, OlapCube& cube, OlapCubeContent content);

}  // namespace importkcd
