#pragma once

#include <string>
#include <vector>

#include "model/olap_server.h"

namespace importkcd {

/// What a listing of a server gave. A failed listing has no names.
struct OlapListing {
  /// In the server's order, with their letter case.
  std::vector<std::string> names;
  bool failed = false;
  /// The description of the failure as the server reported it.
  std::string failure;
};

// Both listings ask a server whose name is the address of an XMLA server (http://...) over the
// network, within half a minute. Otherwise they make a server with `factory`, connect it to
// `server_name`, and let go of it before they return. They never throw: every failure on that way
// is in the result. `factory` ought to make servers that are opened to be looked at only.

/// The names of the server's databases.
OlapListing list_olap_databases(const OlapServerFactory& factory, const std::string& server_name);

/// The names of the regular cubes of the database whose name equals `database` exactly, letter case
/// included. A name that matches no database gives no cubes and is no failure.
OlapListing list_olap_cubes(const OlapServerFactory& factory, const std::string& server_name,
                            const std::string& database);

}  // namespace importkcd
