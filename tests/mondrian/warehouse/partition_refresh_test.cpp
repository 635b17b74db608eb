#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <utility>

#include "base/import_error.h"
#include "mondrian/publication/mondrian_server.h"
#include "mondrian/warehouse/aggregate_work.h"
#include "mondrian/warehouse/warehouse.h"
#include "tests/mondrian/mapping/mapping_fixture.h"
#include "tests/support/mariadb_server.h"
#include "tests/support/postgres_server.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

enum class Tested { postgresql, mariadb };

/// Facts by year in tables of their own, and all of them in one table, by city.
constexpr const char* shop_warehouse = R"(
CREATE TABLE calendar (day_id INTEGER PRIMARY KEY, year INTEGER, month INTEGER);
INSERT INTO calendar VALUES (1, -1, 1), (2, 2025, 1), (3, 2025, 2), (4, 2026, 1), (5, 2026, 2);
CREATE TABLE store (id INTEGER PRIMARY KEY, city_id INTEGER, city VARCHAR(40));
INSERT INTO store VALUES (1, 17, 'L''Aquila'), (2, 18, 'Roma'), (3, 19, 'Bari');
CREATE TABLE sales_old (day_id INTEGER, store_id INTEGER, amount INTEGER);
INSERT INTO sales_old VALUES (1, 1, 10), (1, 2, NULL);
CREATE TABLE sales_2025 (day_id INTEGER, store_id INTEGER, amount INTEGER);
INSERT INTO sales_2025 VALUES (2, 1, 20), (3, 2, 21), (3, 3, -22);
CREATE TABLE sales (day_id INTEGER, store_id INTEGER, amount INTEGER);
INSERT INTO sales VALUES (4, 1, 40), (5, 1, 41), (5, 3, 42);
CREATE TABLE sold AS SELECT * FROM sales_old UNION ALL SELECT * FROM sales_2025
  UNION ALL SELECT * FROM sales;
)";

class PartitionRefresh : public ::testing::TestWithParam<Tested> {
 protected:
  static void TearDownTestSuite() {
    postgresql().reset();
    mariadb().reset();
  }

  PartitionRefresh() {
    static int number = 0;
    database_ = "shops" + std::to_string(++number);
    if (is_postgresql()) {
      if (!postgresql()) {
        postgresql() = std::make_unique<testing::PostgresServer>();
      }
      postgresql()->run_sql("postgres", "CREATE DATABASE " + database_);
    } else {
      if (!mariadb()) {
        mariadb() = std::make_unique<testing::MariaDbServer>();
      }
      mariadb()->run_sql("", "CREATE DATABASE " + database_);
    }
    sql(shop_warehouse);
  }

  static bool is_postgresql() { return GetParam() == Tested::postgresql; }

  std::string sql(const std::string& statements) const {
    return is_postgresql() ? postgresql()->run_sql(database_, statements)
                           : mariadb()->run_sql(database_, statements);
  }

  std::string connection() const {
    return is_postgresql() ? postgresql()->connection_string(database_)
                           : mariadb()->connection_string() + ";Database=" + database_ +
                                 ";UID=" + testing::MariaDbServer::user + ";PWD={p;w}}d={1}";
  }

  struct Part {
    std::string name;
    std::string table;
    std::string dimension;
    std::string level;
    std::string value;
  };

  /// Publishes the cube over these partitions.
  void publish(const std::vector<Part>& parts) const {
    const auto server = make_mondrian_server(directory(), ServerAccess::read_write);
    server->connect("anything");
    auto& database = server->add_database("Shops");
    server->write_back_database(database);
    server->write_back_data_source(database, database.data_sources().add({"DW", connection(), ""}));
    auto number = [](const std::string& name, const std::string& key,
                     const std::string& label = {}) {
      auto level = testing::level(name, key, label);
      level.column_type = 3;
      return level;
    };
    add_dimension(*server, database, "Calendar", "calendar",
                  {number("Year", "calendar.year"), number("Month", "calendar.month")});
    add_dimension(*server, database, "Store", "store",
                  {number("City", "store.city_id", "store.city")});
    auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
    cube.data_source = "DW";
    cube.aggregation_prefix = "agg_";
    cube.fact_table = "sales";
    cube.from_clause = "sales, calendar, store";
    cube.join_clause = join_of("sales");
    database.add_cube_dimension(cube, "Calendar");
    database.add_cube_dimension(cube, "Store");
    cube.measures.add(testing::measure("Amount", "sales.amount"));
    for (const auto& part : parts) {
      auto& partition = cube.partitions.edit_or_add(part.name);
      partition.follows_cube = false;
      partition.data_source = "DW";
      partition.fact_table = part.table;
      partition.from_clause = part.table + ", calendar, store";
      partition.join_clause = join_of(part.table);
      partition.slices.edit_or_add(part.dimension).levels.add({part.level, {}, part.value});
    }
    server->write_back_cube(database, cube);
    server->finish();
  }

