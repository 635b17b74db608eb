#pragma once

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
std::shared_ptr<OlapStore> make_catalogue_store(std::string path, CatalogueAccess access);

}  // namespace importkcd
