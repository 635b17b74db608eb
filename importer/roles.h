#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

namespace importkcd {

/// Creates, updates or skips the roles of the run's database. `roles` may be null: the document has
/// none. Roles take effect when they are set; nothing is written back here.
///
/// Unlike the other sections of the library this one traps nothing: it throws ImportError at the
/// first role that fails, and the next roles are not imported.
void ImportRoles(ImportRun& run, const KcdElement* roles);

}  // namespace importkcd
