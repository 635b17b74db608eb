#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Creates, updates or skips the shared dimensions of a document, with their levels and member
/// properties, and writes them back. `shared_dimensions` may be null: the document has none.
///
/// Throws nothing: an error becomes the run's error, its dimension is not written back, and the
/// next dimension follows. An error in a level or a member property ends that one, and the next
/// ones follow all the same. A dimension that is in use is left as it is, which is no error, but
/// reported in the progress messages. A dimension that is updated keeps the levels that it has.
void ImportSharedDimensions(ImportRun& run, const KcdElement* shared_dimensions);

/// The same for the virtual dimensions of a document, which are part of a run only with
/// ImportOptions::import_virtual_objects. What could not be built is said by its name besides
/// (ImportRun::pass_over).
void ImportVirtualDimensions(ImportRun& run, const KcdElement* virtual_dimensions);

}  // namespace importkcd
