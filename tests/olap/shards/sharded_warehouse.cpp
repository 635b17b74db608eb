#include "tests/olap/shards/sharded_warehouse.h"

#include <filesystem>
#include <regex>
#include <sstream>
#include <string_view>

#include "tests/olap/sales_views.h"

namespace importkcd::testing {
namespace {

std::string example() { return read_file(EXAMPLES_FOLDER "/sales-warehouse.sql"); }

/// The tables without rows. No shard has every row that a foreign key could ask for.
std::string empty_tables() {
  const auto all = example();
  const auto creations = all.substr(0, all.find("\nINSERT INTO"));
  return std::regex_replace(creations, std::regex(R"( REFERENCES \w+ \(\w+\))"), "");
}

std::string in_apostrophes(const std::string& text) {
  return "'" + std::regex_replace(text, std::regex("'"), "''") + "'";
}

/// The statements of a log from a place on, which moves to its end.
std::vector<std::string> logged_statements(const std::string& log, std::size_t& place) {
  std::vector<std::string> statements;
  std::istringstream lines(log.substr(place));
  place = log.size();
  for (std::string line; std::getline(lines, line);) {
    const bool goes_on = !line.empty() && line.front() == '\t';
    if (goes_on && !statements.empty()) {
      statements.back().append(" ").append(line.substr(1));
    } else if (const auto begin = line.find("LOG:  "); begin != std::string::npos) {
      statements.push_back(line.substr(line.find(": ", begin + 6) + 2));
    }
  }
  return statements;
}

bool begins_with(const std::string& text, std::string_view beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

std::string foreign_table_in_postgres(const std::string& table, const std::string& number) {
  return "CREATE FOREIGN TABLE " + table + "_" + number + " PARTITION OF " + table +
         " FOR VALUES WITH (MODULUS 3, REMAINDER " + number + ") SERVER shard_" + number +
         " OPTIONS (table_name '" + table + "');\n";
}

/// Tells a server of another, which has the same login.
std::string server_in_postgres(const std::string& name, int port) {
  return "CREATE SERVER " + name +
         " FOREIGN DATA WRAPPER postgres_fdw OPTIONS (host '127.0.0.1', port '" +
         std::to_string(port) +
         "', dbname 'warehouse', async_capable 'true', fetch_size '10000', batch_size '1000', "
         "fdw_tuple_cost '1');\nCREATE USER MAPPING FOR CURRENT_USER SERVER " +
         name + " OPTIONS (user " + in_apostrophes(PostgresServer::user) + ", password " +
         in_apostrophes(PostgresServer::password) + ");\n";
}

/// The partitions of a table become tables of that name on the shards.
std::string spread_in_postgres(const std::string& table, const std::string& key) {
  const auto rows = table + "_rows";
  std::string statements = "ALTER TABLE " + table + " RENAME TO " + rows + ";\nCREATE TABLE " +
                           table + " (LIKE " + rows + ") PARTITION BY HASH (" + key + ");\n";
  for (std::size_t shard = 0; shard < ShardedWarehouse::shards; ++shard) {
    statements += foreign_table_in_postgres(table, std::to_string(shard));
  }
  return statements + "INSERT INTO " + table + " SELECT * FROM " + rows + ";\nDROP TABLE " + rows +
         " CASCADE;\n";
}

std::string partition_in_mariadb(const std::string& number) {
  return "PARTITION p" + number + " COMMENT='srv \"shard_" + number + "\"'";
}

std::string spread_in_mariadb(const std::string& table, const std::string& key) {
  const auto rows = table + "_rows";
  std::string statements = "RENAME TABLE " + table + " TO " + rows + ";\nCREATE TABLE " + table +
                           " (PRIMARY KEY (" + key + ")) ENGINE=SPIDER COMMENT='wrapper " +
                           R"("mysql", table ")" + table + "\"' PARTITION BY HASH (" + key + ") (";
  for (std::size_t shard = 0; shard < ShardedWarehouse::shards; ++shard) {
    statements.append(shard == 0 ? "" : ", ").append(partition_in_mariadb(std::to_string(shard)));
  }
  return statements + ") AS SELECT * FROM " + rows + ";\nDROP TABLE " + rows + ";\n";
}

}  // namespace

const std::vector<std::string>& ShardedWarehouse::facts() {
  static const std::vector<std::string> tables{"sales", "sales_2025", "stock", "payroll"};
  return tables;
}

PostgresShards::PostgresShards() {
  for (const auto* database : {"whole", "warehouse"}) {
    head_.run_sql("postgres", std::string("CREATE DATABASE ") + database);
    head_.run_sql(database, example());
  }
  head_.run_sql("whole", sales_views);
  std::string statements =
      "CREATE EXTENSION postgres_fdw;\n"
      "ALTER DATABASE warehouse SET enable_partitionwise_join = on;\n"
      "ALTER DATABASE warehouse SET enable_partitionwise_aggregate = on;\n";
  for (std::size_t number = 0; number < shards; ++number) {
    const auto& shard = shards_.at(number);
    shard.run_sql("postgres",
                  "CREATE DATABASE warehouse;\nALTER DATABASE warehouse SET log_statement = 'all'");
    shard.run_sql("warehouse", empty_tables());
    statements += server_in_postgres("shard_" + std::to_string(number), shard.port());
  }
  for (const auto* table : {"calendar", "sales", "sales_2025", "stock"}) {
    statements += spread_in_postgres(table, "day_id");
  }
  for (const auto* table : {"employee", "payroll"}) {
    statements += spread_in_postgres(table, "employee_id");
  }
  head_.run_sql("warehouse", statements);
  head_.run_sql("warehouse", "ANALYZE");
  head_.run_sql("warehouse", "ALTER DATABASE warehouse SET log_statement = 'all'");
}

std::string PostgresShards::connection_string() const {
  return head_.connection_string("warehouse");
}

std::string PostgresShards::sql(const std::string& database, const std::string& statements) const {
  return head_.run_sql(database, statements);
}

std::string PostgresShards::shard_sql(std::size_t shard, const std::string& statements) const {
  return shards_.at(shard).run_sql("warehouse", statements);
}

std::vector<std::string> PostgresShards::new_queries(std::size_t shard) {
  static const std::regex of_facts(R"(public\.(sales|stock|payroll))");
  std::vector<std::string> queries;
  for (const auto& statement : logged_statements(shards_.at(shard).log(), read_.at(shard))) {
    // Others ask for the next rows, or read a sample of them.
    if (begins_with(statement, "DECLARE ") && std::regex_search(statement, of_facts)) {
      queries.push_back(statement);
    }
  }
  return queries;
}

std::vector<std::string> PostgresShards::new_statements() {
  std::vector<std::string> statements;
  for (const auto& statement : logged_statements(head_.log(), head_read_)) {
    if (begins_with(statement, "select ") && statement.find("sum(") != std::string::npos) {
      statements.push_back(statement);
    }
  }
  return statements;
}

bool MariaDbShards::available() {
  return std::filesystem::exists("/usr/lib/mysql/plugin/ha_spider.so");
}

MariaDbShards::MariaDbShards() {
  for (const auto* database : {"whole", "warehouse"}) {
    head_.run_sql("", std::string("CREATE DATABASE ") + database);
    head_.run_sql(database, example());
  }
  head_.run_sql("whole", sales_views);
  std::string statements = "INSTALL SONAME 'ha_spider';\n";
  for (std::size_t number = 0; number < shards; ++number) {
    const auto& shard = shards_.at(number);
    shard.run_sql("", "CREATE DATABASE warehouse;");
    shard.run_sql("warehouse", empty_tables());
    statements += "CREATE SERVER shard_" + std::to_string(number) +
                  " FOREIGN DATA WRAPPER mysql OPTIONS (HOST '127.0.0.1', PORT " +
                  std::to_string(shard.port()) + ", DATABASE 'warehouse', USER " +
                  in_apostrophes(MariaDbServer::user) + ", PASSWORD " +
                  in_apostrophes(MariaDbServer::password) + ");\n";
  }
  statements += spread_in_mariadb("sales", "sale_id") + spread_in_mariadb("sales_2025", "sale_id") +
                spread_in_mariadb("stock", "stock_id") + spread_in_mariadb("payroll", "payroll_id");
  head_.run_sql("warehouse", statements);
  for (const auto& shard : shards_) {
    shard.run_sql("", "SET GLOBAL log_output = 'TABLE'; SET GLOBAL general_log = 1;");
  }
}

std::string MariaDbShards::connection_string() const {
  // A closing brace is doubled in braces.
  return head_.connection_string() + ";Database=warehouse;UID=" + MariaDbServer::user +
         ";PWD={p;w}}d={1}";
}

std::string MariaDbShards::sql(const std::string& database, const std::string& statements) const {
  return head_.run_sql(database, statements);
}

std::string MariaDbShards::shard_sql(std::size_t shard, const std::string& statements) const {
  return shards_.at(shard).run_sql("warehouse", statements);
}

std::vector<std::string> MariaDbShards::new_queries(std::size_t shard) {
  // Spider writes in small letters.
  std::istringstream lines(
      shard_sql(shard,
                "SELECT argument FROM mysql.general_log WHERE argument LIKE BINARY 'select %from "
                "`warehouse`.`%'; TRUNCATE mysql.general_log;"));
  std::vector<std::string> queries;
  for (std::string line; std::getline(lines, line);) {
    queries.push_back(line);
  }
  return queries;
}

}  // namespace importkcd::testing
