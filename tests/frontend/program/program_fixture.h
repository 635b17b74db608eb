#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "servers/choice/server_choice.h"
#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {

/// The built program in a folder of its own, with the document shop.kcd.
class ProgramTest : public ::testing::Test {
 protected:
  ProgramTest() { document = folder.write("shop.kcd", whole_document()); }

  /// Runs the program without any display.
  ProcessResult run(std::vector<std::string> arguments) const {
    return run_process({.program = IMPORTKCD_PROGRAM,
                        .arguments = std::move(arguments),
                        .environment = {{"DISPLAY", ""},
                                        {"WAYLAND_DISPLAY", ""},
                                        {"QT_QPA_PLATFORM", ""},
                                        {"LC_ALL", "C"},
                                        {"TMPDIR", folder.path().string()},
                                        {"XDG_DATA_HOME", folder.path().string()}}});
  }

  std::string server() const { return "catalogue:" + folder.file("shop.olap"); }

  std::vector<std::string> databases() const {
    const auto opened = make_olap_server(server(), ServerAccess::read_only);
    opened->connect(server());
    std::vector<std::string> names;
    for (const auto& object : opened->stored_objects()) {
      names.push_back(object.name);
    }
    return names;
  }

  /// The status lines of a successful run.
  std::vector<std::string> expected_lines() const {
    std::vector<std::string> lines{"Start", "Opening DSO server on machine '" + server() + "'",
                                   "Opening kcd document file 'TEMP'"};
    for (const auto& message : whole_document_messages(false)) {
      lines.push_back(message);
    }
    lines.emplace_back("Done");
    lines.emplace_back("Import succeeded");
    return lines;
  }

  static std::string joined(const std::vector<std::string>& lines, const std::string& before,
                            const std::string& after) {
    std::string text;
    for (const auto& line : lines) {
      text.append(before).append(line).append(after);
    }
    return text;
  }

  /// A text with the name of the temporary copy as "TEMP", and time stamps as "TIME".
  static std::string without_times(const std::string& text) {
    static const std::regex copy(R"('[^']*importkcd-[0-9a-f]+\.tmp')");
    static const std::regex stamp(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)");
    return std::regex_replace(std::regex_replace(text, copy, "'TEMP'"), stamp, "TIME");
  }

  /// The output file of a document of this folder, whatever today is.
  std::string output_file(const std::string& stem = "shop") const {
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      const auto name = entry.path().filename().string();
      if (std::regex_match(name, std::regex(stem + "_Out_\\d{8}\\.txt"))) {
        return entry.path().string();
      }
    }
    return folder.file(stem + "_Out_.txt");
  }

  TemporaryFolder folder;
  std::string document;
};

}  // namespace importkcd::testing
