#include "comparison/import_request.h"

#include <utility>

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

}  // namespace

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
