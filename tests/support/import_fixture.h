#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "document/kcd_document.h"
#include "importer/import_olapdb_from_kcd_doc.h"
#include "importer/import_run.h"
#include "servers/memory/memory_server.h"
#include "tests/support/forwarding_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// Keeps the messages of a run.
class RecordingSink : public ProgressSink, public NotificationSink {
 public:
  void put_progres_message(const std::string& message) override { messages.push_back(message); }
  void show_message(const std::string& text) override { notifications.push_back(text); }

  std::vector<std::string> messages;
  std::vector<std::string> notifications;
};

/// Hands each message to `look` at the moment when it comes, so that a test sees what is there
/// then.
class WatchingSink : public ProgressSink {
 public:
  explicit WatchingSink(std::function<void(const std::string&)> look) : look_(std::move(look)) {}
  void put_progres_message(const std::string& message) override { look_(message); }

 private:
  std::function<void(const std::string&)> look_;
};

/// A fixture for one section: an in-memory server with the written-back database "Test", options,
/// outcome and recorded messages.
class SectionTest : public ::testing::Test {
 protected:
  SectionTest();

  /// The first call decides which server the section meets; by default an in-memory one.
  void use_server(std::unique_ptr<OlapServer> server);
  /// The same: an in-memory one, behind a hook.
  void use_hook(ForwardingServer::Hook before);

  OlapServer& server();
  OlapDatabase& database();
  ImportRun& run();

  /// Loads a document and gives its root element, which lives as long as the fixture.
  const KcdElement& parse(std::string_view xml);

  /// Stores what was written back and opens the database again, as the next run would.
  void store_and_reopen();

  void expect_no_error() const;
  void expect_failed(const std::string& error) const;

  ImportOptions options;
  ImportOutcome outcome{true, ""};
  RecordingSink sink;
  TemporaryFolder folder;
  std::shared_ptr<MemoryStorage> store = make_memory_store();

 private:
  void open_database();

  std::unique_ptr<OlapServer> server_;
  OlapDatabase* database_ = nullptr;
  std::unique_ptr<ImportRun> run_;
  std::vector<std::unique_ptr<KcdDocument>> documents_;
};

/// What a whole run through the importer gave.
struct ImportResult {
  bool succeeded = false;
  std::string last_error;
  /// The path of the temporary copy reads "TEMP" in messages and in last_error.
  std::vector<std::string> messages;
  std::vector<std::string> notifications;
};

/// Runs the importer on a document's text, with `options` and a server made by `open_server`.
ImportResult import_text(std::string_view xml, ImportOptions options,
                         OlapServerFactory open_server);

/// The same into an in-memory store that outlives the run.
ImportResult import_text(std::string_view xml, ImportOptions options,
                         const std::shared_ptr<MemoryStorage>& store);

/// A connected server over a store, to look at what a run left.
std::unique_ptr<OlapServer> connected_server(const std::shared_ptr<MemoryStorage>& store);

}  // namespace importkcd::testing
