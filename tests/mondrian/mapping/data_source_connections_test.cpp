#include "mondrian/mapping/data_source_connections.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

class DataSourceConnectionsTest : public testing::MappingTest {
 protected:
  std::string reason(const std::string& name) {
    DataSourceConnections connections(database);
    return testing::reason_of([&] { connections.of(name); });
  }
};

TEST_F(DataSourceConnectionsTest, AreFoundByTheirNamesInAnyLetterCase) {
  DataSourceConnections connections(database);
  EXPECT_EQ(connections.of("dw").url, "jdbc:postgresql://host/dw");
  EXPECT_EQ(&connections.of("DW"), &connections.of("dw"));
}

TEST_F(DataSourceConnectionsTest, WhatIsNoneTellsWhyAndHoldsNoPassword) {
  database.data_sources().add_new("O'File").connection_string = "DSN=x;PWD=secret";
  EXPECT_EQ(reason(""), "it has no data source");
  EXPECT_EQ(reason("Missing"), "there is no data source 'Missing'");
  EXPECT_EQ(
      reason("o'file"),
      "data source 'O'File': the connection text names an ODBC data source (DSN); it must name "
      "the driver and the server themselves");
}

}  // namespace
}  // namespace importkcd
