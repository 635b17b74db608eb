#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {

/// Runs the built `kcd` with data and temporary files in a folder of the test's own.
class KcdTest : public ::testing::Test {
 protected:
  KcdTest() {
    std::filesystem::create_directory(folder.file("tmp"));
    start.program = KCD_PROGRAM;
    start.environment = {
        {"XDG_DATA_HOME", folder.file("data")}, {"TMPDIR", folder.file("tmp")}, {"LC_ALL", "C"}};
  }

  /// Runs `kcd` with these arguments, and with whatever else `start` says.
  ProcessResult kcd(std::vector<std::string> arguments) {
    start.arguments = std::move(arguments);
    return run_process(start);
  }

  /// Runs `kcd import` with this document and further arguments.
  ProcessResult import(const std::string& text, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"import", folder.write("document.kcd", text)});
    return kcd(std::move(arguments));
  }

  /// What `kcd show --json` prints for these further arguments; it has to succeed.
  nlohmann::json shown(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"show", "--json"});
    const auto result = kcd(std::move(arguments));
    EXPECT_EQ(result.exit_status, 0) << result.errors;
    return nlohmann::json::parse(result.output, nullptr, false);
  }

  /// The names of the databases of this computer's server.
  std::vector<std::string> databases() {
    const auto json = shown();
    std::vector<std::string> names;
    for (const auto& database : json.at("databases")) {
      names.push_back(database.at("name"));
    }
    return names;
  }

  TemporaryFolder folder;
  ProcessStart start;
};

/// The lines of an output, each of which has to end with a line feed.
inline std::vector<std::string> lines_of(std::string text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const auto end = text.find('\n');
    EXPECT_NE(end, std::string::npos) << "unfinished line: " << text;
    lines.push_back(text.substr(0, end));
    text.erase(0, end == std::string::npos ? end : end + 1);
  }
  return lines;
}

/// The last line of an import's output, its summary, with "T" in place of the seconds.
inline std::string summary_of(const std::string& output) {
  const auto lines = lines_of(output);
  return lines.empty() ? ""
                       : std::regex_replace(lines.back(), std::regex("[0-9]+\\.[0-9]{2} s$"), "T s");
}

/// The messages of an import's output: all its lines but the summary.
inline std::vector<std::string> messages_of(const std::string& output) {
  auto lines = lines_of(output);
  EXPECT_THAT(summary_of(output), ::testing::MatchesRegex("Import.*, [0-9]+ messages?, T s"));
  if (!lines.empty()) {
    lines.pop_back();
  }
  return lines;
}

}  // namespace importkcd::testing
