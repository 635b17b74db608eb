#pragma once

#include <memory>

#include "servers/working_copy_server.h"

namespace importkcd {

/// Databases that live in this process. Several servers may share them, one after another or side
/// by side in one thread.
class MemoryStorage;

std::shared_ptr<MemoryStorage> make_memory_store();

/// An unconnected server with an empty storage of its own.
std::unique_ptr<WorkingCopyServer> make_memory_server();

/// An unconnected server over a storage that may be shared with others.
std::unique_ptr<WorkingCopyServer> make_memory_server(std::shared_ptr<MemoryStorage> storage);

}  // namespace importkcd
