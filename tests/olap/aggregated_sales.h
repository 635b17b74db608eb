#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/olap_service.h"
#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// The database servers over which aggregates are tested.
enum class AggregateServer { postgresql, mariadb };

/// How tests over one of them are called.
inline std::string aggregate_server_name(const ::testing::TestParamInfo<AggregateServer>& tested) {
  return tested.param == AggregateServer::postgresql ? "PostgreSql" : "MariaDb";
}

/// The servers that the tests share; they end with the last test.
void end_aggregate_servers();

/// The sales example in a database of its own on one of these servers, imported by the program.
class AggregatedSales {
 public:
  explicit AggregatedSales(AggregateServer server);

  /// Runs SQL in the warehouse and gives what it selects.
  std::string sql(const std::string& statements) const;
  /// The names of all tables and views of aggregates in the warehouse, each on a line.
  std::string aggregates() const;

  ProcessResult import(const std::string& document_file) const;
  /// Runs `kcd aggregate ACTION` over all cubes, or over those that the arguments name.
  ProcessResult aggregate(const std::string& action, std::vector<std::string> arguments = {}) const;
  /// How that is started.
  ProcessStart aggregate_start(const std::string& action,
                               std::vector<std::string> arguments = {}) const;
  /// Builds tables for a cube, which has to get some, or for all cubes.
  void build(const std::string& cube) const;
  void build_all() const;

  /// All schemas that are published.
  std::string schemas() const;
  std::unique_ptr<OlapService> engine() const;

  /// A connection string of the warehouse for this login.
  std::string connection_string(const std::string& user, const std::string& password) const;
  std::string directory() const { return folder_.file("olap"); }
  const TemporaryFolder& folder() const { return folder_; }
  AggregateServer server() const { return server_; }

 private:
  AggregateServer server_;
  std::string database_;
  TemporaryFolder folder_;
};

}  // namespace importkcd::testing
