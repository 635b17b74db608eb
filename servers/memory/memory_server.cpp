#include "servers/memory/memory_server.h"

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "servers/database_definition.h"
#include "servers/olap_store.h"

namespace importkcd {

class MemoryStorage {
 public:
  NamedCollection<DatabaseDefinition> databases;
  /// Lower-cased names of the databases that a run holds.
  std::unordered_set<std::string> held;
};

namespace {

/// Reads one collection of a stored database, which is looked up anew every time.
template <class T>
class StoredObjects : public ObjectSource<T> {
 public:
  using Collection = NamedCollection<T> DatabaseDefinition::*;

  StoredObjects(const MemoryStorage& storage, std::string database, Collection collection)
      : storage_(storage), database_(std::move(database)), collection_(collection) {}

  bool contains(std::string_view name) override { return find(name) != nullptr; }

  std::optional<T> load(std::string_view name) override {
    const T* found = find(name);
    return found == nullptr ? std::nullopt : std::optional<T>(*found);
  }

  std::vector<std::string> names() override {
    std::vector<std::string> result;
    if (const auto* database = storage_.databases.find(database_)) {
      for (const auto& object : database->*collection_) {
        result.push_back(object.name);
      }
    }
    return result;
  }

 private:
  const T* find(std::string_view name) const {
    const auto* database = storage_.databases.find(database_);
    return database == nullptr ? nullptr : (database->*collection_).find(name);
  }

  const MemoryStorage& storage_;
  std::string database_;
  Collection collection_;
};

/// One server's side of a storage.
class MemoryStore : public OlapStore {
 public:
  explicit MemoryStore(std::shared_ptr<MemoryStorage> storage) : storage_(std::move(storage)) {}
  ~MemoryStore() override { release_held(); }

  void open() override {}

  std::vector<std::string> database_names() override {
    std::vector<std::string> result;
    for (const auto& database : storage_->databases) {
      result.push_back(database.name);
    }
    return result;
  }

  void hold(const std::string& database) override {
    const auto key = lower_cased(database);
    if (held_.count(key) != 0) {
      return;
    }
    if (storage_->held.count(key) != 0) {
      throw DatabaseHeld(database);
    }
    // Noted here first, so that nothing stays held that nobody lets go of.
    held_.insert(key);
    storage_->held.insert(key);
  }

  void release_all() noexcept override { release_held(); }

  std::string description(const std::string& database) override {
    return stored(database).description;
  }

  DatabaseSources sources(const std::string& database) override {
    DatabaseSources result;
    result.data_sources = reader(database, &DatabaseDefinition::data_sources);
    result.dimensions = reader(database, &DatabaseDefinition::dimensions);
    result.roles = reader(database, &DatabaseDefinition::roles);
    result.cubes = reader(database, &DatabaseDefinition::cubes);
    return result;
  }

  std::vector<std::string> dimensions_in_use(const std::string& database,
                                             OlapCubeKind kind) override {
    return importkcd::dimensions_in_use(stored(database), kind);
  }

  void apply(std::vector<DatabaseChanges> changes) override {
    for (auto& change : changes) {
      apply_changes(std::move(change), storage_->databases);
    }
  }

  bool keeps_copies() const override { return false; }
  std::vector<KeptCopy> kept_copies() override { fail_without_copies(); }
  RestoredDatabase restore(const std::string& /*database*/) override { fail_without_copies(); }

 private:
  [[noreturn]] static void fail_without_copies() {
    throw ImportError("'memory:' keeps no copies of databases", error_source::olap_server);
  }

  void release_held() {
    for (const auto& key : held_) {
      storage_->held.erase(key);
    }
    held_.clear();
  }

  template <class T>
  std::unique_ptr<ObjectSource<T>> reader(const std::string& database,
                                          NamedCollection<T> DatabaseDefinition::*collection) {
    return std::make_unique<StoredObjects<T>>(*storage_, database, collection);
  }

  const DatabaseDefinition& stored(const std::string& database) const {
    const auto* found = storage_->databases.find(database);
    if (found == nullptr) {
      throw ImportError("database '" + database + "' not found", error_source::olap_server);
    }
    return *found;
  }

  std::shared_ptr<MemoryStorage> storage_;
  /// Lower-cased names that this server holds.
  std::unordered_set<std::string> held_;
};

}  // namespace

std::shared_ptr<MemoryStorage> make_memory_store() { return std::make_shared<MemoryStorage>(); }

std::unique_ptr<WorkingCopyServer> make_memory_server() {
  return make_memory_server(make_memory_store());
}

std::unique_ptr<WorkingCopyServer> make_memory_server(std::shared_ptr<MemoryStorage> storage) {
  return std::make_unique<WorkingCopyServer>(std::make_shared<MemoryStore>(std::move(storage)));
}

}  // namespace importkcd
