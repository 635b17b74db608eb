#include "pickers/olap_listing.h"

#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <utility>

#include "xmla/xmla_address.h"
#include "xmla/xmla_client.h"

namespace importkcd {
namespace {

/// The person waits for the list without seeing any progress.
constexpr std::chrono::seconds longest_xmla_wait{30};

XmlaClient xmla_client(const std::string& address) {
  HttpLimits limits;
  limits.time = longest_xmla_wait;
  return XmlaClient(address, limits);
}

/// What `names_of` gives, or how it failed.
OlapListing listing_of(const std::function<std::vector<std::string>()>& names_of) {
  try {
    return {.names = names_of(), .failed = false, .failure = {}};
  } catch (const std::exception& error) {
    return {.names = {}, .failed = true, .failure = error.what()};
  }
}

using Walk = std::function<void(OlapServer& server, std::vector<std::string>& names)>;

OlapListing list(const OlapServerFactory& factory, const std::string& server_name,
                 const Walk& walk) {
  return listing_of([&] {
    std::vector<std::string> names;
    const std::unique_ptr<OlapServer> server = factory(server_name);
    server->connect(server_name);
    walk(*server, names);
    return names;
  });
}

void add_cubes(OlapDatabase& database, std::vector<std::string>& names) {
  for (const auto& name : database.cubes().names()) {
    const OlapCube* cube = database.cubes().find(name);
    if (cube != nullptr && cube->kind != OlapCubeKind::is_virtual) {
      names.push_back(cube->name);
    }
  }
}

/// A database that is not there has no cubes; asked for them, a server would answer with an error.
std::vector<std::string> regular_cubes(const XmlaClient& client, const std::string& database) {
  std::vector<std::string> names;
  for (const auto& name : client.databases()) {
    if (name != database) {
      continue;
    }
    for (auto& cube : client.cubes(name)) {
      if (!cube.is_virtual) {
        names.push_back(std::move(cube.name));
      }
    }
  }
  return names;
}

}  // namespace

OlapListing list_olap_databases(const OlapServerFactory& factory, const std::string& server_name) {
  if (is_xmla_address(server_name)) {
    return listing_of([&] { return xmla_client(server_name).databases(); });
  }
  return list(factory, server_name, [](OlapServer& server, std::vector<std::string>& names) {
    for (const auto& object : server.stored_objects()) {
      if (object.class_type == OlapClassType::database) {
        names.push_back(object.name);
      }
    }
  });
}

OlapListing list_olap_cubes(const OlapServerFactory& factory, const std::string& server_name,
                            const std::string& database) {
  if (is_xmla_address(server_name)) {
    return listing_of([&] { return regular_cubes(xmla_client(server_name), database); });
  }
  return list(factory, server_name, [&](OlapServer& server, std::vector<std::string>& names) {
    for (const auto& object : server.stored_objects()) {
      if (object.class_type == OlapClassType::database && object.name == database) {
        add_cubes(server.open_database(object.name), names);
      }
    }
  });
}

}  // namespace importkcd
