#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "labels/labels_connection.h"
#include "tests/support/mariadb_server.h"

namespace importkcd::testing {

/// The kinds of labels servers that one interface stands for.
enum class LabelsSideKind {
  sqlite_folder,
  mariadb,
  /// SQL Server's protocol, spoken by a server of the tests' own.
  tds_server,
  /// The SQL Server that the environment names.
  real_sql_server,
};

/// The databases of every side.
namespace side_database {
constexpr const char* sales = "importkcd sales";
constexpr const char* stock = "importkcd stock's [2]";
/// Holds none of the three tables.
constexpr const char* other = "importkcd other";
}  // namespace side_database

/// A labels server with these databases.
class LabelsSide {
 public:
  LabelsSide() = default;
  virtual ~LabelsSide() = default;
  LabelsSide(const LabelsSide&) = delete;
  LabelsSide& operator=(const LabelsSide&) = delete;

  /// What connects to it.
  virtual LabelsLogin login() const = 0;
};

/// The side of that kind, made when it is first asked for and kept until the last test has run;
/// null for a real SQL Server when the environment names none.
LabelsSide* shared_labels_side(LabelsSideKind kind);

/// The server behind the MariaDB side.
const MariaDbServer& shared_mariadb_server();

/// A text of this many UTF-16 units that ends in a character of two of them.
std::string text_of_units(std::size_t units);

/// Tests that run against every side.
class LabelsSideTest : public ::testing::TestWithParam<LabelsSideKind> {
 protected:
  void SetUp() override {
    side_ = shared_labels_side(GetParam());
    if (side_ == nullptr) {
      // The others are this machine's own: that one does not start is a fault.
      ASSERT_EQ(GetParam(), LabelsSideKind::real_sql_server);
      GTEST_SKIP() << "IMPORTKCD_TEST_SQL_SERVER names no SQL Server to test with";
    }
  }

  LabelsLogin login() const { return side_->login(); }

 private:
  LabelsSide* side_ = nullptr;
};

}  // namespace importkcd::testing

/// Runs the tests of a fixture derived from LabelsSideTest against every side.
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage)
#define INSTANTIATE_FOR_EVERY_LABELS_SIDE(Fixture)                                               \
  INSTANTIATE_TEST_SUITE_P(                                                                      \
      SqliteFolder, Fixture,                                                                     \
      ::testing::Values(::importkcd::testing::LabelsSideKind::sqlite_folder));                   \
  INSTANTIATE_TEST_SUITE_P(MariaDb, Fixture,                                                     \
                           ::testing::Values(::importkcd::testing::LabelsSideKind::mariadb));    \
  INSTANTIATE_TEST_SUITE_P(TdsServer, Fixture,                                                   \
                           ::testing::Values(::importkcd::testing::LabelsSideKind::tds_server)); \
  INSTANTIATE_TEST_SUITE_P(                                                                      \
      RealSqlServer, Fixture,                                                                    \
      ::testing::Values(::importkcd::testing::LabelsSideKind::real_sql_server))
