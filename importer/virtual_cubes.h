#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Imports every child of `virtual_cubes`, which may be null: then only the heading is sent.
///
/// A virtual cube takes over measures and dimensions of the database by name and is stored with the
/// database. Every error is ignored, statement by statement, and neither `succeeded` nor
/// `last_error` is touched, but a person hears what could not be built (ImportRun::pass_over). A
/// server that refuses to lock or to empty an existing virtual cube cancels the update of that one,
/// which is reported by messages.
void import_virtual_cubes(ImportRun& run, const KcdElement* virtual_cubes);

}  // namespace importkcd
