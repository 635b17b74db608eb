#include "mondrian/publication/mondrian_server.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "base/connection_text.h"
#include "base/import_error.h"
#include "mondrian/mapping/cube_mapping.h"
#include "mondrian/mapping/data_source_connections.h"
#include "mondrian/not_expressible.h"
#include "mondrian/publication/aggregates_file.h"
#include "mondrian/publication/publication.h"
#include "servers/catalogue/catalogue_store.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// Sentences for a person, each told once.
class Messages {
 public:
  void add(const std::string& message) {
    if (told_.insert(message).second) {
      waiting_.push_back(message);
    }
  }
  std::vector<std::string> take() { return std::exchange(waiting_, {}); }

 private:
  std::set<std::string> told_;
  std::vector<std::string> waiting_;
};

class MondrianStore : public OlapStore {
 public:
  MondrianStore(fs::path directory, ServerAccess access, std::shared_ptr<Messages> messages)
      : directory_(std::move(directory)), access_(access), messages_(std::move(messages)) {}

  void open() override {
    std::error_code error;
    directory_ = fs::weakly_canonical(fs::absolute(directory_), error);
    // Who only rehearses what would be stored hears of a folder that could not be taken, too.
    if (access_ == ServerAccess::read_write || access_ == ServerAccess::read_only_or_empty) {
      check_directory();
    }
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
      messages_->add(remark);
    }
  }

  void look_at(OlapStore& changed, const std::vector<std::string>& databases) override {
    for (const auto& remark : Publication::rehearse(directory_, changed, databases)) {
      messages_->add(remark);
    }
  }

  std::vector<std::string> publish_aggregates(
      const std::string& database, const std::function<void(AggregateRecords&)>& change) {
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::yes);
    auto records = read_aggregates(directory_);
    change(records);
    Publication publication(directory_, std::move(records));
    return carry_out(publication, [&] { definitions_->apply({}); }, {{database}});
  }

  /// The engine takes a schema whose file has another mark for another one, about which it knows
  /// no figures.
  std::vector<std::string> publish_again() {
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::yes);
    return publish([&] { definitions_->apply({}); }, std::nullopt);
  }

  bool keeps_copies() const override { return true; }
  std::vector<KeptCopy> kept_copies() override { return definitions_->kept_copies(); }

  RestoredDatabase restore(const std::string& database) override {
    const WaitingLock lock(publication_lock(directory_), WaitingLock::Wait::yes);
    RestoredDatabase restored;
    auto remarks = publish([&] { restored = definitions_->restore(database); }, {{database}});
    restored.remarks = std::move(remarks);
    return restored;
  }

 private:
  /// For messages: somebody may have put a connection string in its place.
  std::string shown_directory() const { return mask_passwords(directory_.string()); }

  /// A list of catalogues without definitions is somebody else's; publishing would replace it.
  void check_directory() const {
    std::error_code ignored;
    if (fs::is_regular_file(directory_ / published::data_sources, ignored) &&
        !fs::exists(directory_ / published::definitions, ignored)) {
      throw ImportError("the folder '" + shown_directory() + "' has a " + published::data_sources +
                            " that no import has written (there is no " + published::definitions +
                            " beside it); name another folder, or move the file away first",
                        error_source::olap_server, FailureCause::server);
    }
  }

  void make_directory() {
    std::error_code error;
    if (fs::create_directories(directory_, error)) {
      fs::permissions(directory_, fs::perms::owner_all, error);
    }
    if (error) {
      throw ImportError("cannot make the folder '" + shown_directory() + "': " + error.message(),
                        error_source::olap_server, FailureCause::server);
    }
  }

  /// Publishes what a change of the definitions makes of these databases; without names, of all.
  /// Gives what was left out, and why.
  std::vector<std::string> publish(const std::function<void()>& change_definitions,
                                   const std::optional<std::vector<std::string>>& touched) {
    Publication publication(directory_);
    return carry_out(publication, change_definitions, touched);
  }

  std::vector<std::string> carry_out(Publication& publication,
                                     const std::function<void()>& change_definitions,
                                     const std::optional<std::vector<std::string>>& touched) {
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
  std::shared_ptr<Messages> messages_;
  std::shared_ptr<OlapStore> definitions_;
  /// What the definitions call inside of every change.
  std::function<void(OlapStore& changed)> before_commit_;
};

class MondrianServer : public WorkingCopyServer {
 public:
  MondrianServer(const std::string& directory, ServerAccess access,
                 const std::shared_ptr<Messages>& messages)
      : WorkingCopyServer(std::make_shared<MondrianStore>(directory, access, messages)),
        messages_(messages) {}

  bool structure_is_valid(OlapDatabase& database, const OlapCube& cube) override {
    std::vector<std::string> remarks;
    bool valid = WorkingCopyServer::structure_is_valid(database, cube);
    try {
      DataSourceConnections connections(database);
      RelationAliases aliases;
      map_cube(database, cube, connections, aliases, remarks);
    } catch (const NotExpressible& error) {
      remarks = {error.description()};
      valid = false;
    }
    for (const auto& remark : remarks) {
      messages_->add(remark);
    }
    return valid;
  }

  std::vector<std::string> take_messages() override { return messages_->take(); }

  bool keeps_failed_runs() const override { return false; }

 private:
  std::shared_ptr<Messages> messages_;
};

}  // namespace

std::vector<std::string> publish_again(const std::string& directory) {
  MondrianStore store(directory, ServerAccess::read_write_existing, std::make_shared<Messages>());
  store.open();
  return store.publish_again();
}

std::vector<std::string> publish_aggregates(const std::string& directory,
                                            const std::string& database,
                                            const std::function<void(AggregateRecords&)>& change) {
  MondrianStore store(directory, ServerAccess::read_write_existing, std::make_shared<Messages>());
  store.open();
  return store.publish_aggregates(database, change);
}

std::unique_ptr<WorkingCopyServer> make_mondrian_server(const std::string& directory,
                                                        ServerAccess access) {
  return std::make_unique<MondrianServer>(directory, access, std::make_shared<Messages>());
}

}  // namespace importkcd
