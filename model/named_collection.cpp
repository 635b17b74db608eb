#include "model/named_collection.h"

namespace importkcd {

void check_new_name(std::string_view name, bool exists) {
  if (name.empty()) {
    throw ImportError("an object must have a name", error_source::olap_server);
  }
  if (exists) {
    throw ImportError("'" + std::string(name) + "' already exists", error_source::olap_server);
  }
}

}  // namespace importkcd
