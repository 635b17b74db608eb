#pragma once

#include <memory>
#include <string>

#include "servers/catalogue/kept_copies.h"

namespace importkcd {

/// The kept copies of a directory that the engine serves. restore() publishes what it brings back;
/// a publication that fails leaves everything as it was.
std::unique_ptr<KeptCopies> make_mondrian_kept_copies(const std::string& directory);

}  // namespace importkcd
