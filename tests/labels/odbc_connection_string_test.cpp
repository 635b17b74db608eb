#include "labels/odbc_connection_string.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/import_error.h"

namespace importkcd {
namespace {

using namespace std::string_literals;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

LabelsLogin sql_login(const std::string& user, const std::string& password) {
  LabelsLogin login;
  login.user = user;
  login.password = password;
  return login;
}

TEST(OdbcConnectionString, IsPutTogetherFromItsItems) {
  EXPECT_EQ(
      completed_connection_string(" DSN = a b ;;PWD={x;}}=};flag;E=;Last={open", sql_login("", "")),
      "DSN=a b;PWD={x;}}=};flag=;E=;Last={open");
}

TEST(OdbcConnectionString, NoValueCanAddAnAttribute) {
  const std::string cannot_be_part = "cannot be part of a connection";
  EXPECT_EQ(quoted_odbc_value("a;SERVER=evil", OdbcQuoting::doubled_braces), "{a;SERVER=evil}");
  EXPECT_EQ(quoted_odbc_value("a}b{", OdbcQuoting::doubled_braces), "{a}}b{}");
  EXPECT_EQ(quoted_odbc_value("a}b", OdbcQuoting::up_to_brace_and_semicolon), "{a}b}");
  for (const auto quoting : {OdbcQuoting::doubled_braces, OdbcQuoting::up_to_brace_and_semicolon}) {
    EXPECT_THAT([&] { quoted_odbc_value("x};SERVER=evil;{", quoting); },
                ThrowsMessage<ImportError>(HasSubstr(cannot_be_part)));
    EXPECT_THAT([&] { quoted_odbc_value("a\0b"s, quoting); },
                ThrowsMessage<ImportError>(HasSubstr(cannot_be_part)));
  }
}

TEST(OdbcConnectionString, GetsUserAndPasswordUnlessItHasThem) {
  const auto login = sql_login("me", "x}");
  EXPECT_EQ(completed_connection_string("DSN=Labels;", login), "DSN=Labels;UID={me};PWD={x}}}");
  EXPECT_EQ(completed_connection_string("DSN=Labels;uid=sa;pwd=y", login),
            "DSN=Labels;uid=sa;pwd=y");
  EXPECT_EQ(completed_connection_string("DSN=Labels;PWD=y", login), "DSN=Labels;PWD=y;UID={me}");
  for (const std::string key : {"UID", "User", "UserName", "user id"}) {
    EXPECT_EQ(completed_connection_string("DSN=Labels;" + key + "=sa", login),
              "DSN=Labels;" + key + "=sa");
  }
  auto secure = login;
  secure.secure_login = true;
  EXPECT_EQ(completed_connection_string("DSN=Labels", secure), "DSN=Labels");
  EXPECT_EQ(completed_connection_string("DSN=Labels", sql_login("", "x")), "DSN=Labels");
}

TEST(OdbcConnectionString, MariaDbLearnsTheTimeOutsByAttributes) {
  EXPECT_EQ(completed_connection_string("DRIVER={MariaDB Unicode};PORT=1", sql_login("", "")),
            "DRIVER={MariaDB Unicode};PORT=1;CONN_TIMEOUT=20;READ_TIMEOUT=30");
  EXPECT_EQ(completed_connection_string("DRIVER=/usr/lib/libmaodbc.so", sql_login("", "")),
            "DRIVER=/usr/lib/libmaodbc.so;CONN_TIMEOUT=20;READ_TIMEOUT=30");
}

TEST(OdbcConnectionString, TimeOutsOfItsOwnStay) {
  for (const std::string own : {"Conn_Timeout=5", "READ_TIMEOUT=5"}) {
    EXPECT_EQ(completed_connection_string("DRIVER={MariaDB Unicode};" + own, sql_login("", "")),
              "DRIVER={MariaDB Unicode};" + own);
  }
  EXPECT_EQ(completed_connection_string("DRIVER={SQLite3}", sql_login("", "")), "DRIVER={SQLite3}");
}

TEST(OdbcConnectionString, FreeTdsGetsItsFinalSemicolon) {
  EXPECT_EQ(completed_connection_string("DRIVER=FreeTDS;SERVER=s", sql_login("u", "p}")),
            "DRIVER=FreeTDS;SERVER=s;UID={u};PWD={p}};");
}

std::string server_part(const std::string& server) {
  LabelsLogin login;
  login.server = server;
  login.secure_login = true;
  const auto text = sql_server_connection_string(login);
  return text.substr(0, text.find(";TDS_Version"));
}

TEST(SqlServerConnectionString, NamesThePortOrTheInstance) {
  EXPECT_EQ(server_part("DB1"), "DRIVER={FreeTDS};SERVER={DB1};PORT={1433}");
  EXPECT_EQ(server_part("DB1,2433"), "DRIVER={FreeTDS};SERVER={DB1};PORT={2433}");
  EXPECT_EQ(server_part("DB1\\SALES"), "DRIVER={FreeTDS};SERVER={DB1\\SALES}");
  EXPECT_EQ(server_part("DB1\\SALES,2433"), "DRIVER={FreeTDS};SERVER={DB1};PORT={2433}");
}

TEST(SqlServerConnectionString, QuotesEveryText) {
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

TEST(SqlServerConnectionString, ALoginWithoutAUserDoesNotBecomeIntegratedSecurity) {
  LabelsLogin login;
  login.server = "DB1";
  EXPECT_THAT([&] { sql_server_connection_string(login); },
              ThrowsMessage<ImportError>(HasSubstr("Login failed for user ''.")));
}

TEST(LabelsServer, IsShownWithoutPasswords) {
  EXPECT_EQ(shown_labels_server("odbc:DSN=a;PWD={x;y};UID=u;Password=z"),
            "odbc:DSN=a;PWD=***;UID=u;Password=***");
  EXPECT_EQ(shown_labels_server("odbc:pwd=secret"), "odbc:pwd=***");
  EXPECT_EQ(shown_labels_server("DSN=a;PWD=x"), "DSN=a;PWD=***") << "the prefix was forgotten";
  for (const auto* server : {"", "(local)", "host\\instance", "host,1433", "sqlite:/a;pwd=b/c"}) {
    EXPECT_EQ(shown_labels_server(server), server);
  }
}

}  // namespace
}  // namespace importkcd
