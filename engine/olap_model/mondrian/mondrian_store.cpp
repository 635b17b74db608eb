#include "engine/olap_model/mondrian/mondrian_store.h"

#include <atomic>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "engine/olap_model/catalogue/catalogue_store.h"
#include "engine/olap_model/import_error.h"
#include "engine/olap_model/mondrian/publication.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// A text that no other publication has: the time, to the nanosecond.
std::string publication_mark() {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const std::time_t whole = std::chrono::duration_cast<seconds>(since).count();
  std::tm parts{};
  gmtime_r(&whole, &parts);
  std::string text(64, '\0');
  text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts));
  auto fraction =
      std::to_string(std::chrono::duration_cast<nanoseconds>(since).count() % 1'000'000'000);
  return "Published " + text + "." + std::string(9 - fraction.size(), '0') + fraction + "Z";
}

class MondrianStore : public OlapStore {
 public:
  MondrianStore(fs::path directory, MondrianAccess access, TellRemark tell)
      : directory_(std::move(directory)), access_(access), tell_(std::move(tell)) {}

  void open() override {
    std::error_code error;
    directory_ = fs::weakly_canonical(fs::absolute(directory_), error);
    if (access_ == MondrianAccess::read_write) {
      make_directory();
    }
    definitions_ = make_catalogue_store(
        (directory_ / published::definitions).string(),
        access_ == MondrianAccess::read_write ? CatalogueAccess::read_write
                                              : CatalogueAccess::read_only,
        [this](OlapStore& changed) { publication_->prepare(changed, touched_); });
    definitions_->open();
    if (access_ == MondrianAccess::read_write) {
      repair();
    }
  }

  std::vector<std::string> database_names() override { return definitions_->database_names(); }
  void hold(const std::string& database) override { definitions_->hold(database); }
  void release_all() noexcept override {
    if (definitions_) {
      definitions_->release_all();
    }
  }
  std::string description(const std::string& database) override {
    return definitions_->description(database);
  }
  DatabaseSources sources(const std::string& database) override {
    return definitions_->sources(database);
  }
  std::vector<std::string> dimensions_in_use(const std::string& database,
                                             OlapCubeKind kind) override {
    return definitions_->dimensions_in_use(database, kind);
  }

  void apply(std::vector<DatabaseChanges> changes) override {
    // Until the files are in their places: a later run must not be overtaken by an earlier one.
    const WaitingLock lock(directory_ / published::lock, WaitingLock::Wait::yes);
    touched_.clear();
    for (const auto& change : changes) {
      touched_.push_back(change.name);
    }
    publication_.emplace(directory_, publication_mark());
    try {
      definitions_->apply(std::move(changes));
      publication_->carry_out();
    } catch (...) {
      publication_.reset();
      throw;
    }
    tell_remarks();
  }

 private:
  void make_directory() {
    std::error_code error;
    if (fs::create_directories(directory_, error)) {
      fs::permissions(directory_, fs::perms::owner_all, error);
    }
    if (error) {
      throw ImportError("cannot make the folder '" + directory_.string() + "': " + error.message(),
                        error_source::olap_server);
    }
  }

  /// Publishes again what a run that died, or a person, left incomplete.
  void repair() {
    std::error_code ignored;
    const auto names = definitions_->database_names();
    const bool is_incomplete =
        publication_was_cut_off(directory_) ||
        (!names.empty() && !fs::exists(directory_ / published::data_sources, ignored));
    if (!is_incomplete) {
      return;
    }
    const WaitingLock lock(directory_ / published::lock, WaitingLock::Wait::no);
    if (lock.is_held()) {
      publication_.emplace(directory_, publication_mark());
      publication_->prepare(*definitions_, names);
      publication_->carry_out();
      publication_.reset();
    }
  }

  void tell_remarks() {
    for (const auto& remark : publication_->remarks()) {
      if (tell_) {
        tell_(remark);
      }
    }
    publication_.reset();
  }

  fs::path directory_;
  MondrianAccess access_;
  TellRemark tell_;
  std::shared_ptr<OlapStore> definitions_;
  /// The publication that is being prepared, and the databases that it is about.
  std::optional<Publication> publication_;
  std::vector<std::string> touched_;
};

}  // namespace

std::shared_ptr<OlapStore> make_mondrian_store(std::string directory, MondrianAccess access,
                                               TellRemark tell) {
  return std::make_shared<MondrianStore>(std::move(directory), access, std::move(tell));
}

}  // namespace importkcd