  void publish_years() const {
    publish({{"Old", "sales_old", "Calendar", "Year", "-1"},
             {"2025", "sales_2025", "Calendar", "Year", "2025"},
             {"2026", "sales", "Calendar", "Year", "2026"}});
  }

  void publish_cities() const {
    publish({{"A", "sold", "Store", "City", "L@#$%Aquila"},
             {"B", "sold", "Store", "City", "Roma"},
             {"C", "sold", "Store", "City", "Bari"}});
  }

  using LevelNames = std::vector<std::pair<std::string, std::string>>;

  /// Builds a table by months and cities, and one by years alone.
  void build() const {
    for (const auto& outcome :
         build_of({{{"Calendar", "Month"}, {"Store", "City"}}, {{"Calendar", "Year"}}})) {
      EXPECT_EQ(outcome.failure, "") << outcome.table;
      EXPECT_EQ(outcome.partitions_read, 0U);
    }
  }

  std::vector<AggregateOutcome> build_of(const std::vector<LevelNames>& tables) const {
    const AggregateScope scope{directory(), {}, {}};
    PlannedCube plan{cubes_in_scope(scope).at(0), {}, 0, {}};
    for (const auto& names : tables) {
      plan.tables.push_back({{}, names, 0, 0});
    }
    return build_aggregates(scope, {plan}, {}).built;
  }

  /// Builds three tables, by months and cities, by years, and by cities.
  std::vector<AggregateOutcome> build_three() const {
    return build_of(
        {{{"Calendar", "Month"}, {"Store", "City"}}, {{"Calendar", "Year"}}, {{"Store", "City"}}});
  }

  /// How often one of the three partitions was read for a fingerprint, on PostgreSQL.
  static std::size_t facts_hashed() {
    const auto log = postgresql()->log();
    const std::string hashed = "hashtextextended(row(\"sales\".";
    std::size_t result = 0;
    for (auto at = log.find(hashed); at != std::string::npos; at = log.find(hashed, at + 1)) {
      ++result;
    }
    return result;
  }

  /// What became of each table: "1 of 3", "whole", or why it is not used.
  std::vector<std::string> refreshed() const {
    std::vector<std::string> result;
    for (const auto& outcome : refresh_aggregates({directory(), {}, {}}, {}).built) {
      result.push_back(!outcome.failure.empty() ? outcome.failure
                       : outcome.partitions_read == 0
                           ? "whole"
                           : std::to_string(outcome.partitions_read) + " of " +
                                 std::to_string(outcome.partitions));
    }
    return result;
  }

  std::vector<AggregateStatus::State> states() const {
    std::vector<AggregateStatus::State> result;
    for (const auto& status : aggregates_status({directory(), {}, {}}, {})) {
      result.push_back(status.state);
    }
    return result;
  }

  /// The rows of the table by months and cities.
  std::string rows() const {
    return sql("SELECT dimension1_level1_key, dimension1_level2_key, dimension2_level1_key, "
               "dimension2_level1_name, fact_count, measure1 FROM agg_1 ORDER BY 1, 2, 3;") +
           sql("SELECT dimension1_level1_key, fact_count, measure1 FROM agg_2 ORDER BY 1;");
  }

  void expect_what_a_whole_build_gives() const {
    const auto here = rows();
    build();
    EXPECT_EQ(here, rows());
  }

  std::string directory() const { return folder_.file("olap"); }

  static constexpr auto fresh = AggregateStatus::State::fresh;
  static constexpr auto stale = AggregateStatus::State::stale;

 private:
  static std::unique_ptr<testing::PostgresServer>& postgresql() {
    static std::unique_ptr<testing::PostgresServer> server;
    return server;
  }
  static std::unique_ptr<testing::MariaDbServer>& mariadb() {
    static std::unique_ptr<testing::MariaDbServer> server;
    return server;
  }

