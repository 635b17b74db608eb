#include "tests/support/olap_service.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <sstream>

#include "base/import_error.h"
#include "xmla/xmla_client.h"

namespace importkcd::testing {
namespace {

std::optional<double> number(const std::string& text) {
  double value = 0;
  const auto* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && rest == end ? std::optional(value) : std::nullopt;
}

bool same_figure(const std::string& left, const std::string& right) {
  const auto left_number = number(left);
  const auto right_number = number(right);
  if (!left_number || !right_number) {
    return left == right;
  }
  constexpr double tolerance = 1e-6;
  return std::abs(*left_number - *right_number) <=
         tolerance * std::max(1.0, std::abs(*right_number));
}

std::string line_text(const std::vector<std::string>& line) {
  std::string text;
  for (const auto& figure : line) {
    text.append(text.empty() ? "" : " | ").append(figure);
  }
  return text;
}

std::vector<std::string> head_of(const DatasetTuple& tuple) {
  std::vector<std::string> line;
  for (const auto& member : tuple) {
    line.push_back(member.caption);
    for (const auto& [name, value] : member.properties) {
      line.push_back(value);
    }
  }
  return line;
}

ProcessStart serving(const std::string& kcd, const std::string& directory,
                     const std::vector<std::string>& options, const std::string& java_options) {
  ProcessStart start{"/usr/bin/setpriv",
                     {"--pdeathsig", "KILL", kcd, "serve", directory, "--port", "0"}};
  start.arguments.insert(start.arguments.end(), options.begin(), options.end());
  // An engine of a test ends before the second compiler has earned what it costs.
  start.environment.emplace_back("JDK_JAVA_OPTIONS", "-XX:TieredStopAtLevel=1 " + java_options);
  return start;
}

}  // namespace

OlapService::OlapService(const std::string& kcd, const std::string& directory,
                         const std::vector<std::string>& options, const std::string& java_options)
    : process_(serving(kcd, directory, options, java_options)) {
  process_.read_until("/xmla\n");
  address_ = process_.output();
  address_.erase(0, address_.rfind(" at http") + 4);
  address_.erase(address_.find('\n'));
}

std::string OlapService::administration() const {
  const auto told = process_.errors();
  const std::string before = "Health and metrics at ";
  const auto begin = told.find(before);
  return begin == std::string::npos
             ? ""
             : told.substr(begin + before.size(), told.find('\n', begin) - begin - before.size());
}

Dataset OlapService::ask(const std::string& database, const std::string& mdx,
                         const std::string& role) const {
  return XmlaClient(address_).execute(mdx, database, role);
}

std::string OlapService::refusal(const std::string& database, const std::string& mdx,
                                 const std::string& role) const {
  try {
    ask(database, mdx, role);
  } catch (const ImportError& error) {
    return error.description();
  }
  return {};
}

FigureTable figures(const Dataset& dataset) {
  const auto columns = dataset.axes.empty() ? 1 : dataset.axes[0].tuples.size();
  std::vector<DatasetTuple> rows{{}};
  if (dataset.axes.size() > 1) {
    rows = dataset.axes[1].tuples;
  }
  FigureTable table;
  for (std::size_t row = 0; row < rows.size(); ++row) {
    auto line = head_of(rows[row]);
    for (std::size_t column = 0; column < columns; ++column) {
      const auto cell = dataset.cells.find(row * columns + column);
      line.push_back(cell == dataset.cells.end() ? "" : cell->second.value);
    }
    table.push_back(std::move(line));
  }
  return table;
}

FigureTable figures(const std::string& selected) {
  FigureTable table;
  std::istringstream lines(selected);
  for (std::string text; std::getline(lines, text);) {
    std::vector<std::string> line;
    for (std::size_t start = 0; start <= text.size();) {
      const auto end = std::min(text.find('\t', start), text.size());
      line.push_back(text.substr(start, end - start));
      if (line.back() == "NULL") {
        line.back().clear();
      }
      start = end + 1;
    }
    table.push_back(std::move(line));
  }
  return table;
}

std::string difference(const FigureTable& answer, const FigureTable& expected) {
  for (std::size_t i = 0; i < std::max(answer.size(), expected.size()); ++i) {
    const auto got = i < answer.size() ? answer[i] : std::vector<std::string>{};
    const auto wanted = i < expected.size() ? expected[i] : std::vector<std::string>{};
    if (!std::equal(got.begin(), got.end(), wanted.begin(), wanted.end(), same_figure)) {
      return "line " + std::to_string(i + 1) + " is '" + line_text(got) + "' instead of '" +
             line_text(wanted) + "'; there are " + std::to_string(answer.size()) + " and " +
             std::to_string(expected.size()) + " lines";
    }
  }
  return {};
}

}  // namespace importkcd::testing
