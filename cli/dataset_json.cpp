#include "cli/dataset_json.h"

#include <cmath>
#include <cstdint>
#include <string_view>

#include "base/numbers.h"

namespace importkcd {
namespace {

using Json = nlohmann::ordered_json;

bool is_text_type(std::string_view type) {
  return type.empty() || type.ends_with("string") || type.ends_with("dateTime") ||
         type.ends_with("date");
}

Json value_of(const DatasetCell& cell) {
  if (cell.type.ends_with("boolean")) {
    return cell.value == "true" || cell.value == "1";
  }
  if (!is_text_type(cell.type)) {
    if (const auto whole = exact_number<std::int64_t>(cell.value)) {
      return *whole;
    }
    // JSON has no word for infinity.
    const auto number = exact_number<double>(cell.value);
    if (number && std::isfinite(*number)) {
      return *number;
    }
  }
  return cell.value;
}

Json json_of(const DatasetMember& member) {
  Json properties = Json::object();
  for (const auto& [name, value] : member.properties) {
    properties[name] = value;
  }
  return {{"hierarchy", member.hierarchy},
          {"unique_name", member.unique_name},
          {"caption", member.caption},
          {"level", member.level},
          {"properties", std::move(properties)}};
}

Json json_of(const DatasetTuple& tuple) {
  Json members = Json::array();
  for (const auto& member : tuple) {
    members.push_back(json_of(member));
  }
  return members;
}

Json json_of(const DatasetAxis& axis) {
  Json hierarchies = Json::array();
  for (const auto& hierarchy : axis.hierarchies) {
    hierarchies.push_back(hierarchy.name);
  }
  Json tuples = Json::array();
  for (const auto& tuple : axis.tuples) {
    tuples.push_back(json_of(tuple));
  }
  return {
      {"name", axis.name}, {"hierarchies", std::move(hierarchies)}, {"tuples", std::move(tuples)}};
}

}  // namespace

Json to_json(const Dataset& dataset) {
  Json axes = Json::array();
  for (const auto& axis : dataset.axes) {
    axes.push_back(json_of(axis));
  }
  Json cells = Json::array();
  for (const auto& [ordinal, cell] : dataset.cells) {
    cells.push_back(
        {{"ordinal", ordinal}, {"value", value_of(cell)}, {"formatted", cell.formatted}});
  }
  return {{"cube", dataset.cube},
          {"axes", std::move(axes)},
          {"slicer", json_of(dataset.slicer)},
          {"cells", std::move(cells)}};
}

}  // namespace importkcd
