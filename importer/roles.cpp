#include <string>
#include <utility>

#include "document/attributes.h"
#include "importer/create_update_skip.h"
#include "importer/cube_parts.h"
#include "importer/sections.h"

namespace importkcd {
namespace {

/// The updating text is that of virtual dimensions on purpose: message texts are fixed.
constexpr ObjectMessages role_messages{"role", "Searching role '", "Creating role '",
                                       "Skipping role '", "Updating virtual dimension '"};

/// The permission of a cube role that holds what the document's `permissions` says.
constexpr const char* access_key = "Access";

void import_role(const ImportRun& run, const KcdElement& element) {
  const auto at = run.working_on(element);
  OlapRole fresh;
  fresh.name = decoded_text(element, "name");
  OlapRole* role =
      prepare_database_object(run, role_messages, run.database().roles(), std::move(fresh));
  if (role != nullptr) {
    role->description = decoded_text(element, "description");
    role->user_list = raw_text(element, "user_list");
  }
}

/// Whether the cube role of that name is to be written; it exists afterwards if so. Unlike other
/// objects it is not announced by a searching message.
bool prepare_cube_role(const ImportRun& run, const std::string& name, OlapCube& cube) {
  switch (action_for(cube.roles.contains(name), run.options().ImportType)) {
    case Action::create:
      cube.roles.add_new(name);
      report_object(run, "Creating cube role '", {ObjectAction::creating, "cube role", name});
      return true;
    case Action::skip:
      report_object(run, "Skipping cube role '", {ObjectAction::skipping, "cube role", name});
      return false;
    case Action::update:
      report_object(run, "Updateing cube role '", {ObjectAction::updating, "cube role", name});
      return true;
    case Action::none:
      break;
  }
  return false;
}

}  // namespace

void import_roles(ImportRun& run, const KcdElement* roles) {
  run.ReportProgress("Creating roles");
  for (const KcdElement& element : children_of(roles)) {
    import_role(run, element);
  }
}

void build_cube_roles(ImportRun& run, const KcdElement& cube_roles, OlapCube& cube) {
  for (const KcdElement& element : children_of(cube_roles)) {
    const auto at = run.working_on(element);
    const auto name = decoded_text(element, "name");
    if (prepare_cube_role(run, name, cube)) {
      cube.roles.edit(name)->permissions.put({access_key, raw_text(element, "permissions")});
    }
  }
}

}  // namespace importkcd
