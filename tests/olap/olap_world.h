#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/olap_service.h"
#include "tests/support/postgres_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// What the tests of this program share: a PostgreSQL server with the warehouse of the sales
/// example, the example imported over it by the program, and the engine that serves it. Made once,
/// before the first test.
class OlapWorld {
 public:
  OlapWorld();

  const PostgresServer& postgres() const { return postgres_; }
  const OlapService& engine() const { return engine_; }

  /// The directory that the engine serves.
  std::string directory() const { return folder_.file("cubes für alle"); }
  /// A place for files of a test.
  const TemporaryFolder& folder() const { return folder_; }

  /// Runs `kcd import DOCUMENT --server mondrian:...` with further arguments.
  ProcessResult import(const std::string& document, std::vector<std::string> arguments) const;

 private:
  std::string imported_example() const;

  TemporaryFolder folder_;
  PostgresServer postgres_;
  OlapService engine_;
};

/// The world of this program.
const OlapWorld& world();

/// Waits until a condition holds; false when it never does.
bool comes_true(const std::function<bool()>& condition);

/// Waits until the running engine offers a database.
void wait_for_database(const std::string& name);

constexpr const char* sales_database = "Harbour Retail";
constexpr const char* sales_warehouse = "warehouse";

}  // namespace importkcd::testing
