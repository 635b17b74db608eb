#include <gmock/gmock.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "tests/olap/aggregated_sales.h"
#include "tests/olap/guarded_world.h"
#include "tests/olap/olap_world.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::SizeIs;

/// How an engine tells the state of aggregate tables.
class AggregateHealth : public ::testing::TestWithParam<AggregateServer> {
 protected:
  static void TearDownTestSuite() { end_aggregate_servers(); }

  /// One that compares the tables as often as its share of the time allows, or never.
  void serve(const std::string& minutes = "0.01") {
    engine = std::make_unique<OlapService>(
        KCD_PROGRAM, sales.directory(),
        std::vector<std::string>{"--admin-port", "0", "--check-aggregates", minutes});
  }

  std::string told(const std::string& path) const {
    std::string status;
    return fetched(engine->administration(), path, &status);
  }

  nlohmann::json health() const { return nlohmann::json::parse(told("/health")); }

  static nlohmann::json payroll_of(const nlohmann::json& health) {
    for (const auto& cube : health["databases"][0]["cubes"]) {
      if (cube["name"] == "Payroll") {
        return cube.value("aggregates", nlohmann::json());
      }
    }
    return {};
  }
  nlohmann::json payroll() const { return payroll_of(health()); }

  /// Waits until all of its tables have been found to be fresh.
  void expect_fresh() const {
    EXPECT_TRUE(comes_true([&] { return payroll()["fresh"] == tables(); })) << health();
    const auto now = payroll();
    EXPECT_THAT(now["stale"], IsEmpty());
    EXPECT_THAT(now["missing"], IsEmpty());
    EXPECT_THAT(now["unchecked"], IsEmpty());
    EXPECT_THAT(now["checked"].get<std::string>(), ::testing::MatchesRegex("20[0-9-]+T[0-9:]+Z"));
    EXPECT_EQ(health()["stale_aggregates"], false);
  }

  std::size_t tables() const {
    const auto names = figures(sales.aggregates());
    return names.size();
  }

  AggregatedSales sales{GetParam()};
  std::unique_ptr<OlapService> engine;
};

TEST_P(AggregateHealth, NamesAStaleTableUntilARefreshAndAMissingOne) {
  sales.build("Payroll");
  ASSERT_GT(tables(), 1U);
  serve();
  expect_fresh();
  EXPECT_THAT(told("/metrics"), HasSubstr("importkcd_aggregate_tables{state=\"stale\"} 0\n"));
  sales.sql("UPDATE payroll SET hours = hours + 100 WHERE payroll_id = 1;");
  EXPECT_TRUE(comes_true([&] { return payroll()["stale"].size() == tables(); })) << health();
  const auto stale = health();
  EXPECT_EQ(stale["ready"], true);
  EXPECT_EQ(stale["stale_aggregates"], true);
  EXPECT_EQ(payroll_of(stale)["fresh"], 0);
  EXPECT_THAT(payroll_of(stale)["stale"],
              IsSupersetOf(std::vector<nlohmann::json>{"payroll_agg_1", "payroll_agg_2"}));
  EXPECT_THAT(told("/metrics"), HasSubstr("importkcd_aggregate_tables{state=\"stale\"} " +
                                          std::to_string(tables()) + "\n"));
  EXPECT_EQ(sales.aggregate("refresh").exit_status, 0);
  expect_fresh();

  sales.sql("DROP TABLE payroll_agg_2;");
  EXPECT_TRUE(comes_true([&] { return payroll()["missing"].size() == 1; })) << health();
  EXPECT_THAT(payroll()["missing"], ElementsAre("payroll_agg_2"));
  EXPECT_EQ(health()["stale_aggregates"], true);
  EXPECT_EQ(engine->errors().find("cannot be checked"), std::string::npos) << engine->errors();
}

TEST_P(AggregateHealth, DoesNotCallFreshWhatCannotBeChecked) {
  sales.build("Payroll");
  serve("0");
  EXPECT_EQ(payroll()["fresh"], 0);
  EXPECT_THAT(payroll()["unchecked"], SizeIs(tables()));
  EXPECT_TRUE(payroll()["checked"].is_null());
  serve();
  expect_fresh();
  const auto records = sales.directory() + "/aggregates.xml";
  const auto good = read_file(records);
  sales.folder().write("olap/aggregates.xml", "<Aggregates");
  const auto unchecked = payroll();
  EXPECT_EQ(unchecked["fresh"], 0);
  EXPECT_THAT(unchecked["unchecked"], SizeIs(tables()));
  sales.folder().write("olap/aggregates.xml", good);
  expect_fresh();
  const auto errors = engine->errors();
  const auto told_once = errors.find("aggregates.xml cannot be used: ");
  ASSERT_NE(told_once, std::string::npos) << errors;
  EXPECT_EQ(errors.find("aggregates.xml cannot be used: ", told_once + 1), std::string::npos);

  const bool is_postgresql = sales.server() == AggregateServer::postgresql;
  sales.sql(is_postgresql ? "ALTER TABLE payroll RENAME TO gone;"
                          : "RENAME TABLE payroll TO gone;");
  EXPECT_TRUE(comes_true([&] { return payroll()["unchecked"].size() == tables(); }));
  sales.sql(is_postgresql ? "ALTER TABLE gone RENAME TO payroll;"
                          : "RENAME TABLE gone TO payroll;");
  expect_fresh();
  EXPECT_THAT(engine->errors(), HasSubstr("Aggregate table 'payroll_agg_1' of 'Harbour Retail' "
                                          "cannot be checked: "));
}

TEST_P(AggregateHealth, CallsTablesOfOlderVersionsStale) {
  sales.build("Payroll");
  auto records = read_file(sales.directory() + "/aggregates.xml");
  for (const std::string name : {"FactsQuery", "FactsFingerprint"}) {
    for (auto at = records.find(name); at != std::string::npos; at = records.find(name, at)) {
      records.replace(at, name.size(), name == "FactsQuery" ? "FingerprintQuery" : "Fingerprint");
    }
  }
  sales.folder().write("olap/aggregates.xml", records);
  serve();
  EXPECT_TRUE(comes_true([&] { return payroll()["stale"].size() == tables(); })) << health();
  EXPECT_EQ(sales.aggregate("refresh").exit_status, 0);
  expect_fresh();
}

// Only the driver of PostgreSQL sets a zone.
class ZonedAggregateHealth : public AggregateHealth {};

TEST_P(ZonedAggregateHealth, ComparesTimesWhateverTheZoneOfASession) {
  sales.sql(
      "DO $$ BEGIN EXECUTE format('ALTER DATABASE %I SET timezone TO ''Pacific/Chatham''', "
      "current_database()); END $$; "
      "DROP VIEW every_payment; ALTER TABLE department ALTER COLUMN department_name TYPE "
      "timestamptz USING "
      "'2026-01-01 12:00+00'::timestamptz + department_id * interval '1 hour';");
  sales.build("Payroll");
  EXPECT_THAT(read_file(sales.directory() + "/aggregates.xml"), HasSubstr("department_name"));
  serve();
  expect_fresh();
}

INSTANTIATE_TEST_SUITE_P(OverPostgreSql, ZonedAggregateHealth,
                         ::testing::Values(AggregateServer::postgresql));

INSTANTIATE_TEST_SUITE_P(Over, AggregateHealth,
                         ::testing::Values(AggregateServer::postgresql, AggregateServer::mariadb),
                         aggregate_server_name);

}  // namespace
}  // namespace importkcd::testing
