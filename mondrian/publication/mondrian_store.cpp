#include "mondrian/publication/mondrian_store.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "base/import_error.h"
#include "mondrian/publication/publication.h"
#include "servers/catalogue/catalogue_store.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

class MondrianStore : public OlapStore {
 public:
  MondrianStore(fs::path directory, ServerAccess access, TellRemark tell)
      : directory_(std::move(directory)), access_(access), tell_(std::move(tell)) {}

  void open() override {
    std::error_code error;
    directory_ = fs::weakly_canonical(fs::absolute(directory_), error);
    if (access_ == ServerAccess::read_write) {
      make_directory();
    }
    definitions_ = make_catalogue_store((directory_ / published::definitions).string(), access_,
                                        [this](OlapStore& changed) { before_commit_(changed); });
    definitions_->open();
    if (may_write(access_)) {
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
    std::vector<std::string> touched;
    touched.reserve(changes.size());
    for (const auto& change : changes) {
      touched.push_back(change.name);
    }
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::yes);
    for (const auto& remark : publish([&] { definitions_->apply(std::move(changes)); }, touched)) {
      tell_(remark);
    }
  }

  std::vector<KeptCopy> kept_copies() override { return definitions_->kept_copies(); }

  RestoredDatabase restore(const std::string& database) override {
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::yes);
    RestoredDatabase restored;
    auto remarks = publish([&] { restored = definitions_->restore(database); }, {{database}});
    restored.remarks = std::move(remarks);
    return restored;
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

  /// Publishes what a change of the definitions makes of these databases; without names, of all.
  /// Gives what was left out, and why.
  std::vector<std::string> publish(const std::function<void()>& change_definitions,
                                   const std::optional<std::vector<std::string>>& touched) {
    Publication publication(directory_);
    before_commit_ = [&](OlapStore& changed) {
      publication.prepare(changed, touched ? *touched : changed.database_names());
    };
    change_definitions();
    publication.carry_out();
    return publication.remarks();
  }

  /// Publishes again what a run that died, or a person, left incomplete.
  void repair() {
    if (!is_incomplete()) {
      return;
    }
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::no);
    // Whoever holds the lock is at it; who held it a moment ago may have completed it.
    if (lock.is_held() && is_incomplete()) {
      publish([&] { definitions_->apply({}); }, std::nullopt);
    }
  }

  bool is_incomplete() {
    std::error_code ignored;
    return publication_was_cut_off(directory_) ||
           (!fs::exists(directory_ / published::data_sources, ignored) &&
            !definitions_->database_names().empty());
  }

  fs::path directory_;
  ServerAccess access_;
  TellRemark tell_;
  std::shared_ptr<OlapStore> definitions_;
  /// What the definitions call inside of every change.
  std::function<void(OlapStore& changed)> before_commit_;
};

}  // namespace

std::shared_ptr<OlapStore> make_mondrian_store(std::string directory, ServerAccess access,
                                               TellRemark tell) {
  return std::make_shared<MondrianStore>(std::move(directory), access, std::move(tell));
}

}  // namespace importkcd
