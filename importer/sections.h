#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

// The sections of a document, in the order of their import, but for its data sources. Each sends
// its heading to the run first.

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

/// Creates, updates or skips the roles of the run's database. `roles` may be null: the document has
/// none. Roles take effect when they are set; nothing is written back here.
///
/// Unlike the other sections of the library this one traps nothing: it throws ImportError at the
/// first role that fails, and the next roles are not imported.
void import_roles(ImportRun& run, const KcdElement* roles);

/// Imports the cubes of a document: creates, rewrites, rebuilds or skips each one, has its parts
/// built and asks the server whether the result is a valid cube.
///
/// `cubes` may be null: then only the section's heading is reported. Every child element is a cube,
/// whatever its tag. Nothing is trapped here: an ImportError leaves the section, and the
/// cube stays as far as it was written back. A refused update is reported by messages only; a cube
/// of invalid structure makes the run fail, but the following cubes are built all the same.
///
/// `run.current_cube` is set by every cube that is created or updated, cleared by one that is
/// skipped, and left alone otherwise.
void import_cubes(ImportRun& run, const KcdElement* cubes);

/// Imports every child of `virtual_cubes`, which may be null: then only the heading is sent.
///
/// A virtual cube takes over measures and dimensions of the database by name and is stored with the
/// database. Every error is ignored, statement by statement, and neither `succeeded` nor
/// `last_error` is touched, but a person hears what could not be built (ImportRun::pass_over). A
/// server that refuses to lock or to empty an existing virtual cube cancels the update of that one,
/// which is reported by messages.
void import_virtual_cubes(ImportRun& run, const KcdElement* virtual_cubes);

}  // namespace importkcd
