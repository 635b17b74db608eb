#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace importkcd::testing {

/// A small document of the database "Shop" that uses every section of a run. The shared dimension
/// "Region" is used by no cube. Its `virtual_dimensions` and `virtual_cubes` are read only by runs
/// that are asked to.
std::string whole_document();

/// The same without the parts that an import leaves unread.
std::string imported_document();

/// An earlier state of the same database, without the shared dimension "Product" and the cube
/// "Stock", with "Region" without levels and with other texts everywhere.
std::string older_document();

/// The messages of a first import of whole_document(), from "Processing document" on.
std::vector<std::string> whole_document_messages(bool import_partitions);

/// The messages of an import of whole_document(), from "Processing document" on, that finds all its
/// objects there and, being in neither the incremental nor the update mode, passes them over.
std::vector<std::string> messages_of_leaving_alone();

/// The version that a document has to state.
inline constexpr const char* known_version = "1.0.1073";

/// A document of that version with the given root attributes and content, without a library.
std::string bare_document(std::string_view version, std::string_view name,
                          std::string_view content = "");

}  // namespace importkcd::testing
