#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "model/olap_server.h"
#include "servers/catalogue/kept_copies.h"

namespace importkcd {

/// Whether a server is opened to be looked at or to be changed.
enum class ServerAccess { read_only, read_write };

/// Makes the unconnected server that a machine text means:
///
/// - this computer's name, localhost, (local) or ".": the embedded server of this computer;
/// - catalogue:PATH: the embedded server in that file;
/// - mondrian:DIRECTORY: the directory from which a Mondrian engine serves cubes;
/// - memory: (nothing behind the colon): an empty server that ends with its object.
///
/// Names of this computer are compared without regard to letter case. Anything else throws
/// ImportError, whose description names the forms.
std::unique_ptr<OlapServer> make_olap_server(std::string_view machine, ServerAccess access);

/// The kept copies of the embedded server that a machine text means. Throws ImportError for a
/// server that keeps none, and for a text that means no server.
std::unique_ptr<KeptCopies> open_kept_copies(std::string_view machine);

/// The file of this computer's embedded server: `importkcd/server.olap` in the user's data folder.
std::string default_catalogue_path();

/// This computer's name as the network knows it.
std::string this_computer_name();

}  // namespace importkcd
