#include "importer/cube_roles.h"

#include <string>

#include "document/attributes.h"

namespace importkcd {
namespace {

constexpr const char* access_key = "Access";

/// Whether the role of that name is to be written; it exists afterwards if so.
bool prepare_role(const ImportRun& run, const std::string& name, OlapCube& cube) {
  if (!cube.roles.contains(name)) {
    cube.roles.add_new(name);
    run.ReportProgress("Creating cube role '" + name + "'");
    return true;
  }
  switch (run.options().ImportType) {
    case import_type::incremental:
      run.ReportProgress("Skipping cube role '" + name + "'");
      return false;
    case import_type::update:
      run.ReportProgress("Updateing cube role '" + name + "'");
      return true;
    default:
      return false;
  }
}

}  // namespace

void BuildCubeRoles(ImportRun& run, const KcdElement& cube_roles, OlapCube& cube) {
  for (const KcdElement& element : children_of(cube_roles)) {
    const auto name = decoded_text(element, "name");
    if (prepare_role(run, name, cube)) {
      cube.roles.edit(name)->permissions.put({access_key, raw_text(element, "permissions")});
    }
  }
}

}  // namespace importkcd
