#pragma once

#include "document/kcd_document.h"
#include "importer/import_run.h"

// What a cube is built of, in this order. The current cube is the run's (ImportRun::current_cube)
// and must be there.

namespace importkcd {

/// Builds the dimensions of the current cube, which must be there, from a `cube_dimensions`
/// element.
///
/// A `cube_dimension` makes a dimension of the database that is private to the cube and gives it a
/// place in the cube; a `cube_dimension_reference` gives a place to a dimension that the database
/// has and adjusts the cube's copy of its levels. Tags are compared without regard to letter case;
/// elements of any other tag are passed over.
///
/// Everything is added anew. Throws ImportError for an absent attribute or child, a text that
/// is no number, a name that is taken, and a data source, dimension or level that does not exist.
void build_cube_dimensions(ImportRun& run, const KcdElement& cube_dimensions);

/// Adds the measures of a `cube_measures` element to the current cube, which must be there. Every
/// child element is a measure, whatever its tag.
///
/// An error ends the import of its measure only; neither a message nor the run's outcome reports
/// it. A measure that was added before its error stays, with the properties set so far.
void build_measures(ImportRun& run, const KcdElement& cube_measures);

/// Adds every child of `cube_calculated_members` to the current cube as a calculated member.
///
/// A member that fails (an absent attribute, a statement without " AS ", a name in use) is left out
/// silently; the others follow. Throws nothing and sends no messages.
void build_calculated_members(ImportRun& run, const KcdElement& cube_calculated_members);

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

/// Builds the roles of a cube, regular or virtual, from the children of `cube_roles`: new ones are
/// added in every mode, existing ones are rewritten in update mode only.
///
/// Ends at the first error, which it throws as ImportError (an absent attribute, a name that the
/// cube refuses).
void build_cube_roles(ImportRun& run, const KcdElement& cube_roles, OlapCube& cube);

/// Removes everything of one kind from a cube, one object at a time from the front, as servers
/// expect it. Throws ImportError at the first refusal; what was removed before it stays removed.
void remove_all(const ImportRun& run, OlapCube& cube, OlapCubeContent content);

}  // namespace importkcd
