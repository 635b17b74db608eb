#include "servers/database_definition.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace importkcd {
namespace {

template <class T>
class DefinitionSource : public ObjectSource<T> {
 public:
  explicit DefinitionSource(NamedCollection<T> objects) : objects_(std::move(objects)) {}

  bool contains(std::string_view name) override { return objects_.contains(name); }

  std::optional<T> load(std::string_view name) override {
    const T* found = objects_.find(name);
    return found == nullptr ? std::nullopt : std::optional<T>(*found);
  }

  std::vector<std::string> names() override {
    std::vector<std::string> result;
    result.reserve(objects_.size());
    for (const auto& object : objects_) {
      result.push_back(object.name);
    }
    return result;
  }

 private:
  NamedCollection<T> objects_;
};

template <class T>
std::unique_ptr<ObjectSource<T>> source_of(const NamedCollection<T>& objects) {
  return std::make_unique<DefinitionSource<T>>(objects);
}

template <class T>
NamedCollection<T> all_of(DatabaseObjects<T>& objects) {
  NamedCollection<T> result;
  for (const auto& name : objects.names()) {
    if (const T* object = objects.find(name)) {
      result.add(*object);
    }
  }
  return result;
}

template <class T>
void take_over(NamedCollection<T>& objects, const std::vector<std::string>& removed,
               NamedCollection<T>&& written) {
  objects.remove_all(removed);
  objects.put_all(std::move(written));
}

}  // namespace

DatabaseDefinition definition_of(OlapDatabase& database) {
  return {database.name(),
          database.description,
          all_of(database.data_sources()),
          all_of(database.dimensions()),
          all_of(database.roles()),
          all_of(database.cubes())};
}

DatabaseDefinition stored_definition(OlapStore& store, const std::string& database) {
  OlapDatabase copy(database, store.description(database), store.sources(database));
  return definition_of(copy);
}

DatabaseSources sources_of(const DatabaseDefinition& database) {
  DatabaseSources result;
  result.data_sources = source_of(database.data_sources);
  result.dimensions = source_of(database.dimensions);
  result.roles = source_of(database.roles);
  result.cubes = source_of(database.cubes);
  return result;
}

std::vector<std::string> dimensions_in_use(const DatabaseDefinition& database, OlapCubeKind kind) {
  NamedCollection<OlapProperty> used;
  for (const auto& cube : database.cubes) {
    if (cube.kind == kind) {
      for (const auto& dimension : cube.dimensions) {
        used.put({dimension.name, {}});
      }
    }
  }
  std::vector<std::string> result;
  for (const auto& dimension : used) {
    result.push_back(dimension.name);
  }
  return result;
}

void apply_changes(DatabaseChanges changes, NamedCollection<DatabaseDefinition>& databases) {
  if (changes.removes_stored) {
    databases.remove(changes.name);
  }
  if (!changes.exists_afterwards) {
    return;
  }
  auto& database = databases.edit_or_add(changes.name);
  database.description = changes.description.value_or(database.description);
  take_over(database.data_sources, changes.removed_data_sources, std::move(changes.data_sources));
  take_over(database.dimensions, changes.removed_dimensions, std::move(changes.dimensions));
  take_over(database.roles, changes.removed_roles, std::move(changes.roles));
  take_over(database.cubes, changes.removed_cubes, std::move(changes.cubes));
}

}  // namespace importkcd
