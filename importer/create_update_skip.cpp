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

void report_object(const ImportRun& run, std::string_view text, const ObjectEvent& event,
                   std::string_view end) {
  std::string message;
  message.reserve(text.size() + event.name.size() + end.size());
  message.append(text).append(event.name).append(end);
  run.ReportObject(message, event);
}

}  // namespace importkcd
