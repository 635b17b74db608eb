#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "importer/import_olapdb_from_kcd_doc.h"
#include "importer/import_options.h"
#include "model/olap_server.h"
#include "servers/rehearsal_store.h"

namespace importkcd {

/// An import as the command line asks for it: a run of the importer, or one that makes a database
/// what its document says (synchronise).
struct ImportRequest {
  /// The mode, its `ImportType`, counts only when the database is not synchronised.
  ImportOptions options;
  bool synchronises = false;
  /// Whether synchronising removes what the document does not have.
  bool prunes = true;
  /// Whether what a run changes is kept as it was before, to be brought back. Synchronising does so
  /// wherever copies are kept.
  bool keeps_former = false;
  /// How long the run waits for a database that another one holds.
  std::chrono::seconds longest_wait{0};
  /// Called with an importer that has failed, its document still loaded; may be empty.
  std::function<void(const ImportOLAPDBFromKCDDoc&)> look_at_failure = {};
};

/// Where an import happens.
struct ImportServers {
  OlapServerFactory open_for_change;
  RehearsalFactory rehearse;
};

/// Collects what an import says to a person.
class RemarkCollector : public NotificationSink {
 public:
  /// `remarks` outlives this object.
  explicit RemarkCollector(std::vector<std::string>& remarks) : remarks_(remarks) {}
  void show_message(const std::string& text) override { remarks_.push_back(text); }

 private:
  std::vector<std::string>& remarks_;
};

struct RequestOutcome {
  /// Whether all was done that was asked for.
  bool succeeded = false;
  /// Empty when there was no error.
  std::string error;
  FailureCause cause = FailureCause::refused;
  /// The name of the database; empty when the run came not so far.
  std::string database = {};
  /// Whether the run's result is stored, which nothing to change is, too.
  bool stored = false;
};

/// Runs the importer once, with these options in the place of the request's own. Throws nothing
/// that the importer traps.
RequestOutcome run_importer(const ImportRequest& request, const ImportOptions& options,
                            OlapServerFactory open_server);

/// What a document says, found out by importing it where nothing is stored.
struct DocumentReading {
  RequestOutcome result;
  /// The one database; nothing after an error.
  std::optional<DatabaseDefinition> database;
  /// What the importer had to say to a person.
  std::vector<std::string> remarks;
};

DocumentReading read_document(const ImportRequest& request, const RehearsalFactory& rehearse);

}  // namespace importkcd
