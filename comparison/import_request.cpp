#include "comparison/import_request.h"

#include <utility>

#include "base/import_error.h"
#include "comparison/synchronisation.h"

namespace importkcd {
namespace {

/// Runs the importer with these options in the place of the request's own.
RequestOutcome run_importer(const ImportRequest& request, const ImportOptions& options,
                            OlapServerFactory open_server) {
  ImportOLAPDBFromKCDDoc importer(std::move(open_server));
  static_cast<ImportOptions&>(importer) = options;
  importer.succeeded = true;
  importer.ReleaseDocument();
  importer.make();
  if (!importer.succeeded && request.look_at_failure) {
    request.look_at_failure(importer);
  }
  return {importer.succeeded && importer.passed_over.empty(), importer.last_error};
}

OlapServerFactory keeping_former(const OlapServerFactory& open_server) {
  return [&open_server](std::string_view machine) {
    auto server = open_server(machine);
    if (!server->keep_former_databases()) {
      throw ImportError("'" + std::string(machine) + "' keeps no copies of databases",
                        error_source::olap_server);
    }
    return server;
  };
}

}  // namespace

RequestOutcome carry_out(const ImportRequest& request, const ImportServers& servers) {
  if (request.synchronises) {
    return synchronise(request, servers);
  }
  return run_importer(
      request, request.options,
      request.keeps_former ? keeping_former(servers.open_for_change) : servers.open_for_change);
}

DocumentReading read_document(const ImportRequest& request, const RehearsalFactory& rehearse) {
  DocumentReading reading;
  RemarkCollector remarks(reading.remarks);
  std::shared_ptr<RehearsalStore> store;
  auto options = request.options;
  options.ImportType = import_type::incremental;
  options.DontUpdateLevels = false;
  options.after_failure = AfterFailure::discard;
  options.progres_window = nullptr;
  options.notifications = &remarks;
  reading.result = run_importer(request, options, [&](std::string_view machine) {
    auto rehearsal = rehearse(machine, RehearsalBase::empty);
    store = std::move(rehearsal.store);
    return std::move(rehearsal.server);
  });
  if (reading.result.succeeded && store) {
    reading.database = store->after(store->held_name());
  }
  return reading;
}

}  // namespace importkcd
