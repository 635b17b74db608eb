#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/olap_server.h"
#include "servers/olap_store.h"
#include "servers/rehearsal_store.h"

namespace importkcd {

/// Makes the unconnected server that a machine text means:
///
/// - this computer's name, localhost, (local) or ".": the embedded server of this computer;
/// - catalogue:PATH: the embedded server in that file;
/// - mondrian:DIRECTORY: the directory from which a Mondrian engine serves cubes;
/// - memory: (nothing behind the colon): an empty server that ends with its object.
///
/// To look at this computer's server when nothing was ever stored there finds it empty. Names of
/// this computer are compared without regard to letter case. Anything else throws ImportError,
/// whose description names the forms.
std::unique_ptr<OlapServer> make_olap_server(std::string_view machine, ServerAccess access);

/// Makes the rehearsal of what that server would do; nothing is created or changed. Where there is
/// nothing yet, it begins with nothing. Throws as make_olap_server() does.
Rehearsal make_rehearsal(std::string_view machine, RehearsalBase base);

/// OlapStore::kept_copies() and restore() of the server that a machine text means. They create
/// nothing, and without a copy of that name restore_database() changes nothing. They throw
/// ImportError as those do, and for a text that means no server.
std::vector<KeptCopy> kept_copies(std::string_view machine);
RestoredDatabase restore_database(std::string_view machine, const std::string& database);

/// Makes an engine that serves a mondrian: server forget the figures it remembers: after its data
/// warehouse was loaded. Gives what a person should know. Throws ImportError for any other server.
std::vector<std::string> refresh_server(std::string_view machine);

/// The file of this computer's embedded server: `importkcd/server.olap` in the user's data folder.
std::string default_catalogue_path();

}  // namespace importkcd