  static std::string join_of(const std::string& facts) {
    return facts + ".day_id = calendar.day_id AND " + facts + ".store_id = store.id";
  }

  static void add_dimension(OlapServer& server, OlapDatabase& database, const std::string& name,
                            const std::string& table, const std::vector<OlapLevel>& levels) {
    auto& dimension = database.dimensions().add_new(name);
    dimension.data_source = "DW";
    dimension.from_clause = table;
    dimension.levels.add(testing::all_level());
    for (const auto& level : levels) {
      dimension.levels.add(level);
    }
    server.write_back_dimension(database, dimension);
  }

  std::string database_;
  testing::TemporaryFolder folder_;
};

TEST_P(PartitionRefresh, ReadsThePartitionThatWasLoadedAndNoOther) {
  publish_years();
  build();
  EXPECT_THAT(states(), ElementsAre(fresh, fresh));
  EXPECT_EQ(refreshed(), std::vector<std::string>());
  sql("UPDATE agg_1 SET measure1 = measure1 + 1000 WHERE dimension1_level1_key = 2025;"
      "INSERT INTO sales VALUES (4, 2, 43);");
  EXPECT_THAT(states(), ElementsAre(stale, stale));
  EXPECT_THAT(refreshed(), ElementsAre("1 of 3", "1 of 3"));
  EXPECT_THAT(states(), ElementsAre(fresh, fresh));
  EXPECT_EQ(sql("SELECT sum(measure1), count(*) FROM agg_1 WHERE dimension1_level1_key = 2025;"),
            "3019\t3\n");
  sql("UPDATE agg_1 SET measure1 = measure1 - 1000 WHERE dimension1_level1_key = 2025;"
      "DELETE FROM sales_old WHERE amount = 10; UPDATE sales SET amount = -1;");
  EXPECT_THAT(refreshed(), ElementsAre("2 of 3", "2 of 3"));
  EXPECT_THAT(states(), ElementsAre(fresh, fresh));
  expect_what_a_whole_build_gives();
}

TEST_P(PartitionRefresh, ReadsBothPartitionsOfAFactThatMoved) {
  publish_cities();
  build();
  sql("UPDATE agg_1 SET measure1 = 1000 WHERE dimension2_level1_name = 'Roma';"
      "UPDATE sold SET store_id = 3 WHERE amount = 20;");
  // The other table does not tell cities apart.
  EXPECT_THAT(refreshed(), ElementsAre("2 of 3", "whole"));
  EXPECT_THAT(states(), ElementsAre(fresh, fresh));
  EXPECT_EQ(sql("SELECT DISTINCT measure1 FROM agg_1 WHERE dimension2_level1_name = 'Roma';"),
            "1000\n");
  EXPECT_EQ(sql("SELECT sum(fact_count) FROM agg_1 WHERE dimension2_level1_name = 'L''Aquila';"),
            "3\n");
  sql("UPDATE sold SET amount = 5 WHERE amount = 21;");
  EXPECT_THAT(refreshed(), ElementsAre("1 of 3", "whole"));
  expect_what_a_whole_build_gives();
}

TEST_P(PartitionRefresh, IsABuildAsAWholeOnceADimensionOrAllPartitionsHaveChanged) {
  publish_years();
  build();
  sql("UPDATE store SET city = 'Milano' WHERE id = 2; UPDATE sales SET amount = 1;");
  // Only one of the tables has the names of cities.
  EXPECT_THAT(refreshed(), ElementsAre("whole", "1 of 3"));
  expect_what_a_whole_build_gives();
  sql("UPDATE sales SET amount = 2; UPDATE sales_2025 SET amount = 2;"
      "UPDATE sales_old SET amount = 2;");
  EXPECT_THAT(refreshed(), ElementsAre("whole", "whole"));
  expect_what_a_whole_build_gives();
}

TEST_P(PartitionRefresh, IsABuildAsAWholeWherePartitionsTurnOutToOverlap) {
  publish({{"Old", "sales_old", "Calendar", "Year", "-1"},
           {"2025", "sales_2025", "Calendar", "Year", "2025"},
           {"More of 2025", "sales", "Calendar", "Year", "2025.0"}});
  sql("UPDATE sales SET day_id = 2;");
  build();
  sql("UPDATE sales SET amount = 7;");
  EXPECT_THAT(refreshed(), ElementsAre("whole", "whole"));
  EXPECT_THAT(states(), ElementsAre(fresh, fresh));
  // As many facts as there should be, but in rows of their own.
  sql("UPDATE sales SET amount = 8; UPDATE sales_2025 SET amount = 8;");
  EXPECT_THAT(refreshed(), ElementsAre("whole", "whole"));
  expect_what_a_whole_build_gives();
}

