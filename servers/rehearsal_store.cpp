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
  if (touched_.contains(database)) {
    return copy_of(before_.find(database));
  }
  const auto names = base_names();
  const auto found = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
    return same_name(name, database);
  });
  return found == names.end() ? std::nullopt : std::optional(stored_definition(*target_, *found));
}

std::optional<DatabaseDefinition> RehearsalStore::after(const std::string& database) {
  return touched_.contains(database) ? copy_of(after_.find(database)) : before(database);
}

std::vector<std::string> RehearsalStore::database_names() {
  std::vector<std::string> result;
  for (auto& name : base_names()) {
    if (!touched_.contains(name)) {
      result.push_back(std::move(name));
    }
  }
  for (const auto& database : after_) {
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
  std::vector<std::string> names;
  for (auto& change : changes) {
    names.push_back(change.name);
    if (!touched_.contains(change.name)) {
      if (auto stored = before(change.name)) {
        before_.add(*stored);
        after_.add(std::move(*stored));
      }
      touched_.add({change.name, {}});
    }
    apply_changes(std::move(change), after_);
  }
  target_->look_at(*this, names);
}

RestoredDatabase RehearsalStore::restore(const std::string& database) {
  throw ImportError("database '" + database + "' cannot be restored in a rehearsal",
                    error_source::olap_server);
}

std::vector<std::string> RehearsalStore::base_names() {
  return base_ == RehearsalBase::empty ? std::vector<std::string>{} : target_->database_names();
}

const DatabaseDefinition* RehearsalStore::changed(const std::string& database) const {
  return after_.find(database);
}

}  // namespace importkcd
