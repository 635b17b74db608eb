#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "frontend/run_controller.h"
#include "servers/memory/memory_server.h"
#include "tests/frontend/recording_view.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A controller over a recording window, an in-memory server and a folder of its own. The fields
/// are filled for a run that succeeds, without an output file.
class RunControllerTest : public ::testing::Test {
 protected:
  RunControllerTest() {
    view.typed.kcd_filename =
        folder.write("a.kcd", R"(<database version="1.0.1073" name="Sales" description="d"/>)");
    view.typed.olap_server = "memory:";
    view.typed.output_file_name = folder.file("o.txt");
  }

  void use_output_file() { view.typed.output_file = true; }
  void make_the_server_unreachable() { view.typed.olap_server = "nowhere"; }

  std::string output() const { return read_file(folder.file("o.txt")); }

  /// The messages of a successful run.
  std::vector<std::string> expected_lines(const std::string& database_message) const {
    return {"Start",
            "Opening DSO server on machine 'memory:'",
            "Opening kcd document file 'TEMP'",
            "Processing document",
            database_message,
            "Creating library",
            "Creating data sources",
            "Creating shared dimensions",
            "Creating roles",
            "Creating cubes",
            "Done",
            "Import succeeded"};
  }

  /// The status lines with the temporary copy's path as "TEMP".
  std::vector<std::string> shown_lines() const {
    auto shown = view.lines;
    for (auto& line : shown) {
      if (line.starts_with("Opening kcd document file '")) {
        line = "Opening kcd document file 'TEMP'";
      }
    }
    return shown;
  }

  TemporaryFolder folder;
  std::shared_ptr<MemoryStorage> store = make_memory_store();
  RecordingView view;
  HiddenSettings settings;
  StubConverter converter;
  RunController controller{
      view, settings, converter,
      RunServices{[this](std::string_view machine) -> std::unique_ptr<OlapServer> {
                    if (machine != "memory:") {
                      throw ImportError("no such server", error_source::olap_server);
                    }
                    return make_memory_server(store);
                  },
                  "HERE", [] { return std::string("NOW"); }}};
};

}  // namespace importkcd::testing
