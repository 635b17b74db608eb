#include "cli/dataset_output.h"

#include <utf8proc.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "base/numbers.h"
#include "base/text.h"

namespace importkcd {
namespace {

constexpr std::uint64_t most_cells = 10'000'000;
constexpr const char* column_gap = "  ";

/// The lines of one table. The first `label_columns` columns are aligned at the left, the others at
/// the right; the first `heading_lines` lines are set off.
struct Grid {
  std::size_t label_columns = 0;
  std::size_t heading_lines = 0;
  std::vector<std::vector<std::string>> lines;
};

std::vector<std::size_t> widths_of(const Grid& grid) {
  std::vector<std::size_t> widths;
  for (const auto& line : grid.lines) {
    widths.resize(std::max(widths.size(), line.size()));
    for (std::size_t i = 0; i < line.size(); ++i) {
      widths[i] = std::max(widths[i], text_width(line[i]));
    }
  }
  return widths;
}

void print_line(const std::vector<std::string>& line, const std::vector<std::size_t>& widths,
                std::size_t label_columns, std::ostream& out) {
  std::string text;
  for (std::size_t i = 0; i < line.size(); ++i) {
    text += i == 0 ? "" : column_gap;
    const std::string padding(widths[i] - text_width(line[i]), ' ');
    text += i < label_columns ? line[i] + padding : padding + line[i];
  }
  text.erase(text.find_last_not_of(' ') + 1);
  out << text << '\n';
}

void print_grid(const Grid& grid, std::ostream& out) {
  const auto widths = widths_of(grid);
  for (std::size_t i = 0; i < grid.lines.size(); ++i) {
    print_line(grid.lines[i], widths, grid.label_columns, out);
    if (i + 1 == grid.heading_lines) {
      std::vector<std::string> rule;
      rule.reserve(widths.size());
      for (const auto width : widths) {
        rule.emplace_back(width, '-');
      }
      print_line(rule, widths, grid.label_columns, out);
    }
  }
}

std::string cell_text(const Dataset& dataset, std::uint64_t ordinal) {
  const auto found = dataset.cells.find(ordinal);
  if (found == dataset.cells.end()) {
    return "";
  }
  // Reasons can be longer than any column should be.
  return found->second.error.empty() ? printable(found->second.formatted) : "#ERR";
}

/// The headings of the row labels: the hierarchies, each with the properties of its members.
std::vector<std::string> label_headings(const DatasetAxis& rows) {
  std::vector<std::string> headings;
  for (const auto& hierarchy : rows.hierarchies) {
    headings.push_back(printable(hierarchy.name));
    for (const auto& property : hierarchy.properties) {
      headings.push_back(printable(property));
    }
  }
  return headings;
}

std::string property_of(const DatasetMember& member, const std::string& name) {
  const auto found = std::find_if(member.properties.begin(), member.properties.end(),
                                  [&](const auto& property) { return property.first == name; });
  return found == member.properties.end() ? "" : printable(found->second);
}

std::vector<std::string> labels_of(const DatasetTuple& tuple, const DatasetAxis& rows) {
  std::vector<std::string> labels;
  for (std::size_t i = 0; i < rows.hierarchies.size(); ++i) {
    labels.push_back(printable(tuple[i].caption));
    for (const auto& property : rows.hierarchies[i].properties) {
      labels.push_back(property_of(tuple[i], property));
    }
  }
  return labels;
}

/// One line per hierarchy of the columns; the row labels' headings stand in the last one.
void add_headings(const DatasetAxis& columns, const std::vector<std::string>& row_headings,
                  Grid& grid) {
  const auto count = columns.hierarchies.size();
  for (std::size_t i = 0; i < count; ++i) {
    auto line = i + 1 == count ? row_headings : std::vector<std::string>(row_headings.size());
    for (const auto& tuple : columns.tuples) {
      line.push_back(printable(tuple[i].caption));
    }
    grid.lines.push_back(std::move(line));
  }
  grid.heading_lines = count;
  grid.label_columns = row_headings.size();
}

/// The table whose first cell has the ordinal `first`.
void print_page(const Dataset& dataset, std::uint64_t first, std::ostream& out) {
  const auto& columns = dataset.axes[0];
  const bool has_rows = dataset.axes.size() > 1;
  Grid grid;
  add_headings(columns, has_rows ? label_headings(dataset.axes[1]) : std::vector<std::string>(),
               grid);
  const auto row_count = has_rows ? dataset.axes[1].tuples.size() : 1;
  for (std::size_t row = 0; row < row_count; ++row) {
    auto line = has_rows ? labels_of(dataset.axes[1].tuples[row], dataset.axes[1])
                         : std::vector<std::string>();
    for (std::size_t column = 0; column < columns.tuples.size(); ++column) {
      line.push_back(cell_text(dataset, first + row * columns.tuples.size() + column));
    }
    grid.lines.push_back(std::move(line));
  }
  print_grid(grid, out);
}

/// "Calendar: 2026, Store: Kiel Harbour" for a place on the axes behind the rows.
std::string page_heading(const Dataset& dataset, std::uint64_t page) {
  std::string heading;
  for (std::size_t i = 2; i < dataset.axes.size(); ++i) {
    const auto& axis = dataset.axes[i];
    for (const auto& member : axis.tuples[page % axis.tuples.size()]) {
      heading += heading.empty() ? "" : ", ";
      heading += member.hierarchy + ": " + member.caption;
    }
    page /= axis.tuples.size();
  }
  return printable(heading);
}

/// Throws when the product is too large.
std::uint64_t checked_product(std::uint64_t a, std::uint64_t b) {
  if (b != 0 && a > most_cells / b) {
    throw ImportError("the answer is too large for a table; --json prints it", "kcd");
  }
  return a * b;
}

}  // namespace

void print_table(const Dataset& dataset, std::ostream& out) {
  if (dataset.axes.empty()) {
    out << cell_text(dataset, 0) << '\n';
    return;
  }
  std::uint64_t page_cells = 1;
  std::uint64_t pages = 1;
  for (std::size_t i = 0; i < dataset.axes.size(); ++i) {
    auto& count = i < 2 ? page_cells : pages;
    count = checked_product(count, dataset.axes[i].tuples.size());
  }
  checked_product(std::max<std::uint64_t>(page_cells, 1), pages);
  for (std::uint64_t page = 0; page < pages; ++page) {
    if (dataset.axes.size() > 2) {
      out << (page == 0 ? "" : "\n") << page_heading(dataset, page) << '\n';
    }
    print_page(dataset, page * page_cells, out);
  }
}

std::map<std::string, std::size_t> cell_errors(const Dataset& dataset) {
  std::map<std::string, std::size_t> errors;
  for (const auto& [ordinal, cell] : dataset.cells) {
    if (!cell.error.empty()) {
      ++errors[cell.error];
    }
  }
  return errors;
}

std::size_t text_width(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const auto code = take_character(text).code;
    width += code < 0 ? 1 : static_cast<std::size_t>(utf8proc_charwidth(code));
  }
  return width;
}

