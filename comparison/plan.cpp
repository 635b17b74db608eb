#include "comparison/plan.h"

#include <algorithm>

#include "model/definition_fields.h"

namespace importkcd {
namespace {

using Action = PlannedObject::Action;

/// The parts of a new object; custom properties and permissions tell little by their number.
template <class Object>
std::vector<std::pair<std::string_view, std::size_t>> contents_of(const Object& object) {
  std::vector<std::pair<std::string_view, std::size_t>> result;
  visit_parts(object, [&](std::string_view kind, const auto& parts) {
    if (!parts.empty() && kind != "custom property" && kind != "permission") {
      result.emplace_back(kind, parts.size());
    }
  });
  return result;
}

bool is_object_of_its_own(const DatabaseDefinition& database, const OlapDimension& dimension) {
  return !belongs_to_cube(database, dimension);
}
template <class Object>
bool is_object_of_its_own(const DatabaseDefinition& /*database*/, const Object& /*object*/) {
  return true;
}

std::vector<Difference> compare_in(const DatabaseDefinition& database_before,
                                   const OlapCube& before, const DatabaseDefinition& database_after,
                                   const OlapCube& after) {
  return compare_whole_cubes(database_before, before, database_after, after);
}
template <class Object>
std::vector<Difference> compare_in(const DatabaseDefinition& /*database_before*/,
                                   const Object& before,
                                   const DatabaseDefinition& /*database_after*/,
                                   const Object& after) {
  return compare(before, after);
}

/// Whether a run in update mode had to leave a dimension alone, because a cube uses it.
bool is_in_use(const DatabaseDefinition& database, const OlapDimension& dimension) {
  return std::any_of(database.cubes.begin(), database.cubes.end(), [&](const OlapCube& cube) {
    return cube.dimensions.contains(dimension.name);
  });
}
template <class Object>
bool is_in_use(const DatabaseDefinition& /*database*/, const Object& /*object*/) {
  return false;
}

class Planner {
 public:
  Planner(const DatabaseDefinition* before, const DatabaseDefinition* after,
          const DocumentContent& document)
      : before_(before), after_(after), document_(document) {}

  Plan plan() {
    add_database();
    add_kind("data source", &DatabaseDefinition::data_sources);
    add_kind("dimension", &DatabaseDefinition::dimensions);
    add_kind("role", &DatabaseDefinition::roles);
    add_kind("cube", &DatabaseDefinition::cubes);
    return std::move(plan_);
  }

 private:
  void add_database() {
    if (before_ == nullptr && after_ != nullptr) {
      plan_.objects.push_back({Action::create, "database", after_->name});
    } else if (before_ != nullptr && after_ == nullptr) {
      plan_.objects.push_back({Action::remove, "database", before_->name});
    } else if (before_ != nullptr) {
      add_description();
    }
  }

  void add_description() {
    if (before_->description != after_->description) {
      add({Action::change, "database", before_->name},
          {description_difference(before_->description, after_->description)});
    } else if (document_.definition != nullptr &&
               after_->description != document_.definition->description) {
      add({Action::keep, "database", before_->name, {}, reason(false)},
          {description_difference(after_->description, document_.definition->description)});
    }
  }

  static Difference description_difference(const std::string& before, const std::string& after) {
    return {Difference::Kind::changed, {}, "description", before, after};
  }

  template <class Object>
  void add_kind(std::string_view kind, NamedCollection<Object> DatabaseDefinition::*collection) {
    static const DatabaseDefinition nothing;
    const auto& before = before_ == nullptr ? nothing : *before_;
    const auto& after = after_ == nullptr ? nothing : *after_;
    const auto find = [&](const DatabaseDefinition& database, const Object& object) {
      const auto* found = (database.*collection).find(object.name);
      return found != nullptr && is_object_of_its_own(database, *found) ? found : nullptr;
    };
    for (const auto& object : before.*collection) {
      if (!is_object_of_its_own(before, object)) {
        continue;
      }
      if (const auto* changed = find(after, object)) {
        add_stored(kind, collection, object, *changed);
      } else {
        plan_.objects.push_back({Action::remove, kind, object.name});
      }
    }
    for (const auto& object : after.*collection) {
      if (is_object_of_its_own(after, object) && find(before, object) == nullptr) {
        plan_.objects.push_back({Action::create, kind, object.name, contents_of(object)});
      }
    }
  }

