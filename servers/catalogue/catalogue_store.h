#pragma once

#include <functional>
#include <memory>
#include <string>

#include "servers/olap_store.h"

namespace importkcd {

/// Is called with the store as it will be, before a change is committed. What it throws undoes the
/// change, and so does a failure after it.
using BeforeCommit = std::function<void(OlapStore& changed)>;

/// The embedded OLAP store: an SQLite file with one readable table per kind of object.
/// Every apply() and restore() calls `before_commit`, if there is one.
std::shared_ptr<OlapStore> make_catalogue_store(std::string path, ServerAccess access,
                                                BeforeCommit before_commit = {});

}  // namespace importkcd