namespace {

using Json = nlohmann::ordered_json;

bool is_text_type(std::string_view type) {
  return type.empty() || type.ends_with("string") || type.ends_with("dateTime") ||
         type.ends_with("date");
}

Json value_of(const DatasetCell& cell) {
  if (!cell.has_value) {
    return nullptr;
  }
  if (cell.type.ends_with("boolean")) {
    return cell.value == "true" || cell.value == "1";
  }
  if (!is_text_type(cell.type)) {
    if (const auto whole = exact_number<std::int64_t>(cell.value)) {
      return *whole;
    }
    // JSON cannot express infinity.
    const auto number = exact_number<double>(cell.value);
    if (number && std::isfinite(*number)) {
      return *number;
    }
  }
  return cell.value;
}

Json json_of(std::uint64_t ordinal, const DatasetCell& cell) {
  Json json{{"ordinal", ordinal}, {"value", value_of(cell)}, {"formatted", cell.formatted}};
  if (!cell.error.empty()) {
    json["error"] = cell.error;
  }
  return json;
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

Json dataset_json(const Dataset& dataset) {
  Json axes = Json::array();
  for (const auto& axis : dataset.axes) {
    axes.push_back(json_of(axis));
  }
  Json cells = Json::array();
  for (const auto& [ordinal, cell] : dataset.cells) {
    cells.push_back(json_of(ordinal, cell));
  }
  return {{"cube", dataset.cube},
          {"axes", std::move(axes)},
          {"slicer", json_of(dataset.slicer)},
          {"cells", std::move(cells)}};
}

}  // namespace importkcd
