#include "importer/import_run.h"

namespace importkcd {

ImportRun::ImportRun(const ImportOptions& options, ImportOutcome& outcome, OlapServer& server,
                     OlapDatabase& database)
    : options_(options), outcome_(outcome), server_(server), database_(database) {}

void ImportRun::ReportProgress(const std::string& text) const {
  if (options_.progres_window != nullptr) {
    options_.progres_window->put_progres_message(text);
  }
}

void ImportRun::fail(const std::string& error) const {
  outcome_.succeeded = false;
  outcome_.last_error = error;
}

}  // namespace importkcd
