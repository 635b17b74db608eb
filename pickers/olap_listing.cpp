#include "pickers/olap_listing.h"

#include <exception>
#include <functional>
#include <memory>

namespace importkcd {
namespace {

using Walk = std::function<void(OlapServer& server, std::vector<std::string>& names)>;

OlapListing list(const OlapServerFactory& factory, const std::string& server_name,
                 const Walk& walk) {
  OlapListing listing;
  try {
    const std::unique_ptr<OlapServer> server = factory(server_name);
    server->connect(server_name);
    walk(*server, listing.names);
  } catch (const std::exception& error) {
    listing = {.names = {}, .failed = true, .failure = error.what()};
  }
  return listing;
}

void add_cubes(OlapDatabase& database, std::vector<std::string>& names) {
  for (const auto& name : database.cubes().names()) {
    const OlapCube* cube = database.cubes().find(name);
    if (cube != nullptr && cube->kind != OlapCubeKind::is_virtual) {
      names.push_back(cube->name);
    }
  }
}

}  // namespace

OlapListing list_olap_databases(const OlapServerFactory& factory, const std::string& server_name) {
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
  return list(factory, server_name, [&](OlapServer& server, std::vector<std::string>& names) {
    for (const auto& object : server.stored_objects()) {
      if (object.class_type == OlapClassType::database && object.name == database) {
        add_cubes(server.open_database(object.name), names);
      }
    }
  });
}

}  // namespace importkcd
