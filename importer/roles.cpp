#include "importer/roles.h"

#include <utility>

#include "document/attributes.h"
#include "importer/create_update_skip.h"

namespace importkcd {
namespace {

/// The updating text really is that of virtual dimensions: message texts are a contract.
constexpr ObjectMessages role_messages{"Searching role '", "Creating role '", "Skipping role '",
                                       "Updating virtual dimension '"};

void ImportRole(const ImportRun& run, const KcdElement& element) {
  OlapRole fresh;
  fresh.name = decoded_text(element, "name");
  OlapRole* role = object_to_set(run, role_messages, run.database().roles(), std::move(fresh));
  if (role != nullptr) {
    role->description = decoded_text(element, "description");
    role->user_list = raw_text(element, "user_list");
  }
}

}  // namespace

void ImportRoles(ImportRun& run, const KcdElement* roles) {
  run.ReportProgress("Creating roles");
  if (roles == nullptr) {
    return;
  }
  for (const KcdElement& element : children_of(*roles)) {
    ImportRole(run, element);
  }
}

}  // namespace importkcd
