// Any bytes as a document for whole runs of the importer into in-memory servers, in all modes. What
// a run does depends on nothing but its input; a second run in incremental mode changes nothing,
// one in replace mode gives what a first one gave.
//
// An input is what the further run is (a byte), the settings (a byte), the old text and the new
// text of the company pattern (a line each), and the document.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "importer/import_olapdb_from_kcd_doc.h"
#include "servers/memory/memory_server.h"
#include "tests/support/database_text.h"

namespace {

using namespace importkcd;
using fuzz::Input;
using fuzz::MemoryFile;
using fuzz::require;

class Messages : public ProgressSink, public NotificationSink {
 public:
  void put_progres_message(const std::string& message) override {
    require(!message.empty());
    // The name of the temporary copy is another one in every run.
    constexpr std::string_view opening = "Opening kcd document file '";
    opened = opened || message.rfind(opening, 0) == 0;
    lines.push_back(message.rfind(opening, 0) == 0 ? std::string(opening) : message);
  }
  void show_message(const std::string& text) override { require(!text.empty()); }

  std::vector<std::string> lines;
  bool opened = false;
};

struct Outcome {
  bool succeeded = false;
  std::string last_error;
  std::vector<std::string> messages;
  /// What the server holds afterwards.
  std::string content;
  bool operator==(const Outcome&) const = default;
};

std::string without_copy_path(std::string text) {
  const auto& folder = fuzz::temporary_folder();
  if (const auto at = text.find(folder); at != std::string::npos) {
    text.erase(at, text.find(".tmp", at) - at);
  }
  return text;
}

/// The roads on which a run may end.
void check_error(const Outcome& outcome, std::size_t files_left) {
  require(outcome.succeeded == outcome.last_error.empty());
  const bool document_refused = outcome.last_error.rfind("Cannot open kcd document file ", 0) == 0;
  require(files_left == (document_refused ? 1U : 0U));
  require(!document_refused ||
          outcome.messages.back().rfind("Opening kcd document file '", 0) == 0);
}

Outcome run(const std::string& document, const ImportOptions& options,
            const std::shared_ptr<MemoryStorage>& store) {
  Messages messages;
  ImportOLAPDBFromKCDDoc importer([&store](std::string_view) { return make_memory_server(store); });
  static_cast<ImportOptions&>(importer) = options;
  importer.kcd_document_file_name = document;
  importer.progres_window = &messages;
  importer.notifications = &messages;
  importer.succeeded = true;
  importer.ReleaseDocument();
  require(importer.make() == 0);

  const auto server = make_memory_server(store);
  server->connect("memory:");
  Outcome outcome{importer.succeeded, without_copy_path(importer.last_error), messages.lines,
                  testing::server_text(*server)};
  check_error(outcome, fuzz::empty_temporary_folder());
  return outcome;
}

ImportOptions options_of(Input& input) {
  const auto settings = input.byte();
  ImportOptions options;
  options.machine_name = "memory:";
  options.ImportType = settings & 3U;
  options.import_partitions = (settings & 4U) != 0;
  options.DontUpdateLevels = (settings & 8U) != 0;
  options.replace_pattern((settings & 16U) != 0);
  options.use_alternate_database_name = (settings & 32U) != 0;
  options.alternate_database_name = "O'Neil";
  options.data_source_name = (settings & 64U) != 0 ? "HOST" : "";
  options.datawarehouse_connectstring = (settings & 128U) != 0 ? "Provider=P" : "";
  options.pattern_from = input.line();
  options.pattern_to = input.line();
  return options;
}

/// A first run, and what a further one makes of its result.
void check(const std::string& document, ImportOptions options, unsigned scenario) {
  const auto store = make_memory_store();
  const auto first = run(document, options, store);
  const auto type = options.ImportType;
  if (scenario == 0) {
    require(first == run(document, options, make_memory_store()));
  } else if (scenario == 1) {
    options.ImportType = import_type::incremental;
    const auto again = run(document, options, store);
    require(!first.succeeded || type == import_type::none ||
            (again.succeeded && again.content == first.content));
  } else if (scenario == 2) {
    options.ImportType = import_type::update;
    run(document, options, store);
    run(document, options, store);
  } else {
    options.ImportType = import_type::replace;
    const auto replaced = run(document, options, store);
    const auto fresh = run(document, options, make_memory_store());
    require(replaced.succeeded == fresh.succeeded && replaced.last_error == fresh.last_error);
    require(!fresh.succeeded || replaced == fresh);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const MemoryFile file;
  fuzz::temporary_folder();
  Input input(data, size);
  const unsigned scenario = input.byte() % 4U;
  const auto options = options_of(input);
  file.write(input.rest());
  check(file.path(), options, scenario);
  return 0;
}
