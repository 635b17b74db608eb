#include "cli/finding_output.h"

#include <algorithm>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>

#include "base/text.h"

namespace importkcd {
namespace {

using SarifJson = nlohmann::ordered_json;

std::string shown_file(const std::string& file) { return file == "-" ? "<stdin>" : file; }

std::string_view word_of(Severity severity) {
  return severity == Severity::error ? "error" : "warning";
}

SarifJson sarif_rules() {
  auto list = SarifJson::array();
  for (const auto& rule : rules()) {
    list.push_back({{"id", rule.id}, {"shortDescription", {{"text", rule.description}}}});
  }
  return list;
}

std::size_t index_of(std::string_view rule) {
  const auto all = rules();
  const auto found =
      std::find_if(all.begin(), all.end(), [rule](const Rule& known) { return known.id == rule; });
  return static_cast<std::size_t>(found - all.begin());
}

SarifJson sarif_location(const std::string& file, const Finding& finding) {
  SarifJson place = {{"artifactLocation", {{"uri", percent_encoded(shown_file(file), "-._~/")}}}};
  if (finding.position.line != 0) {
    place["region"]["startLine"] = finding.position.line;
    if (finding.position.column != 0) {
      place["region"]["startColumn"] = finding.position.column;
    }
  }
  SarifJson location = {{"physicalLocation", place}};
  if (!finding.path.empty()) {
    location["logicalLocations"] = {{{"fullyQualifiedName", printable(finding.path)}}};
  }
  return location;
}

SarifJson sarif_result(const std::string& file, const Finding& finding) {
  const auto path = finding.path.empty() ? "" : finding.path + ": ";
  return {{"ruleId", finding.rule},
          {"ruleIndex", index_of(finding.rule)},
          {"level", word_of(finding.severity)},
          {"message", {{"text", printable(path + finding.message)}}},
          {"locations", SarifJson::array({sarif_location(file, finding)})}};
}

}  // namespace

void write_finding(std::ostream& out, const std::string& file, const Finding& finding) {
  std::string line = shown_file(file) + ":";
  if (finding.position.line != 0) {
    line += std::to_string(finding.position.line) + ":";
    if (finding.position.column != 0) {
      line += std::to_string(finding.position.column) + ":";
    }
  }
  line.append(" ").append(word_of(finding.severity)).append(": ");
  if (!finding.path.empty()) {
    line += finding.path + ": ";
  }
  out << printable(line + finding.message) << '\n';
}

void write_sarif(std::ostream& out, const std::vector<FileFindings>& files) {
  auto results = SarifJson::array();
  for (const auto& [file, findings] : files) {
    for (const auto& finding : findings) {
      results.push_back(sarif_result(file, finding));
    }
  }
  const SarifJson driver = {
      {"name", "kcd check"}, {"version", KCD_VERSION}, {"rules", sarif_rules()}};
  const SarifJson log = {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                         {"version", "2.1.0"},
                         {"runs", SarifJson::array({{{"tool", {{"driver", driver}}},
                                                     {"columnKind", "unicodeCodePoints"},
                                                     {"results", results}}})}};
  out << log.dump(2, ' ', false, SarifJson::error_handler_t::replace) << '\n';
}

std::string summary_of(const std::vector<FileFindings>& files) {
  std::size_t errors = 0;
  std::size_t warnings = 0;
  for (const auto& file : files) {
    for (const auto& finding : file.findings) {
      ++(finding.severity == Severity::error ? errors : warnings);
    }
  }
  return counted(errors, "error") + ", " + counted(warnings, "warning") + " in " +
         (files.size() == 1 ? printable(shown_file(files.front().file))
                            : counted(files.size(), "file"));
}

}  // namespace importkcd
