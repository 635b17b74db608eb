#pragma once

#include <string>
#include <vector>

#include "comparison/import_request.h"
#include "comparison/plan.h"

namespace importkcd {

/// What an import would do, found out by doing it where nothing is stored.
struct ImportPlan {
  /// How the import would end.
  RequestOutcome result;
  /// What it would say to a person.
  std::vector<std::string> remarks;
  /// The database, as it is stored, or else as the document names it; empty when the import would
  /// not come so far.
  std::string database;
  /// Whether the stored database would be deleted and built anew.
  bool built_anew = false;
  /// Empty as well when the import would fail and store nothing.
  Plan plan;
};

/// Rehearses an import. The progress of the rehearsal is not told.
ImportPlan plan_import(const ImportRequest& request, const RehearsalFactory& rehearse);

}  // namespace importkcd
