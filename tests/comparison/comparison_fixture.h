#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "comparison/import_plan.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/memory/memory_server.h"
#include "servers/working_copy_server.h"
#include "tests/support/database_text.h"
#include "tests/support/forwarding_server.h"
#include "tests/support/import_fixture.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// The objects directly under the databases of a server: "cube | Sales" -> all that it holds. A
/// private dimension belongs to its cube's text.
using StoredObjects = std::map<std::string, std::string>;

/// Reads them out of database_text(), which knows nothing of comparisons.
StoredObjects objects_in(const std::string& text);

/// Imports and plans over databases in memory or in a catalogue.
class ComparisonTest : public ::testing::Test {
 protected:
  void use_catalogue() { in_catalogue_ = true; }

  std::unique_ptr<WorkingCopyServer> server(ServerAccess access = ServerAccess::read_write) const;

  /// Everything that is stored.
  std::string stored_text() const;

  /// Imports a document's text as the request says, and plans that.
  RequestOutcome import(const std::string& document);
  ImportPlan plan(const std::string& document);

  /// What importing the document where nothing is stored gives.
  static std::string text_of_document(const std::string& document, const ImportOptions& options);

  ImportServers servers();

  ImportRequest request;
  RecordingSink sink;
  /// Comes before every operation of the server of the next imports.
  ForwardingServer::Hook hook;
  TemporaryFolder folder;

 private:
  bool in_catalogue_ = false;
  std::shared_ptr<MemoryStorage> storage_ = make_memory_store();
};

/// The plan's lines without values: "create cube Sales".
std::vector<std::string> lines_of(const Plan& plan);

/// A document with some of its descriptions changed, and at times without one of its roles.
std::string varied(std::string document, unsigned seed);

}  // namespace importkcd::testing
