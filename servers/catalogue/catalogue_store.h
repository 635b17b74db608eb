#pragma once

#include <functional>
#include <memory>
#include <string>

#include "servers/olap_store.h"

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

/// Is called with the store as it will be, before a change is committed. What it throws undoes the
/// change, and so does a failure after it.
using BeforeCommit = std::function<void(OlapStore& changed)>;

/// The embedded OLAP store: an SQLite file with one readable table a kind of object.
/// Every apply() calls `before_commit`, if there is one.
std::shared_ptr<OlapStore> make_catalogue_store(std::string path, CatalogueAccess access,
                                                BeforeCommit before_commit = {});

class CatalogueFile;

/// A store over a file that is open already, and outlives the store: its open() is not called.
std::unique_ptr<OlapStore> make_store_over(CatalogueFile& opened);

}  // namespace importkcd
