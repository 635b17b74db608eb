#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Creates, updates or skips the shared dimensions of a document and writes them back.
/// `shared_dimensions` may be null: the document has none.
///
/// Throws nothing: an error becomes the run's error, its dimension is not written back, and the
/// next dimension follows. A dimension that is in use is left alone, which is no error but told in
/// the progress messages.
void ImportSharedDimensions(ImportRun& run, const KcdElement* shared_dimensions);

}  // namespace importkcd
