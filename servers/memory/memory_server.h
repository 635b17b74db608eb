#pragma once

#include <memory>

#include "model/olap_server.h"

namespace importkcd {

/// Databases that live in this process. Several servers may share them, one after another or side
/// by side in one thread.
class MemoryStorage;

std::shared_ptr<MemoryStorage> make_memory_store();

/// An unconnected server with an empty storage of its own.
std::unique_ptr<OlapServer> make_memory_server();

/// An unconnected server over a storage that may be shared with others.
std::unique_ptr<OlapServer> make_memory_server(std::shared_ptr<MemoryStorage> storage);

/// An unconnected server for a process that ends after one run, over a storage that all such
/// servers share: what the run makes goes with the process. To take it apart object by object
/// before would cost a fourth of the run.
std::unique_ptr<OlapServer> make_memory_server_until_exit();

}  // namespace importkcd
