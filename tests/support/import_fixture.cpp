#include "tests/support/import_fixture.h"

#include <algorithm>

namespace importkcd::testing {
namespace {

constexpr std::string_view opening_message = "Opening kcd document file '";

/// The path that the opening message names; empty when there is no such message.
std::string temporary_path(const std::vector<std::string>& messages) {
  const auto found = std::find_if(messages.begin(), messages.end(), [](const std::string& message) {
    return message.rfind(opening_message, 0) == 0;
  });
  if (found == messages.end()) {
    return {};
  }
  return found->substr(opening_message.size(), found->size() - opening_message.size() - 1);
}

void replace_path(std::string& text, const std::string& path) {
  const auto at = path.empty() ? std::string::npos : text.find(path);
  if (at != std::string::npos) {
    text.replace(at, path.size(), "TEMP");
  }
}

}  // namespace

SectionTest::SectionTest() {
  options.progres_window = &sink;
  options.notifications = &sink;
}

void SectionTest::use_server(std::unique_ptr<OlapServer> server) {
  ASSERT_EQ(server_, nullptr);
  server_ = std::move(server);
  server_->connect("memory:");
  open_database();
}

void SectionTest::use_hook(ForwardingServer::Hook before) {
  use_server(std::make_unique<ForwardingServer>(make_memory_server(store), std::move(before)));
}

OlapServer& SectionTest::server() {
  if (!server_) {
    use_server(make_memory_server(store));
  }
  return *server_;
}

OlapDatabase& SectionTest::database() {
  server();
  return *database_;
}

ImportRun& SectionTest::run() {
  if (!run_) {
    run_ = std::make_unique<ImportRun>(options, outcome, server(), database());
  }
  return *run_;
}

const KcdElement& SectionTest::parse(std::string_view xml) {
  documents_.push_back(KcdDocument::load(folder.write("section.xml", xml)));
  return documents_.back()->root();
}

void SectionTest::store_and_reopen() {
  server().finish();
  run_.reset();
  open_database();
}

void SectionTest::expect_no_error() const {
  EXPECT_TRUE(outcome.succeeded);
  EXPECT_EQ(outcome.last_error, "");
}

void SectionTest::expect_failed(const std::string& error) const {
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.last_error, error);
}

void SectionTest::open_database() {
  if (server_->stored_objects().empty()) {
    database_ = &server_->add_database("Test");
    server_->write_back_database(*database_);
  } else {
    database_ = &server_->open_database("Test");
  }
}

ImportResult import_text(std::string_view xml, ImportOptions options,
                         OlapServerFactory open_server) {
  const TemporaryFolder folder;
  RecordingSink sink;
  ImportOLAPDBFromKCDDoc importer(std::move(open_server));
  static_cast<ImportOptions&>(importer) = std::move(options);
  importer.kcd_document_file_name = folder.write("document.kcd", xml);
  importer.progres_window = &sink;
  importer.notifications = &sink;
  importer.succeeded = true;
  importer.ReleaseDocument();
  importer.make();

  ImportResult result{importer.succeeded, importer.last_error, sink.messages, sink.notifications};
  const auto path = temporary_path(result.messages);
  replace_path(result.last_error, path);
  for (auto& message : result.messages) {
    replace_path(message, path);
  }
  return result;
}

ImportResult import_text(std::string_view xml, ImportOptions options,
                         const std::shared_ptr<MemoryStorage>& store) {
  return import_text(xml, std::move(options),
                     [&store](std::string_view) { return make_memory_server(store); });
}

std::unique_ptr<OlapServer> connected_server(const std::shared_ptr<MemoryStorage>& store) {
  auto server = make_memory_server(store);
  server->connect("memory:");
  return server;
}

}  // namespace importkcd::testing