TEST_P(PartitionRefresh, TakesPartitionsOfOneSliceTogether) {
  publish({{"Old", "sales_old", "Calendar", "Year", "-1"},
           {"2025", "sales_2025", "Calendar", "Year", "2025"},
           {"More of 2025", "sales", "Calendar", "Year", "2025"}});
  sql("UPDATE sales SET day_id = 2;");
  build();
  sql("UPDATE sales SET amount = 7;");
  EXPECT_THAT(refreshed(), ElementsAre("2 of 3", "2 of 3"));
  expect_what_a_whole_build_gives();
}

/// What is seen by means that only PostgreSQL has: a log of its own for each server, and triggers
/// for new tables.
class ReadFacts : public PartitionRefresh {};

TEST_P(ReadFacts, AreReadOnceForAllTablesOfACube) {
  publish_years();
  sql("DO $$ BEGIN EXECUTE format('ALTER DATABASE %I SET log_statement TO %L', "
      "current_database(), 'all'); END $$;");
  const auto before = facts_hashed();
  EXPECT_EQ(build_three().size(), 3U);
  EXPECT_EQ(facts_hashed() - before, 3U);
  EXPECT_THAT(states(), ElementsAre(fresh, fresh, fresh));
  EXPECT_EQ(facts_hashed() - before, 6U);
  sql("UPDATE sales SET amount = 7; UPDATE store SET city = 'Milano' WHERE id = 2;");
  EXPECT_THAT(refreshed(), ElementsAre("whole", "1 of 3", "whole"));
  EXPECT_EQ(facts_hashed() - before, 9U);
  EXPECT_THAT(states(), ElementsAre(fresh, fresh, fresh));
}

TEST_P(ReadFacts, LeaveNoTableFreshThatMoreCameInto) {
  publish_years();
  // A fact comes after the first table was made of the others, and is there for the second one.
  sql("CREATE FUNCTION sell() RETURNS event_trigger LANGUAGE plpgsql SECURITY DEFINER AS $$ BEGIN "
      "INSERT INTO sales SELECT 5, 2, 99 WHERE NOT EXISTS (SELECT 1 FROM sales WHERE amount = 99); "
      "END $$; CREATE EVENT TRIGGER sold ON ddl_command_end WHEN TAG IN ('CREATE TABLE AS') "
      "EXECUTE FUNCTION sell();");
  const auto built = build_three();
  ASSERT_EQ(built.size(), 3U);
  EXPECT_EQ(built[0].failure, "");
  EXPECT_THAT(built[1].failure, HasSubstr("facts came while it was built"));
  EXPECT_EQ(built[2].failure, "");
  EXPECT_THAT(states(), ElementsAre(stale, AggregateStatus::State::not_finished, fresh));
  EXPECT_THAT(refreshed(), ElementsAre("1 of 3", "whole"));
  EXPECT_THAT(states(), ElementsAre(fresh, fresh, fresh));
}

/// Replaces what stands between two texts, each time.
void replace_between(std::string& text, const std::string& begin, const std::string& end,
                     const std::string& replacement) {
  for (auto at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
    text.replace(at, text.find(end, at) + end.size() - at, replacement);
    at += replacement.size();
  }
}

TEST_P(PartitionRefresh, IsABuildAsAWholeForRecordsOfOlderVersions) {
  publish_years();
  build();
  const auto file = directory() + "/aggregates.xml";
  auto text = testing::read_file(file);
  // One query about all, which still gives what it gave.
  replace_between(text, "<FactsQuery>", "</FactsFingerprint>",
                  "<FingerprintQuery>select '7:7'</FingerprintQuery>");
  replace_between(text, "<DimensionsQuery>", "</DimensionsFingerprint>",
                  "<Fingerprint>7:7</Fingerprint>");
  std::ofstream(file) << text;
  EXPECT_THAT(text, ::testing::Not(HasSubstr("FactsQuery")));
  EXPECT_THAT(states(), ElementsAre(stale, stale));
  EXPECT_THAT(refreshed(), ElementsAre("whole", "whole"));
  EXPECT_THAT(states(), ElementsAre(fresh, fresh));
  sql("UPDATE sales SET amount = 3;");
  EXPECT_THAT(refreshed(), ElementsAre("1 of 3", "1 of 3"));
}

