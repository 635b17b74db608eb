#include "cli/stored_databases.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "base/import_error.h"
#include "base/name_folding.h"

namespace importkcd {

void add_server_argument(CLI::App& command, std::string& server) {
  server = "localhost";
  command
      .add_option("SERVER", server,
                  "The OLAP server: localhost (this computer), catalogue:PATH or "
                  "mondrian:DIRECTORY")
      ->type_name("")
      ->capture_default_str();
}

std::vector<std::string> databases_of(OlapServer& server) {
  std::vector<std::string> names;
  for (const auto& object : server.stored_objects()) {
    if (object.class_type == OlapClassType::database) {
      names.push_back(object.name);
    }
  }
  return names;
}

std::string database_named(const std::vector<std::string>& names, const std::string& wanted) {
  const auto found = std::find_if(names.begin(), names.end(),
                                  [&](const std::string& name) { return same_name(name, wanted); });
  if (found == names.end()) {
    throw ImportError("database '" + wanted + "' not found", "kcd");
  }
  return *found;
}

}  // namespace importkcd
