#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Creates, updates or skips the virtual dimensions of a document and writes them back.
/// `virtual_dimensions` may be null: the document has none. Not part of an ordinary run.
///
/// Errors and refused updates end as those of ImportSharedDimensions do.
void ImportVirtualDimensions(ImportRun& run, const KcdElement* virtual_dimensions);

}  // namespace importkcd
