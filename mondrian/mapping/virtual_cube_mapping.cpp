#include "mondrian/mapping/virtual_cube_mapping.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "base/name_folding.h"
#include "mondrian/mdx/mdx_scanner.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

const std::string& attribute(const XmlElement& element, std::string_view name) {
  static const std::string none;
  const auto found = std::find_if(element.attributes.begin(), element.attributes.end(),
                                  [name](const auto& entry) { return entry.first == name; });
  return found == element.attributes.end() ? none : found->second;
}

std::vector<std::string> source_path(const OlapMeasure& measure) {
  std::string_view text = measure.source_column;
  return take_mdx_path(text).value_or(std::vector<std::string>{});
}

/// The element of a measure or calculated measure of that name; null when the cube has none.
const XmlElement* find_measure(const MappedCube& cube, const std::string& name) {
  for (const auto* elements : {&cube.measures, &cube.calculated_members}) {
    for (const auto& element : *elements) {
      if (same_name(attribute(element, "name"), name)) {
        return &element;
      }
    }
  }
  return nullptr;
}

/// Collects the elements of a virtual cube, and the cubes that its measures come from.
class VirtualCubeMapper {
 public:
  VirtualCubeMapper(const OlapCube& cube, const FindMappedCube& find_cube,
                    const IsShared& is_shared)
      : cube_(cube), find_cube_(find_cube), is_shared_(is_shared) {}

  XmlElement element() {
    for (const auto& measure : cube_.measures) {
      take_measure(measure);
    }
    if (measures_.empty()) {
      throw NotExpressible("it has no measure");
    }
    auto element = text_element("VirtualCube", {});
    element.set("name", cube_.name).set_if_any("description", cube_.description);
    for (const auto& dimension : cube_.dimensions) {
      element.add(dimension_element(dimension.name));
    }
    for (auto* elements : {&measures_, &renamed_}) {
      for (auto& child : *elements) {
        element.add(std::move(child));
      }
    }
    return element;
  }

 private:
  void take_measure(const OlapMeasure& measure) {
    const auto path = source_path(measure);
    const auto cube_name = cube_of_virtual_measure(measure);
    const auto* base = cube_name.empty() ? nullptr : find_cube_(cube_name);
    if (base == nullptr) {
      throw NotExpressible("measure '" + measure.name + "' comes from " + measure.source_column +
                           ", and no cube of that name is published with it");
    }
    const auto* source = find_measure(*base, path.back());
    if (source == nullptr) {
      throw NotExpressible("measure '" + measure.name + "': cube '" + base->name +
                           "' has no measure '" + path.back() + "'");
    }
    note_base(*base);
    const auto& name = attribute(*source, "name");
    if (std::any_of(taken_.begin(), taken_.end(),
                    [&](const std::string& taken) { return same_name(taken, name); })) {
      throw NotExpressible("measure '" + measure.name + "': two measures of the name '" + name +
                           "' cannot be told apart");
    }
    taken_.push_back(name);
    const bool is_renamed = !same_name(name, measure.name);
    auto element = text_element("VirtualCubeMeasure", {});
    element.set("cubeName", base->name).set("name", mdx_path({measures_dimension, name}));
    const bool is_hidden = measure.internal || attribute(*source, "visible") == "false";
    if (is_hidden || is_renamed) {
      element.set("visible", "false");
    }
    measures_.push_back(std::move(element));
    if (is_renamed) {
      add_renamed(measure.name, name, is_hidden);
    }
  }

  /// The engine keeps the names of measures; another name is a formula.
  void add_renamed(const std::string& name, const std::string& source, bool is_hidden) {
    auto element = text_element("CalculatedMember", {});
    element.set("name", name).set("dimension", measures_dimension);
    if (is_hidden) {
      element.set("visible", "false");
    }
    element.add(text_element("Formula", mdx_path({measures_dimension, source})));
    renamed_.push_back(std::move(element));
  }

  void note_base(const MappedCube& base) {
    if (std::find(bases_.begin(), bases_.end(), &base) == bases_.end()) {
      bases_.push_back(&base);
    }
  }

  /// Of cubes that have a dimension in different forms, the one with the fewest levels gives it, so
  /// that every level means something in each.
  XmlElement dimension_element(const std::string& name) const {
    const MappedCube* narrowest = nullptr;
    const CubeDimensionMapping* chosen = nullptr;
    bool all_share = true;
    for (const auto* base : bases_) {
      const auto found = std::find_if(
          base->dimensions.begin(), base->dimensions.end(),
          [&](const CubeDimensionMapping& dimension) { return same_name(dimension.name, name); });
      if (found == base->dimensions.end()) {
        continue;
      }
      all_share = all_share && is_shared_(*base, found->name);
      if (chosen == nullptr || level_count(*found) < level_count(*chosen)) {
        narrowest = base;
        chosen = &*found;
      }
    }
    if (chosen == nullptr) {
      throw NotExpressible("no cube that its measures come from has the dimension '" + name + "'");
    }
    auto element = text_element("VirtualCubeDimension", {});
    element.set_if_any("cubeName", all_share ? std::string() : narrowest->name);
    element.set("name", chosen->name);
    return element;
  }

  static std::size_t level_count(const CubeDimensionMapping& dimension) {
    const auto& children = dimension.mapped.element.children.front().children;
    return static_cast<std::size_t>(
        std::count_if(children.begin(), children.end(),
                      [](const XmlElement& child) { return child.name == "Level"; }));
  }

  const OlapCube& cube_;
  const FindMappedCube& find_cube_;
  const IsShared& is_shared_;
  std::vector<const MappedCube*> bases_;
  std::vector<XmlElement> measures_;
  std::vector<XmlElement> renamed_;
  /// Names of measures that are in the virtual cube.
  std::vector<std::string> taken_;
};

}  // namespace

std::string cube_of_virtual_measure(const OlapMeasure& measure) {
  const auto path = source_path(measure);
  return path.size() > 1 ? path.front() : std::string();
}

XmlElement virtual_cube_element(const OlapCube& cube, const FindMappedCube& find_cube,
                                const IsShared& is_shared) {
  try {
    return VirtualCubeMapper(cube, find_cube, is_shared).element();
  } catch (const NotExpressible& error) {
    throw NotExpressible("Virtual cube '" + cube.name +
                         "' cannot be published: " + error.description());
  }
}

}  // namespace importkcd
