#include "labels/sql_server_address.h"

#include <gtest/gtest.h>

#include "base/import_error.h"

namespace importkcd {
namespace {

std::string shown(std::string_view server) {
  const auto [host, instance, port] = sql_server_address(server);
  return host + "|" + instance + "|" + port;
}

TEST(SqlServerAddress, EveryFormOfAServerNameIsUnderstood) {
  EXPECT_EQ(shown("DB1"), "DB1||1433");
  EXPECT_EQ(shown("db1.example.com,2433"), "db1.example.com||2433");
  EXPECT_EQ(shown("DB1\\SALES"), "DB1|SALES|");
  EXPECT_EQ(shown("DB1\\SALES,2433"), "DB1||2433");
  EXPECT_EQ(shown(" tcp:DB1 , 2433 "), "DB1||2433");
}

TEST(SqlServerAddress, ThisComputerHasItsOwnNames) {
  EXPECT_EQ(shown("(local)"), "localhost||1433");
  EXPECT_EQ(shown("(LOCAL)\\X"), "localhost|X|");
  EXPECT_EQ(shown("."), "localhost||1433");
  EXPECT_EQ(shown(".\\X"), "localhost|X|");
  EXPECT_EQ(shown(""), "localhost||1433");
}

TEST(SqlServerAddress, TheConnectionStringQuotesEveryText) {
  LabelsLogin login;
  login.server = "DB1;UID=x,1";
  login.user = "a b;c";
  login.password = "{p}";
  EXPECT_EQ(sql_server_connection_string(login),
            "DRIVER={FreeTDS};SERVER={DB1;UID=x};PORT={1};TDS_Version=7.4;ClientCharset=UTF-8;"
            "UID={a b;c};PWD={{p}};");
  login.server = "DB1\\SALES";
  login.secure_login = true;
  EXPECT_EQ(sql_server_connection_string(login),
            "DRIVER={FreeTDS};SERVER={DB1\\SALES};TDS_Version=7.4;ClientCharset=UTF-8;"
            "Trusted_Connection=Yes;");
}

TEST(SqlServerAddress, ALoginWithoutAUserDoesNotBecomeIntegratedSecurity) {
  LabelsLogin login;
  login.server = "DB1";
  EXPECT_THROW(sql_server_connection_string(login), ImportError);
}

}  // namespace
}  // namespace importkcd
