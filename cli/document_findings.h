#pragma once

#include <exception>
#include <string>
#include <vector>

#include "check/findings.h"
#include "importer/import_olapdb_from_kcd_doc.h"

namespace importkcd {

/// The finding that an error of loading a document is.
Finding finding_of(const std::exception& error);

/// What is wrong in the document of an import with these options, as the import would read it. A
/// document that cannot be read has one finding.
std::vector<Finding> findings_before(const ImportOptions& options);

/// What is wrong at the element at which an import has failed, or what it said there; empty when
/// the fault is not one of the document. The importer has not released the document.
std::vector<Finding> findings_of_failure(const ImportOLAPDBFromKCDDoc& importer);

}  // namespace importkcd