TEST_P(PartitionRefresh, DoesNotUseATableWithFactsThatLackAMember) {
  // A partition without a slice on stores takes facts of any.
  publish_years();
  build();
  sql("INSERT INTO sales VALUES (4, 99, 1);");
  EXPECT_THAT(refreshed(), ElementsAre(StartsWith("there are facts without a member"), "1 of 3"));
  EXPECT_EQ(states().at(0), AggregateStatus::State::not_finished);
}

TEST_P(PartitionRefresh, BuildsAsAWholeWhatTheTableRefuses) {
  publish_years();
  build();
  sql("ALTER TABLE agg_1 ADD CONSTRAINT small CHECK (measure1 < 5000);"
      "UPDATE sales SET amount = 5000;");
  EXPECT_THAT(refreshed(), ElementsAre("whole", "1 of 3"));
  expect_what_a_whole_build_gives();
}

TEST_P(PartitionRefresh, FollowsATableThatWasPutInTheOldOnesPlace) {
  publish_years();
  build();
  sql("ALTER TABLE sales RENAME TO sales_before;"
      "CREATE TABLE sales (day_id INTEGER, store_id INTEGER, amount INTEGER);"
      "INSERT INTO sales VALUES (5, 2, 77);");
  EXPECT_THAT(states(), ElementsAre(stale, stale));
  EXPECT_THAT(refreshed(), ElementsAre("1 of 3", "1 of 3"));
  EXPECT_EQ(sql("SELECT sum(amount) FROM agg_facts WHERE day_id > 3;"), "77\n");
  expect_what_a_whole_build_gives();
}

class ChangedRows : public PartitionRefresh {
 protected:
  ChangedRows() : warehouse_(jdbc_connection(connection()), {}) {}

  bool change(bool is_right) {
    return warehouse_.change_rows(
        "sold", {"DELETE FROM sold", "INSERT INTO sold SELECT * FROM sales"}, [&] {
          EXPECT_EQ(warehouse_.row("SELECT count(*) FROM sold", 1).front(), "3");
          // What others see, and would be left if this one were killed here.
          EXPECT_EQ(sql("SELECT count(*) FROM sold;"), "8\n");
          return is_right;
        });
  }

  Warehouse warehouse_;
};

TEST_P(ChangedRows, TakeEffectTogetherOrNotAtAll) {
  EXPECT_FALSE(change(false));
  EXPECT_EQ(sql("SELECT count(*) FROM sold;"), "8\n");
  EXPECT_THROW(warehouse_.change_rows("sold", {"DELETE FROM sold", "INSERT INTO nowhere SELECT 1"},
                                      [] { return true; }),
               ImportError);
  EXPECT_EQ(sql("SELECT count(*) FROM sold;"), "8\n");
  EXPECT_TRUE(change(true));
  EXPECT_EQ(sql("SELECT count(*) FROM sold;"), "3\n");
}

TEST_P(ChangedRows, StayWhereTheTableKnowsNoTransactions) {
  // All tables of PostgreSQL know them.
  sql(is_postgresql() ? "" : "ALTER TABLE sold ENGINE = MyISAM;");
  EXPECT_EQ(warehouse_.change_rows("sold", {"DELETE FROM sold"}, [] { return true; }),
            is_postgresql());
  EXPECT_EQ(sql("SELECT count(*) FROM sold;"), is_postgresql() ? "0\n" : "8\n");
}

std::string name_of(const ::testing::TestParamInfo<Tested>& tested) {
  return tested.param == Tested::postgresql ? "PostgreSql" : "MariaDb";
}

INSTANTIATE_TEST_SUITE_P(Over, PartitionRefresh,
                         ::testing::Values(Tested::postgresql, Tested::mariadb), name_of);
INSTANTIATE_TEST_SUITE_P(Over, ReadFacts, ::testing::Values(Tested::postgresql), name_of);
INSTANTIATE_TEST_SUITE_P(Over, ChangedRows, ::testing::Values(Tested::postgresql, Tested::mariadb),
                         name_of);

}  // namespace
}  // namespace importkcd
