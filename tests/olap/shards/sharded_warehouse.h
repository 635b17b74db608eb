#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/mariadb_server.h"
#include "tests/support/postgres_server.h"

namespace importkcd::testing {

/// The warehouse of the sales example in the database "warehouse" of one server, which keeps the
/// rows of its facts on three others. Beside it, in the database "whole", is the same warehouse
/// with all of its rows and with sales_views.
class ShardedWarehouse {
 public:
  static constexpr std::size_t shards = 3;

  ShardedWarehouse() = default;
  virtual ~ShardedWarehouse() = default;
  ShardedWarehouse(const ShardedWarehouse&) = delete;
  ShardedWarehouse& operator=(const ShardedWarehouse&) = delete;

  /// An ODBC connection string, with user and password.
  virtual std::string connection_string() const = 0;

  /// Run SQL and give what it selects: in a database of the server that is asked, and on a shard.
  virtual std::string sql(const std::string& database, const std::string& statements) const = 0;
  virtual std::string shard_sql(std::size_t shard, const std::string& statements) const = 0;

  /// The queries that a shard was sent for rows of its facts since the last call.
  virtual std::vector<std::string> new_queries(std::size_t shard) = 0;

  /// The tables that are spread.
  static const std::vector<std::string>& facts();
};

/// Four PostgreSQL servers: facts are views of partitioned tables, whose partitions are foreign
/// tables.
/// Sales and stock are spread by their day and share the servers with the days' table, payments
/// are spread by their employee and share them with the employees' table.
class PostgresShards : public ShardedWarehouse {
 public:
  PostgresShards();

  std::string connection_string() const override;
  std::string sql(const std::string& database, const std::string& statements) const override;
  std::string shard_sql(std::size_t shard, const std::string& statements) const override;
  std::vector<std::string> new_queries(std::size_t shard) override;

  /// What the warehouse was asked for since the last call: statements that add up.
  std::vector<std::string> new_statements();

 private:
  PostgresServer head_;
  std::array<PostgresServer, shards> shards_;
  std::array<std::size_t, shards> read_{};
  std::size_t head_read_ = 0;
};

/// Four MariaDB servers: facts are tables of the Spider engine, spread by their keys.
class MariaDbShards : public ShardedWarehouse {
 public:
  /// Whether this computer has the Spider engine.
  static bool available();

  MariaDbShards();

  std::string connection_string() const override;
  std::string sql(const std::string& database, const std::string& statements) const override;
  std::string shard_sql(std::size_t shard, const std::string& statements) const override;
  std::vector<std::string> new_queries(std::size_t shard) override;

 private:
  MariaDbServer head_;
  std::array<MariaDbServer, shards> shards_;
};

}  // namespace importkcd::testing
