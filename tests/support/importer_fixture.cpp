#include "tests/support/importer_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <utility>

#include "tests/support/database_text.h"

namespace importkcd::testing {
namespace {

constexpr std::string_view opening_copy = "Opening kcd document file '";

bool starts_with(const std::string& text, std::string_view beginning) {
  return text.rfind(beginning, 0) == 0;
}

}  // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, const std::string& value)
    : name_(std::move(name)) {
  if (const char* former = std::getenv(name_.c_str())) {
    former_ = former;
  }
  setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnvironment::~ScopedEnvironment() {
  if (former_) {
    setenv(name_.c_str(), former_->c_str(), 1);
  } else {
    unsetenv(name_.c_str());
  }
}

ImporterTest::ImporterTest() : temporary_files_("TMPDIR", folder.file("temporary")) {
  std::filesystem::create_directory(temporary_folder());
  options.machine_name = "memory:";
  options.ImportType = import_type::incremental;
  options.progres_window = &sink;
  options.notifications = &sink;
}

void ImporterTest::import(std::string_view xml) {
  options.kcd_document_file_name = folder.write("document.kcd", xml);
  import_file();
}

void ImporterTest::import_file() {
  sink.messages.clear();
  sink.notifications.clear();
  const OlapServerFactory own_server = [this](std::string_view) { return make_server(); };
  importer = std::make_unique<ImportOLAPDBFromKCDDoc>(server_factory ? server_factory : own_server);
  static_cast<ImportOptions&>(*importer) = options;
  importer->succeeded = true;
  importer->ReleaseDocument();
  EXPECT_EQ(importer->make(), 0);
}

std::string ImporterTest::copy_path() const {
  for (const auto& message : sink.messages) {
    if (starts_with(message, opening_copy)) {
      return message.substr(opening_copy.size(), message.size() - opening_copy.size() - 1);
    }
  }
  return {};
}

std::vector<std::string> ImporterTest::processing_messages() const {
  std::vector<std::string> result;
  std::copy_if(sink.messages.begin(), sink.messages.end(), std::back_inserter(result),
               [](const std::string& message) {
                 return !starts_with(message, opening_copy) &&
                        !starts_with(message, "Opening DSO server on machine '");
               });
  return result;
}

std::vector<std::string> ImporterTest::temporary_files() const {
  std::vector<std::string> result;
  for (const auto& entry : std::filesystem::directory_iterator(temporary_folder())) {
    result.push_back(entry.path().string());
  }
  return result;
}

std::string ImporterTest::stored_text() const { return server_text(*look()); }

std::vector<std::string> ImporterTest::stored_databases() const {
  std::vector<std::string> result;
  for (const auto& object : look()->stored_objects()) {
    result.push_back(object.name);
  }
  return result;
}

std::unique_ptr<OlapServer> ImporterTest::look() const {
  auto server = make_memory_server(store_);
  server->connect("memory:");
  return server;
}

std::unique_ptr<OlapServer> ImporterTest::make_server() const {
  return std::make_unique<ForwardingServer>(make_memory_server(store_), hook);
}

}  // namespace importkcd::testing
