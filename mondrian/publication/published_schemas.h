#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace importkcd {

// The folder of schemas may hold files of others, hand-written schemas for example. A publication
// replaces and removes only its own, which it knows by the comment that they begin with.

/// The text of the comment at the beginning of all schemas of one publication. It differs from
/// publication to publication, so that the engine sees a changed schema and forgets the figures
/// that it remembers.
std::string publication_mark();

/// Makes the folder unless it is there, writable by its owner only. Throws ImportError when it
/// cannot be made, or is a link: what is behind a link belongs to others.
void make_schemas_folder(const std::filesystem::path& folder);

/// Fails when a file that no publication has written stands where a schema is to be written.
void check_schema_place(const std::filesystem::path& path);

/// Whether the folder holds schemas that a publication wrote beside their places and left there.
bool has_schemas_beside(const std::filesystem::path& folder);

/// Removes the schemas that publications have written into the folder, beside their places too,
/// except for the names `in_use`.
void remove_unused_schemas(const std::filesystem::path& folder,
                           const std::set<std::string>& in_use);

}  // namespace importkcd
