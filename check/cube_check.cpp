#include "check/cube_check.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/apostrophes.h"
#include "base/name_folding.h"
#include "model/vocabularies.h"

namespace importkcd {
namespace {

/// A dimension as a cube has it.
struct DimensionOfCube {
  /// Null when they are not known, because the dimension has a fault.
  const NameTable* levels = nullptr;
  /// Lower-cased names of the levels that the cube does not use.
  std::vector<std::string> disabled;
};

bool has(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// The check of one cube.
class CubeCheck {
 public:
  CubeCheck(ElementCheck& check, KnownObjects& known) : check_(check), known_(known) {}

  void run(const Place& cube);

 private:
  void check_dimension(const Place& dimension);
  void check_private_dimension(const Place& dimension);
  void check_dimension_reference(const Place& reference);
  void check_level_reference(const Place& level, DimensionOfCube& dimension);
  void check_measures(const Place& measures);
  void check_calculated_member(const Place& member);
  void check_partition(const Place& partition);
  void check_partition_dimension(const Place& dimension);
  void check_partition_level(Place level, const DimensionOfCube* dimension);
  void check_whole(const Place& cube);
  /// `dimension` is null for one with a fault, which no other finding follows from.
  DimensionOfCube& use_dimension(std::string_view name, const KnownDimension* dimension);

  ElementCheck& check_;
  KnownObjects& known_;
  /// Whether the cube is built at all; a second one of its name is not.
  bool is_built_ = true;
  /// By lower-cased names.
  std::unordered_map<std::string, DimensionOfCube> dimensions_;
  NameTable measures_;
  NameTable calculated_members_;
  NameTable partitions_;
};

void CubeCheck::run(const Place& place) {
  const bool has_name = !place.element.attribute("name").value_or("").empty();
  is_built_ = check_.take_name(place, known_.cubes, Repeated::is_ignored) || !has_name;
  Place cube = place;
  cube.fails = is_built_;
  check_.check(cube);
  check_.check_reference(cube, "data_source", "data source", known_.data_sources);
  with_child(cube, ElementKind::cube_dimensions, [&](const Place& dimensions) {
    check_.check(dimensions);
    for_each_child(dimensions, [&](const Place& dimension) { check_dimension(dimension); });
  });
  with_child(cube, ElementKind::cube_measures,
             [&](const Place& measures) { check_measures(measures); });
  with_child(cube, ElementKind::cube_calculated_members, [&](const Place& members) {
    check_.check(members);
    for_each_child(members, [&](const Place& member) { check_calculated_member(member); });
  });
  with_child(cube, ElementKind::cube_partitions, [&](const Place& partitions) {
    check_.check(partitions);
    for_each_child(partitions, [&](const Place& partition) { check_partition(partition); });
  });
  with_child(cube, ElementKind::cube_roles,
             [&](const Place& roles) { check_cube_roles(check_, known_, roles); });
  check_whole(cube);
}

void CubeCheck::check_dimension(const Place& dimension) {
  check_.check(dimension);
  if (dimension.format.kind == ElementKind::cube_dimension) {
    check_private_dimension(dimension);
  } else {
    check_dimension_reference(dimension);
  }
}

void CubeCheck::check_private_dimension(const Place& dimension) {
  check_.check_reference(dimension, "data_source", "data source", known_.data_sources);
  NameTable levels;
  with_child(dimension, ElementKind::cube_levels,
             [&](const Place& place) { levels = check_levels(check_, place); });
  const auto name = check_.name_of(dimension);
  if (name.empty()) {
    return;
  }
  if (const auto* taken = known_.dimension(name)) {
    check_.report(dimension, rule::duplicate_name,
                  "the name of this cube's own dimension is taken by the dimension in line " +
                      std::to_string(taken->position.line));
    use_dimension(name, nullptr);
    return;
  }
  if (is_built_) {
    const auto added = known_.dimensions.emplace(
        lower_cased(name), KnownDimension{name, dimension.element.position(), std::move(levels)});
    use_dimension(name, &added.first->second);
  }
}

DimensionOfCube& CubeCheck::use_dimension(std::string_view name, const KnownDimension* dimension) {
  const auto* levels = dimension == nullptr ? nullptr : &dimension->levels;
  return dimensions_.emplace(lower_cased(name), DimensionOfCube{levels, {}}).first->second;
}

void CubeCheck::check_dimension_reference(const Place& reference) {
  const auto name = check_.plain_name_of(reference);
  const auto* known = known_.dimension(name);
  if (known == nullptr && reference.element.attribute("name")) {
    check_.report(reference, rule::unknown_reference,
                  "dimension " + quoted(name) + " is not in the document" +
                      known_.dimension_did_you_mean(name));
  } else if (dimensions_.count(lower_cased(name)) != 0) {
    check_.report(reference, rule::duplicate_name,
                  "the cube has the dimension " + quoted(name) + " already");
  }
  auto& dimension = use_dimension(name, known);
  with_child(reference, ElementKind::cube_levels_reference, [&](const Place& levels) {
    NameTable names;
    check_.check(levels);
    for_each_child(levels, [&](const Place& level) {
      check_.check(level);
      // An import goes from the last one to the first one, which has the last word.
      if (check_.take_name(level, names, Repeated::is_ignored)) {
        check_level_reference(level, dimension);
      }
    });
  });
}

void CubeCheck::check_level_reference(const Place& level, DimensionOfCube& dimension) {
  const auto name = check_.plain_name_of(level);
  if (dimension.levels == nullptr || name == "(All)") {
    return;
  }
  if (dimension.levels->find(name) == nullptr) {
    check_.report(
        level, rule::unknown_reference,
        "the dimension has no level " + quoted(name) + dimension.levels->did_you_mean(name));
  } else if (boolean(level.element.attribute("disabled"))) {
    dimension.disabled.push_back(lower_cased(name));
  }
}

/// An import passes over faults in measures; one that has a name is there nevertheless.
void CubeCheck::check_measures(const Place& measures) {
  check_.check(measures);
  for_each_child(measures, [&](Place measure) {
    measure.fails = false;
    check_.check(measure);
    check_.take_name(measure, measures_, Repeated::is_ignored);
  });
}

void CubeCheck::check_calculated_member(const Place& place) {
  constexpr std::string_view separator = " AS ";
  auto member = place;
  member.fails = false;
  check_.check(member);
  check_.take_name(member, calculated_members_, Repeated::is_ignored);
  const auto statement = member.element.attribute("statement");
  if (!statement) {
    return;
  }
  const auto at = statement->find(separator);
  if (at == std::string_view::npos) {
    check_.warn(member, rule::bad_statement,
                "the statement has no ' AS ' (in capitals, between blanks), so that the calculated "
                "member is left out");
  } else if (statement->find(separator, at + separator.size()) != std::string_view::npos) {
    check_.warn(member, rule::bad_statement,
                "the statement has a second ' AS ', from which on it is cut off");
  }
}

void CubeCheck::check_partition(const Place& partition) {
  check_.check(partition);
  check_.take_name(partition, partitions_, Repeated::is_set_again);
  check_.check_reference(partition, "datasource", "data source", known_.data_sources);
  with_child(partition, ElementKind::partition_dimensions, [&](const Place& dimensions) {
    check_.check(dimensions);
    for_each_child(dimensions,
                   [&](const Place& dimension) { check_partition_dimension(dimension); });
  });
}

void CubeCheck::check_partition_dimension(const Place& place) {
  check_.check(place);
  const auto name = check_.plain_name_of(place);
  const auto found = dimensions_.find(lower_cased(name));
  const auto* dimension = found == dimensions_.end() ? nullptr : &found->second;
  if (dimension == nullptr && place.element.attribute("name")) {
    check_.report(place, rule::unknown_reference, "the cube has no dimension " + quoted(name));
  }
  with_child(place, ElementKind::partition_levels, [&](const Place& levels) {
    check_.check(levels);
    for_each_child(levels, [&](const Place& level) { check_partition_level(level, dimension); });
  });
}

void CubeCheck::check_partition_level(Place level, const DimensionOfCube* dimension) {
  const auto* known = dimension == nullptr ? nullptr : dimension->levels;
  const auto name = check_.plain_name_of(level);
  if (known != nullptr && known->find(name) == nullptr && level.element.attribute("name")) {
    check_.report(level, rule::unknown_reference,
                  "the dimension has no level " + quoted(name) + known->did_you_mean(name));
  } else if (dimension != nullptr && has(dimension->disabled, lower_cased(name))) {
    check_.warn(level, rule::unknown_reference,
                "the cube does not use this level, so that its slice is ignored");
    // Nothing else is read of it.
    level.fails = false;
  }
  check_.check(level);
}

void CubeCheck::check_whole(const Place& cube) {
  if (cube.element.attribute("fact_table") == "") {
    check_.report(cube, rule::invalid_cube, "the cube has no fact table");
  }
  with_child(cube, ElementKind::cube_dimensions, [&](const Place& dimensions) {
    // One with a fault counts as well: that has been reported.
    bool has_dimensions = false;
    for_each_child(dimensions, [&](const Place&) { has_dimensions = true; });
    if (!has_dimensions) {
      check_.report(cube, rule::invalid_cube, "the cube has no dimension");
    }
  });
  if (measures_.size() == 0 && child_of_kind(cube.element, ElementKind::cube_measures) != nullptr) {
    check_.report(cube, rule::invalid_cube, "the cube has no measure");
  }
  if (known_.keeps_measures && is_built_) {
    auto& names = known_.measures[lower_cased(check_.plain_name_of(cube))];
    names = std::move(measures_);
    names.add_all(calculated_members_);
  }
}

}  // namespace

const KnownDimension* KnownObjects::dimension(std::string_view name) const {
  const auto found = dimensions.find(lower_cased(name));
  return found == dimensions.end() ? nullptr : &found->second;
}

std::string KnownObjects::dimension_did_you_mean(std::string_view name) const {
  NameTable names;
  constexpr std::size_t most_names = 1000;
  for (const auto& [folded, known] : dimensions) {
    if (names.size() > most_names) {
      break;
    }
    names.add(known.name, known.position);
  }
  return names.did_you_mean(name);
}

void check_cube(ElementCheck& check, KnownObjects& known, const Place& cube) {
  CubeCheck(check, known).run(cube);
}

void check_cube_roles(ElementCheck& check, const KnownObjects& known, const Place& cube_roles) {
  check.check(cube_roles);
  NameTable names;
  for_each_child(cube_roles, [&](Place role) {
    const auto text = role.element.attribute("name");
    const auto name = DecodeApostrophes(text.value_or(""));
    // Of a second role of a name nothing but the name is read.
    const bool is_built = role.fails;
    role.fails = is_built && names.find(name) == nullptr;
    check.check(role);
    check.take_name(role, names, Repeated::is_ignored);
    if (!name.empty() && known.roles.find(name) == nullptr) {
      check.warn(
          role, rule::unknown_reference,
          "role " + quoted(name) + " is not in the document" + known.roles.did_you_mean(name));
    }
  });
}

NameTable check_levels(ElementCheck& check, const Place& levels) {
  NameTable names;
  check.check(levels);
  for_each_child(levels, [&](const Place& level) {
    check.check(level);
    check.take_name(level, names, Repeated::fails);
    NameTable properties;
    for_each_child(level, [&](const Place& collection) {
      check.check(collection);
      for_each_child(collection, [&](const Place& property) {
        check.check(property);
        check.take_name(property, properties, Repeated::fails);
      });
    });
  });
  return names;
}

}  // namespace importkcd
