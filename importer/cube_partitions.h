#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Creates or rewrites the partitions of the current cube, which must be there, and records their
/// slices. The caller decides whether partitions are imported at all.
///
/// `cube_partitions` may be null: then only the heading is reported. Every child element is a
/// partition, whatever its tag. A partition is written back before its slices are recorded; they
/// reach the server with the next write back of the cube. A level that is disabled in the cube is
/// not sliced.
///
/// Throws ImportError for an absent attribute or child and for a data source, dimension or level
/// that does not exist.
void create_cube_partitions(ImportRun& run, const KcdElement* cube_partitions);

}  // namespace importkcd