  /// An object that is there before and afterwards.
  template <class Object>
  void add_stored(std::string_view kind, NamedCollection<Object> DatabaseDefinition::*collection,
                  const Object& before, const Object& after) {
    auto differences = compare_in(*before_, before, *after_, after);
    if (!differences.empty()) {
      add({Action::change, kind, before.name}, std::move(differences));
      return;
    }
    const auto* said = document_.definition == nullptr
                           ? nullptr
                           : (document_.definition->*collection).find(after.name);
    if (said == nullptr) {
      return;
    }
    differences = compare_in(*after_, after, *document_.definition, *said);
    if (!differences.empty()) {
      add({Action::keep, kind, before.name, {}, reason(is_in_use(*after_, after))},
          std::move(differences));
    }
  }

  std::string reason(bool in_use) const {
    return (in_use && document_.mode == "update" ? "in use" : "exists") +
           (", mode is " + std::string(document_.mode));
  }

  void add(PlannedObject object, std::vector<Difference> differences) {
    object.differences = std::move(differences);
    plan_.objects.push_back(std::move(object));
  }

  const DatabaseDefinition* before_;
  const DatabaseDefinition* after_;
  DocumentContent document_;
  Plan plan_;
};

/// What a private dimension says about itself is said about its place in the cube.
void add_differences_of(const PartName& dimension, std::vector<Difference> differences,
                        std::vector<Difference>& result) {
  for (auto& difference : differences) {
    difference.path.insert(difference.path.begin(), dimension);
    // The cube's copy of a level changes as the level does.
    if (std::find(result.begin(), result.end(), difference) == result.end()) {
      result.push_back(std::move(difference));
    }
  }
}

const OlapDimension* find_named(const std::vector<const OlapDimension*>& dimensions,
                                const std::string& name) {
  const auto found = std::find_if(
      dimensions.begin(), dimensions.end(),
      [&](const OlapDimension* dimension) { return same_name(dimension->name, name); });
  return found == dimensions.end() ? nullptr : *found;
}

}  // namespace

std::size_t Plan::count(PlannedObject::Action action) const {
  return static_cast<std::size_t>(
      std::count_if(objects.begin(), objects.end(),
                    [action](const PlannedObject& object) { return object.action == action; }));
}

bool Plan::changes_anything() const { return count(PlannedObject::Action::keep) != objects.size(); }

Plan compare_databases(const DatabaseDefinition* before, const DatabaseDefinition* after,
                       const DocumentContent& document) {
  return Planner(before, after, document).plan();
}

std::vector<const OlapDimension*> private_dimensions(const DatabaseDefinition& database,
                                                     const OlapCube& cube) {
  std::vector<const OlapDimension*> result;
  for (const auto& place : cube.dimensions) {
    const auto* dimension = database.dimensions.find(place.name);
    if (dimension != nullptr && dimension->kind == OlapDimensionKind::is_private &&
        same_name(dimension->owner_cube, cube.name)) {
      result.push_back(dimension);
    }
  }
  return result;
}

bool belongs_to_cube(const DatabaseDefinition& database, const OlapDimension& dimension) {
  if (dimension.kind != OlapDimensionKind::is_private) {
    return false;
  }
  const auto* owner = database.cubes.find(dimension.owner_cube);
  return owner != nullptr && owner->dimensions.contains(dimension.name);
}

std::vector<Difference> compare_whole_cubes(const DatabaseDefinition& database_before,
                                            const OlapCube& before,
                                            const DatabaseDefinition& database_after,
                                            const OlapCube& after) {
  auto result = compare(before, after);
  const auto dimensions_before = private_dimensions(database_before, before);
  const auto dimensions_after = private_dimensions(database_after, after);
  const auto add_alone = [&](const OlapDimension& dimension, Difference::Kind kind) {
    add_differences_of({"dimension", dimension.name}, {{kind, {}, {}, {}, {}}}, result);
  };
  for (const auto* dimension : dimensions_before) {
    if (const auto* changed = find_named(dimensions_after, dimension->name)) {
      add_differences_of({"dimension", dimension->name}, compare(*dimension, *changed), result);
    } else if (after.dimensions.contains(dimension->name)) {
      // It is still there, but as another kind of dimension.
      add_alone(*dimension, Difference::Kind::removed);
    }
  }
  for (const auto* dimension : dimensions_after) {
    if (find_named(dimensions_before, dimension->name) == nullptr &&
        before.dimensions.contains(dimension->name)) {
      add_alone(*dimension, Difference::Kind::added);
    }
  }
  return result;
}

}  // namespace importkcd
