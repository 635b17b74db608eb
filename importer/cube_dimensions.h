#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Builds the dimensions of the current cube, which must be there, from a `cube_dimensions`
/// element.
///
/// A `cube_dimension` makes a dimension of the database that is private to the cube and gives it a
/// place in the cube; a `cube_dimension_reference` gives a place to a dimension that the database
/// has and adjusts the cube's copy of its levels. Tags are compared without regard to letter case;
/// elements of any other tag are passed over.
///
/// Everything is added anew. Throws ImportError for an absent attribute or child, a text that
/// is no number, a name that is taken, and a data source, dimension or level that does not exist.
void build_cube_dimensions(ImportRun& run, const KcdElement& cube_dimensions);

}  // namespace importkcd
