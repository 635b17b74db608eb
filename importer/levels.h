#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"
#include "model/definitions.h"

namespace importkcd {

/// Adds the levels of a shared dimension, with their member properties, in document order; the
/// levels that the dimension has already stay.
///
/// An error in a level or a member property ends that one, becomes the run's error and lets the
/// next ones follow. Returns false when there was any: the dimension is then not fit to be written
/// back.
bool ImportLevels(ImportRun& run, const KcdElement& levels, OlapDimension& dimension);

}  // namespace importkcd
