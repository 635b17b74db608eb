#include "servers/working_copy_server.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <utility>

// How it works. A run changes working copies (OlapDatabase), whose objects are read from the store
// when they are first asked for. Nothing that happens to a working copy is stored by itself: a
// write back puts the object, as it stands, into the DatabaseChanges of its database. That copy is
// cheap, because collections share their objects until one side is changed. What was written back
// twice is there once, as it stood last. finish() first settles what depends on the run as a whole
// (roles, which take effect without a write back; private dimensions whose place in a cube was
// never written back), then hands all changes to the store as one unit. A database that was removed
// leaves an entry without a working copy: the store removes it before it adds one that has the name
// again.

namespace importkcd {

/// A database that this run touched: its working copy, and what of it is to be stored.
struct WorkingCopyServer::OpenDatabase {
  DatabaseChanges changes;
  /// Null once the database was removed.
  std::unique_ptr<OlapDatabase> copy;
  /// Whether the store holds the database that the working copy was read from.
  bool stored = false;
  /// Lower-cased names of the dimensions that the stored cubes of a kind use; read when first
  /// asked.
  std::array<std::optional<std::unordered_set<std::string>>, 2> dimensions_in_use;
};

namespace {

[[noreturn]] void fail(const std::string& description) {
  throw ImportError(description, error_source::olap_server);
}

[[noreturn]] void refuse(const std::string& description) {
  throw LockRefused(description, error_source::olap_server);
}

/// Whether a database that is there afterwards differs from the stored one.
bool has_content(const DatabaseChanges& changes) {
  return changes.exists_afterwards &&
         (changes.description || !changes.removed_data_sources.empty() ||
          !changes.removed_dimensions.empty() || !changes.removed_roles.empty() ||
          !changes.removed_cubes.empty() || !changes.data_sources.empty() ||
          !changes.dimensions.empty() || !changes.roles.empty() || !changes.cubes.empty());
}

template <class T>
void take_out(NamedCollection<T>& written, std::vector<std::string>& removed,
              const std::string& name) {
  written.remove(name);
  removed.push_back(name);
}

/// Lets go of the held databases whatever becomes of storing.
class HeldNamesGuard {
 public:
  explicit HeldNamesGuard(OlapStore& store) : store_(store) {}
  ~HeldNamesGuard() { store_.release_all(); }
  HeldNamesGuard(const HeldNamesGuard&) = delete;
  HeldNamesGuard& operator=(const HeldNamesGuard&) = delete;

