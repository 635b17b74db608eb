#pragma once

#include <functional>
#include <memory>
#include <string>

#include "engine/olap_model/olap_store.h"

namespace importkcd {

/// How a catalogue file is opened.
enum class CatalogueAccess {
  /// Makes the file, readable by its owner only, when it is missing.
  read_write,
  /// Changes the file but makes none: a missing file is an error.
  read_write_existing,
  /// Changes and creates nothing; a missing file is an error.
  read_only,
  /// The same, but a missing file reads as an empty catalogue.
  read_only_or_empty,
};

/// The embedded OLAP store: an SQLite file with one readable table a kind of object.
/// Every apply() calls `before_commit`, if there is one, with the store as it will be; what that
/// throws undoes the changes, and so does a failure after it.
std::shared_ptr<OlapStore> make_catalogue_store(
    std::string path, CatalogueAccess access,
    std::function<void(OlapStore& changed)> before_commit = {});

}  // namespace importkcd
