#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Imports the data sources of a document into the run's database. `data_sources` may be null: the
/// document has none. Throws nothing: see ImportDataSource.
void ImportDataSources(ImportRun& run, const KcdElement* data_sources);

/// Creates, updates or skips one data source and writes it back. An error becomes the run's error;
/// the data source is then not written back.
void ImportDataSource(ImportRun& run, const KcdElement& element);

}  // namespace importkcd
