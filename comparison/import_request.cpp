#include "comparison/import_request.h"

#include <utility>

#include "base/import_error.h"
#include "comparison/synchronisation.h"

namespace importkcd {
namespace {

/// Passes on how far a run is, but not what it says: nothing of that happens.
class SteadyProgress : public ProgressSink {
 public:
  explicit SteadyProgress(ProgressSink* sink) : sink_(sink) {}
  void put_progres_message(const std::string& /*message*/) override {}
  void expect_objects(std::size_t count) override {
    if (sink_ != nullptr) {
      sink_->expect_objects(count);
    }
  }
  void next_object() override {
    if (sink_ != nullptr) {
      sink_->next_object();
    }
  }

 private:
  ProgressSink* sink_;
};

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
  return {importer.succeeded && importer.passed_over.empty(), importer.last_error, importer.cause,
          importer.database, importer.was_stored};
}

/// Prepares servers for what is asked of them besides the import. Both arguments outlive the
/// result.
OlapServerFactory prepared(const OlapServerFactory& open_server, const ImportRequest& request) {
  return [&](std::string_view machine) {
    auto server = open_server(machine);
    if (request.keeps_former && !server->keep_former_databases()) {
      throw ImportError("'" + std::string(machine) + "' keeps no copies of databases",
                        error_source::olap_server);
    }
    server->wait_for_held_databases(request.longest_wait, [&](const std::string& name) {
      if (request.options.notifications != nullptr) {
        request.options.notifications->show_message(
            "Waiting for database '" + name + "', which is in use by another import, for at most " +
            std::to_string(request.longest_wait.count()) + " s");
      }
    });
    return server;
  };
}

}  // namespace

RequestOutcome carry_out(const ImportRequest& request, const ImportServers& servers) {
  auto open_server = prepared(servers.open_for_change, request);
  return request.synchronises ? synchronise(request, {std::move(open_server), servers.rehearse})
                              : run_importer(request, request.options, std::move(open_server));
}

DocumentReading read_document(const ImportRequest& request, const RehearsalFactory& rehearse) {
  DocumentReading reading;
  RemarkCollector remarks(reading.remarks);
  std::shared_ptr<RehearsalStore> store;
  auto options = request.options;
  options.ImportType = import_type::incremental;
  options.DontUpdateLevels = false;
  options.after_failure = AfterFailure::discard;
  SteadyProgress progress(options.progres_window);
  options.progres_window = &progress;
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
