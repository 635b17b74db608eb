#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/forwarding_server.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {

/// Sets an environment variable for as long as it lives.
class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::string& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::string name_;
  std::optional<std::string> former_;
};

/// A fixture for whole runs of the importer. Their temporary copies go into a folder of the
/// fixture, and all servers work on one in-memory store.
class ImporterTest : public ::testing::Test {
 protected:
  ImporterTest();

  /// Runs a fresh importer on a document's text, or on `options.kcd_document_file_name` as it is.
  /// Messages of earlier runs are forgotten.
  void import(std::string_view xml);
  void import_file();

  /// The path that the run's temporary copy had, as its message tells it.
  std::string copy_path() const;
  /// The messages without those about the server and the temporary copy.
  std::vector<std::string> processing_messages() const;
  /// What is left in the folder for temporary files.
  std::vector<std::string> temporary_files() const;
  std::string temporary_folder() const { return folder.file("temporary"); }

  /// Everything that the store holds.
  std::string stored_text() const;
  std::vector<std::string> stored_databases() const;
  /// The store starts anew, empty.
  void clear_store() { store_ = make_memory_store(); }
  /// A connected server over the store, to look at what a run left.
  std::unique_ptr<OlapServer> look() const;
  /// The same, not connected yet.
  std::unique_ptr<OlapServer> unconnected() const { return make_memory_server(store_); }

  ImportOptions options;
  /// Comes before every operation of the server of the next runs.
  ForwardingServer::Hook hook;
  /// Makes the server of the next runs when set.
  OlapServerFactory server_factory;
  RecordingSink sink;
  TemporaryFolder folder;
  /// The importer of the last run.
  std::unique_ptr<ImportOLAPDBFromKCDDoc> importer;

 private:
  std::unique_ptr<OlapServer> make_server() const;

  decltype(make_memory_store()) store_ = make_memory_store();
  ScopedEnvironment temporary_files_;
};

}  // namespace importkcd::testing
