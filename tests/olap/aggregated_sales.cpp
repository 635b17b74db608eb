#include "tests/olap/aggregated_sales.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "tests/olap/olap_world.h"
#include "tests/olap/sales_views.h"
#include "tests/support/mariadb_server.h"

namespace importkcd::testing {
namespace {

std::unique_ptr<MariaDbServer> shared_mariadb;
int databases_made = 0;

const MariaDbServer& mariadb() {
  if (!shared_mariadb) {
    shared_mariadb = std::make_unique<MariaDbServer>();
  }
  return *shared_mariadb;
}

/// A value of an ODBC connection string, whatever it holds.
std::string value_in_braces(std::string value) {
  for (auto at = value.find('}'); at != std::string::npos; at = value.find('}', at + 2)) {
    value.insert(at, 1, '}');
  }
  return "{" + value + "}";
}

}  // namespace

void end_aggregate_servers() { shared_mariadb.reset(); }

AggregatedSales::AggregatedSales(AggregateServer server)
    : server_(server), database_("aggregated" + std::to_string(++databases_made)) {
  const auto creation = "CREATE DATABASE " + database_;
  if (server_ == AggregateServer::postgresql) {
    world().postgres().run_sql("postgres", creation);
  } else {
    mariadb().run_sql("", creation);
  }
  sql(read_file(EXAMPLES_FOLDER "/sales-warehouse.sql"));
  sql(sales_views);
  const auto imported = import(EXAMPLES_FOLDER "/sales.kcd");
  EXPECT_EQ(imported.exit_status, 0) << imported.errors;
}

std::string AggregatedSales::sql(const std::string& statements) const {
  return server_ == AggregateServer::postgresql ? world().postgres().run_sql(database_, statements)
                                                : mariadb().run_sql(database_, statements);
}

std::string AggregatedSales::aggregates() const {
  return sql(std::string("SELECT table_name FROM information_schema.tables WHERE table_schema = ") +
             (server_ == AggregateServer::postgresql ? "current_schema()" : "database()") +
             " AND table_name LIKE '%agg%' ORDER BY table_name");
}

std::string AggregatedSales::connection_string(const std::string& user,
                                               const std::string& password) const {
  const auto login = ";UID=" + value_in_braces(user) + ";PWD=" + value_in_braces(password);
  return server_ == AggregateServer::postgresql
             ? "Driver={PostgreSQL Unicode};Server=127.0.0.1;Port=" +
                   std::to_string(world().postgres().port()) + ";Database=" + database_ + login
             : mariadb().connection_string() + ";Database=" + database_ + login;
}

ProcessResult AggregatedSales::import(const std::string& document_file) const {
  const auto text = server_ == AggregateServer::postgresql
                        ? connection_string(PostgresServer::user, PostgresServer::password)
                        : connection_string(MariaDbServer::user, MariaDbServer::password);
  return run_process({KCD_PROGRAM,
                      {"import", document_file, "--partitions", "--mode", "update", "--server",
                       "mondrian:" + directory(), "--connect-string", text},
                      {{"LC_ALL", "C"}},
                      {},
                      {}});
}

ProcessStart AggregatedSales::aggregate_start(const std::string& action,
                                              std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"aggregate", action, "mondrian:" + directory()});
  return {KCD_PROGRAM, std::move(arguments), {{"LC_ALL", "C"}}, {}, {}};
}

ProcessResult AggregatedSales::aggregate(const std::string& action,
                                         std::vector<std::string> arguments) const {
  return run_process(aggregate_start(action, std::move(arguments)));
}

void AggregatedSales::build(const std::string& cube) const {
  const auto result = aggregate("build", {sales_database, cube});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_NE(result.output.find("for cube '" + cube + "'"), std::string::npos) << result.output;
}

void AggregatedSales::build_all() const {
  for (const auto* cube : {"Sales", "Stock", "Payroll"}) {
    build(cube);
  }
}

std::string AggregatedSales::schemas() const {
  std::string text;
  for (const auto& file :
       std::filesystem::directory_iterator(std::filesystem::path(directory()) / "schemas")) {
    text += read_file(file.path());
  }
  return text;
}

std::unique_ptr<OlapService> AggregatedSales::engine() const {
  return std::make_unique<OlapService>(KCD_PROGRAM, directory());
}

}  // namespace importkcd::testing
