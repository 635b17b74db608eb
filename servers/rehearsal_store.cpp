#include "servers/rehearsal_store.h"

#include <algorithm>
#include <utility>

namespace importkcd {
namespace {

std::optional<DatabaseDefinition> copy_of(const DatabaseDefinition* database) {
  return database == nullptr ? std::nullopt : std::optional(*database);
}

}  // namespace

RehearsalStore::RehearsalStore(std::shared_ptr<OlapStore> target, RehearsalBase base)
    : target_(std::move(target)), base_(base) {}

std::optional<DatabaseDefinition> RehearsalStore::before(const std::string& database) {
  if (state_.touched.contains(database)) {
    return copy_of(state_.before.find(database));
  }
  const auto names = base_names();
  const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
    return same_name(name, database);
  });
  return found == names.end() ? std::nullopt : std::optional(stored_definition(*target_, *found));
}

std::optional<DatabaseDefinition> RehearsalStore::after(const std::string& database) {
  return state_.touched.contains(database) ? copy_of(state_.after.find(database))
                                           : before(database);
}

std::vector<std::string> RehearsalStore::database_names() {
  std::vector<std::string> result;
  for (auto& name : base_names()) {
    if (!state_.touched.contains(name)) {
      result.push_back(std::move(name));
    }
  }
  for (const auto& database : state_.after) {
    result.push_back(database.name);
  }
  return result;
}

void RehearsalStore::hold(const std::string& database) {
  if (held_name_.empty()) {
    held_name_ = database;
  }
}

std::string RehearsalStore::description(const std::string& database) {
  const auto* found = changed(database);
  return found == nullptr ? target_->description(database) : found->description;
}

DatabaseSources RehearsalStore::sources(const std::string& database) {
  const auto* found = changed(database);
  return found == nullptr ? target_->sources(database) : sources_of(*found);
}

std::vector<std::string> RehearsalStore::dimensions_in_use(const std::string& database,
                                                           OlapCubeKind kind) {
  const auto* found = changed(database);
  return found == nullptr ? target_->dimensions_in_use(database, kind)
                          : importkcd::dimensions_in_use(*found, kind);
}

void RehearsalStore::apply(std::vector<DatabaseChanges> changes) {
  const auto former = state_;
  try {
    std::vector<std::string> names;
    for (auto& change : changes) {
      names.push_back(change.name);
      take_over(std::move(change));
    }
    target_->look_at(*this, names);
  } catch (...) {
    state_ = former;
    throw;
  }
}

void RehearsalStore::take_over(DatabaseChanges change) {
  if (!state_.touched.contains(change.name)) {
    if (auto stored = before(change.name)) {
      state_.before.add(*stored);
      state_.after.add(std::move(*stored));
    }
    state_.touched.add({change.name, {}});
  }
  apply_changes(std::move(change), state_.after);
}

RestoredDatabase RehearsalStore::restore(const std::string& database) {
  throw ImportError("database '" + database + "' cannot be restored in a rehearsal",
                    error_source::olap_server);
}

std::vector<std::string> RehearsalStore::base_names() {
  return base_ == RehearsalBase::empty ? std::vector<std::string>{} : target_->database_names();
}

const DatabaseDefinition* RehearsalStore::changed(const std::string& database) const {
  return state_.after.find(database);
}

}  // namespace importkcd