 private:
  OlapStore& store_;
};

}  // namespace

WorkingCopyServer::WorkingCopyServer(std::shared_ptr<OlapStore> store) : store_(std::move(store)) {}

WorkingCopyServer::~WorkingCopyServer() { store_->release_all(); }

std::shared_ptr<RehearsalStore> WorkingCopyServer::rehearse(RehearsalBase base) {
  auto rehearsal = std::make_shared<RehearsalStore>(store_, base);
  store_ = rehearsal;
  return rehearsal;
}

void WorkingCopyServer::connect(const std::string& /*machine*/) { store_->open(); }

std::vector<StoredObject> WorkingCopyServer::stored_objects() {
  std::vector<StoredObject> result;
  for (auto& name : store_->database_names()) {
    const auto* touched = find_opened(name);
    if (touched == nullptr || touched->stored) {
      result.push_back({OlapClassType::database, std::move(name)});
    }
  }
  for (const auto& touched : databases_) {
    if (touched->copy && !touched->stored) {
      result.push_back({OlapClassType::database, touched->copy->name()});
    }
  }
  return result;
}

void WorkingCopyServer::hold_database(const std::string& name) {
  constexpr std::chrono::milliseconds pause{50};
  const auto end = std::chrono::steady_clock::now() + longest_wait_;
  for (bool waits = false;; waits = true) {
    try {
      store_->hold(name);
      return;
    } catch (const DatabaseHeld&) {
      if (std::chrono::steady_clock::now() >= end) {
        throw;
      }
    }
    if (!waits && tell_waiting_) {
      tell_waiting_(name);
    }
    std::this_thread::sleep_for(pause);
  }
}

void WorkingCopyServer::wait_for_held_databases(
    std::chrono::seconds longest, const std::function<void(const std::string& name)>& tell) {
  longest_wait_ = longest;
  tell_waiting_ = tell;
}

OlapDatabase& WorkingCopyServer::open_database(const std::string& name) {
  auto* open = find_opened(name);
  if (open != nullptr && open->copy) {
    return *open->copy;
  }
  if (open != nullptr || !is_stored(name)) {
    fail("database '" + name + "' not found");
  }
  auto added = std::make_unique<OpenDatabase>();
  added->changes.name = name;
  added->stored = true;
  added->copy =
      std::make_unique<OlapDatabase>(name, store_->description(name), store_->sources(name));
  databases_.push_back(std::move(added));
  return *databases_.back()->copy;
}

OlapDatabase& WorkingCopyServer::add_database(const std::string& name) {
  auto* open = find_opened(name);
  check_new_name(name, open != nullptr ? open->copy != nullptr : is_stored(name));
  if (open == nullptr) {
    databases_.push_back(std::make_unique<OpenDatabase>());
    open = databases_.back().get();
  }
  open->changes.name = name;
  open->copy = std::make_unique<OlapDatabase>(name, std::string(), DatabaseSources{});
  return *open->copy;
}

void WorkingCopyServer::remove_database(const std::string& name) {
  open_database(name);
  auto& open = *find_opened(name);
  const bool removes_stored = open.stored || open.changes.removes_stored;
  open.changes = DatabaseChanges{};
  open.changes.name = name;
  open.changes.removes_stored = removes_stored;
  open.copy.reset();
  open.stored = false;
}

void WorkingCopyServer::write_back_database(OlapDatabase& database) {
  auto& open = opened(database);
  open.changes.exists_afterwards = true;
  open.changes.description = database.description;
  database.cubes().for_each_changed([&](OlapCube& cube) {
    if (cube.kind == OlapCubeKind::is_virtual) {
      write_back_cube(database, cube);
    }
  });
}

void WorkingCopyServer::write_back_data_source(OlapDatabase& database,
                                               OlapDataSource& data_source) {
  opened(database).changes.data_sources.put(data_source);
}

void WorkingCopyServer::write_back_dimension(OlapDatabase& database, OlapDimension& dimension) {
  opened(database).changes.dimensions.put(dimension);
}

void WorkingCopyServer::write_back_cube(OlapDatabase& database, OlapCube& cube) {
  restore_own_partition(cube);
  refresh_following_partitions(cube);
  auto& changes = opened(database).changes;
  for (const auto& name : database.take_released_dimensions(cube)) {
    take_out(changes.dimensions, changes.removed_dimensions, name);
  }
  changes.cubes.put(cube);
}

void WorkingCopyServer::write_back_partition(OlapDatabase& database, OlapCube& cube,
                                             OlapPartition& partition) {
  partition.follows_cube = false;
  auto* written = opened(database).changes.cubes.edit(cube.name);
  if (written == nullptr) {
    fail("cube '" + cube.name + "' was not written back before its partition");
  }
  written->partitions.put(partition);
}

void WorkingCopyServer::remove_object(OlapDatabase& database, OlapObjectKind kind,
                                      const std::string& name) {
  auto& changes = opened(database).changes;
  switch (kind) {
    case OlapObjectKind::data_source:
      database.data_sources().remove(name);
      take_out(changes.data_sources, changes.removed_data_sources, name);
      break;
    case OlapObjectKind::dimension:
      database.dimensions().remove(name);
      take_out(changes.dimensions, changes.removed_dimensions, name);
      break;
    case OlapObjectKind::role:
      database.roles().remove(name);
      take_out(changes.roles, changes.removed_roles, name);
      break;
    case OlapObjectKind::cube:
      for (const auto& dimension : database.remove_cube(name)) {
        take_out(changes.dimensions, changes.removed_dimensions, dimension);
      }
      take_out(changes.cubes, changes.removed_cubes, name);
      break;
  }
}

void WorkingCopyServer::lock_dimension(OlapDatabase& database, const OlapDimension& dimension) {
  if (uses_dimension(opened(database), OlapCubeKind::regular, dimension.name)) {
    refuse("dimension '" + dimension.name + "' is used in a cube");
  }
}

void WorkingCopyServer::lock_levels(OlapDatabase& database, const OlapDimension& dimension) {
  lock_dimension(database, dimension);
  if (uses_dimension(opened(database), OlapCubeKind::is_virtual, dimension.name)) {
    refuse("dimension '" + dimension.name + "' is used in a virtual cube");
  }
}

void WorkingCopyServer::lock_cube(OlapDatabase& /*database*/, const OlapCube& /*cube*/) {}

void WorkingCopyServer::remove_first(OlapDatabase& database, OlapCube& cube,
                                     OlapCubeContent content) {
  database.remove_first(cube, content);
}

bool WorkingCopyServer::structure_is_valid(OlapDatabase& database, const OlapCube& cube) {
  const bool complete = !cube.data_source.empty() && !cube.fact_table.empty() &&
                        !cube.dimensions.empty() && !cube.measures.empty();
  return complete && std::all_of(cube.dimensions.begin(), cube.dimensions.end(),
                                 [&](const OlapCubeDimension& dimension) {
                                   return database.dimensions().contains(dimension.name);
                                 });
}

bool WorkingCopyServer::keep_former_databases() {
  keeps_former_ = store_->keeps_copies();
  return keeps_former_;
}

void WorkingCopyServer::finish() {
  std::vector<DatabaseChanges> changes;
  for (auto& open : databases_) {
    if (open->copy && (open->stored || open->changes.exists_afterwards)) {
      open->changes.exists_afterwards = true;
      take_over_roles(*open);
      drop_displaced_dimensions(*open);
    }
    if (open->changes.removes_stored || has_content(open->changes)) {
      open->changes.keeps_former = keeps_former_ && !open->changes.removes_stored;
      changes.push_back(std::move(open->changes));
    }
  }
  databases_.clear();
  const HeldNamesGuard let_go(*store_);
  if (!changes.empty()) {
    store_->apply(std::move(changes));
  }
}

WorkingCopyServer::OpenDatabase& WorkingCopyServer::opened(OlapDatabase& database) {
  const auto found = std::find_if(databases_.begin(), databases_.end(),
                                  [&](const auto& open) { return open->copy.get() == &database; });
  if (found == databases_.end()) {
    fail("database '" + database.name() + "' is not open on this server");
  }
  return **found;
}

WorkingCopyServer::OpenDatabase* WorkingCopyServer::find_opened(const std::string& name) {
  const auto found = std::find_if(databases_.begin(), databases_.end(), [&](const auto& open) {
    return same_name(open->changes.name, name);
  });
  return found == databases_.end() ? nullptr : found->get();
}

bool WorkingCopyServer::is_stored(const std::string& name) {
  const auto names = store_->database_names();
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& stored) { return same_name(stored, name); });
}

