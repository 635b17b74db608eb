#include "xmla/dataset.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <unordered_map>

#include "base/import_error.h"
#include "base/numbers.h"
#include "base/quoting.h"
#include "xmla/http_post.h"

namespace importkcd {
namespace {

constexpr std::string_view slicer_axis = "SlicerAxis";

/// What every member comes with; any other element is a member property.
constexpr std::array<std::string_view, 5> standard_elements{"UName", "Caption", "LName", "LNum",
                                                            "DisplayInfo"};

[[noreturn]] void refuse_data_set(const std::string& reason) {
  throw ImportError("the answer is no data set: " + reason, error_source::xmla_server);
}

const XmlElement& required(const XmlElement& parent, std::string_view name) {
  const auto* const found = parent.child(name);
  if (found == nullptr) {
    refuse_data_set("no " + std::string(name) + " in " + parent.name);
  }
  return *found;
}

bool is_standard(std::string_view element) {
  return std::find(standard_elements.begin(), standard_elements.end(), element) !=
         standard_elements.end();
}

/// "[Store].[Floor Area]" -> "Floor Area"; a name without brackets stays as it is.
std::string last_part(std::string_view name) {
  if (!name.ends_with(']')) {
    return std::string(name);
  }
  const auto start = name.rfind(".[");
  const auto from = start == std::string_view::npos ? name.find('[') + 1 : start + 2;
  return undoubled(name.substr(from, name.size() - 1 - from), ']');
}

/// What the answer says beforehand about an axis.
struct AxisDescription {
  std::vector<DatasetHierarchy> hierarchies;
  /// Hierarchy -> element of a member -> name of the property.
  std::unordered_map<std::string, std::unordered_map<std::string, std::string>> properties;
};

AxisDescription description_of(const XmlElement& axis_info) {
  AxisDescription result;
  for (const auto& info : axis_info.children) {
    if (info.name != "HierarchyInfo") {
      continue;
    }
    DatasetHierarchy hierarchy;
    hierarchy.name = info.attribute("name");
    for (const auto& element : info.children) {
      if (!is_standard(element.name)) {
        auto name = last_part(element.attribute("name"));
        result.properties[hierarchy.name][element.name] = name;
        hierarchy.properties.push_back(std::move(name));
      }
    }
    result.hierarchies.push_back(std::move(hierarchy));
  }
  return result;
}

DatasetMember read_member(const XmlElement& element, const AxisDescription& description) {
  DatasetMember member;
  member.hierarchy = element.attribute("Hierarchy");
  member.unique_name = element.child_text("UName");
  member.caption = element.child_text("Caption");
  member.level = element.child_text("LName");
  const auto names = description.properties.find(member.hierarchy);
  for (const auto& property : element.children) {
    if (is_standard(property.name) || names == description.properties.end()) {
      continue;
    }
    const auto name = names->second.find(property.name);
    if (name != names->second.end()) {
      member.properties.emplace_back(name->second, property.text);
    }
  }
  return member;
}

DatasetTuple read_tuple(const XmlElement& element, const AxisDescription& description) {
  DatasetTuple tuple;
  for (const auto& member : element.children) {
    if (member.name == "Member") {
      tuple.push_back(read_member(member, description));
    }
  }
  return tuple;
}

DatasetAxis read_axis(const XmlElement& element, const AxisDescription& description) {
  DatasetAxis axis;
  axis.name = element.attribute("name");
  axis.hierarchies = description.hierarchies;
  const auto* const tuples = element.child("Tuples");
  if (tuples == nullptr) {
    refuse_data_set("no Tuples in " + axis.name);
  }
  axis.tuples.reserve(tuples->children.size());
  for (const auto& tuple : tuples->children) {
    axis.tuples.push_back(read_tuple(tuple, description));
    if (axis.name != slicer_axis && axis.tuples.back().size() != axis.hierarchies.size()) {
      refuse_data_set("a tuple of " + axis.name + " does not fit its hierarchies");
    }
  }
  return axis;
}

void read_axes(const XmlElement& root, Dataset& dataset) {
  std::unordered_map<std::string_view, AxisDescription> descriptions;
  for (const auto& info : required(required(root, "OlapInfo"), "AxesInfo").children) {
    descriptions[info.attribute("name")] = description_of(info);
  }
  for (const auto& element : required(root, "Axes").children) {
    auto axis = read_axis(element, descriptions[element.attribute("name")]);
    if (axis.name == slicer_axis) {
      dataset.slicer = axis.tuples.empty() ? DatasetTuple() : std::move(axis.tuples.front());
    } else {
      dataset.axes.push_back(std::move(axis));
    }
  }
}

/// How many cells the axes span; the largest number there is when it is larger still.
std::uint64_t cell_count(const Dataset& dataset) {
  std::uint64_t count = 1;
  for (const auto& axis : dataset.axes) {
    const std::uint64_t size = axis.tuples.size();
    if (size != 0 && count > std::numeric_limits<std::uint64_t>::max() / size) {
      return std::numeric_limits<std::uint64_t>::max();
    }
    count *= size;
  }
  return count;
}

/// Why a cell has no value: an element of its own says so, or, with Mondrian, the mark before the
/// formatted text, which the value itself does not have.
std::string error_of(const XmlElement& value, const DatasetCell& cell) {
  constexpr std::string_view mark = "#ERR: ";
  constexpr const char* unknown = "the server does not say why";
  if (const auto* const error = value.child("Error")) {
    const auto text = error->child_text("Description");
    return text.empty() ? unknown : std::string(text);
  }
  if (cell.formatted != std::string(mark) + cell.value) {
    return {};
  }
  return cell.value.empty() ? unknown : cell.value;
}

DatasetCell read_cell(const XmlElement& element) {
  DatasetCell cell;
  const auto* const value = element.child("Value");
  cell.has_value = value != nullptr;
  if (value != nullptr) {
    cell.value = value->text;
    cell.type = value->attribute("type");
  }
  const auto* const formatted = element.child("FmtValue");
  cell.formatted = formatted == nullptr ? cell.value : formatted->text;
  cell.error = value == nullptr ? std::string() : error_of(*value, cell);
  if (!cell.error.empty()) {
    cell.has_value = false;
    cell.value.clear();
  }
  return cell;
}

void read_cells(const XmlElement& root, Dataset& dataset) {
  const auto count = cell_count(dataset);
  for (const auto& element : required(root, "CellData").children) {
    const auto text = element.attribute("CellOrdinal");
    const auto ordinal = exact_number<std::uint64_t>(text);
    if (!ordinal || *ordinal >= count) {
      refuse_data_set("there is no place for the cell '" + std::string(text) + "'");
    }
    dataset.cells.insert_or_assign(*ordinal, read_cell(element));
  }
}

}  // namespace

Dataset read_dataset(const XmlElement& envelope) {
  const auto* const root = envelope.find("root");
  if (root == nullptr) {
    refuse_data_set("there is no root");
  }
  Dataset dataset;
  read_axes(*root, dataset);
  read_cells(*root, dataset);
  if (const auto* const cube = root->find("CubeName")) {
    dataset.cube = cube->text;
  }
  return dataset;
}

}  // namespace importkcd
