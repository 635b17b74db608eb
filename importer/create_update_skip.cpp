#include "importer/create_update_skip.h"

namespace importkcd {

Action action_for(bool exists, std::int32_t type) {
  if (!exists) {
    return Action::create;
  }
  switch (type) {
    case import_type::incremental:
      return Action::skip;
    case import_type::update:
      return Action::update;
    default:
      return Action::none;
  }
}

void report_object(const ImportRun& run, std::string_view text, std::string_view name) {
  std::string message;
  message.reserve(text.size() + name.size() + 1);
  message.append(text).append(name).append("'");
  run.ReportProgress(message);
}

}  // namespace importkcd