bool WorkingCopyServer::uses_dimension(OpenDatabase& open, OlapCubeKind kind,
                                       const std::string& dimension) {
  auto& in_use = open.dimensions_in_use.at(static_cast<std::size_t>(kind));
  if (!in_use) {
    // Kept only when it is whole: after an error the next check reads it again.
    std::unordered_set<std::string> names;
    for (const auto& name : open.stored ? store_->dimensions_in_use(open.copy->name(), kind)
                                        : std::vector<std::string>{}) {
      names.insert(lower_cased(name));
    }
    in_use = std::move(names);
  }
  bool used = in_use->count(lower_cased(dimension)) != 0;
  open.copy->cubes().for_each_changed([&](const OlapCube& cube) {
    used = used || (cube.kind == kind && cube.dimensions.contains(dimension));
  });
  return used;
}

/// Roles take effect when they are set, without a write back of their own.
void WorkingCopyServer::take_over_roles(OpenDatabase& open) {
  open.copy->roles().for_each_changed([&](const OlapRole& role) { open.changes.roles.put(role); });
}

/// A private dimension is stored only together with its place in its cube.
void WorkingCopyServer::drop_displaced_dimensions(OpenDatabase& open) {
  auto& changes = open.changes;
  std::vector<std::string> displaced;
  for (const auto& dimension : changes.dimensions) {
    if (dimension.kind == OlapDimensionKind::is_private) {
      const auto* owner = changes.cubes.find(dimension.owner_cube);
      if (owner == nullptr || !owner->dimensions.contains(dimension.name)) {
        displaced.push_back(dimension.name);
      }
    }
  }
  changes.dimensions.remove_all(displaced);
}

}  // namespace importkcd
