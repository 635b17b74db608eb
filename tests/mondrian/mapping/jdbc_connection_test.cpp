#include "mondrian/mapping/jdbc_connection.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

std::string url(std::string_view text) { return jdbc_connection(text).url; }

std::string jdbc_refusal(std::string_view text) {
  return testing::reason_of([&] { jdbc_connection(text); });
}

TEST(JdbcConnection, TheProvidersOfSqlServerMeanJtds) {
  for (const auto* provider :
       {"Provider=SQLOLEDB.1", "provider=sqloledb", "Provider=SQLNCLI11", "Provider=MSOLEDBSQL",
        "Provider=MSDASQL;Driver={SQL Server}", "Driver={ODBC Driver 17 for SQL Server}",
        "Driver={SQL Server Native Client 11.0}", "DRIVER=FreeTDS", "Driver={SQL Server};"}) {
    const auto connection = jdbc_connection(
        std::string(provider) + ";Data Source=DW1;Initial Catalog=Retail;User ID=u;Password=p");
    EXPECT_EQ(connection,
              (JdbcConnection{DatabaseKind::sql_server, "jdbc:jtds:sqlserver://DW1/Retail",
                              "net.sourceforge.jtds.jdbc.Driver", "u", "p"}))
        << provider;
  }
}

TEST(JdbcConnection, AServerOfSqlServerMayHavePortAndInstance) {
  const std::string front = "Driver={SQL Server};Server=";
  EXPECT_EQ(url(front + "dw,1500;Database=d"), "jdbc:jtds:sqlserver://dw:1500/d");
  EXPECT_EQ(url(front + "tcp:dw, 1500;Database=d"), "jdbc:jtds:sqlserver://dw:1500/d");
  EXPECT_EQ(url(front + "dw\\Sales;Database=d"), "jdbc:jtds:sqlserver://dw/d;instance=Sales");
  EXPECT_EQ(url(front + "dw\\Sales,1500;Database=d"), "jdbc:jtds:sqlserver://dw:1500/d");
  EXPECT_EQ(url(front + "(local)"), "jdbc:jtds:sqlserver://localhost");
  EXPECT_EQ(url(front + ".\\SQLEXPRESS"), "jdbc:jtds:sqlserver://localhost;instance=SQLEXPRESS");
  EXPECT_EQ(url(front + "dw;Port=1444;Encrypt=yes"), "jdbc:jtds:sqlserver://dw:1444;ssl=require");
}

TEST(JdbcConnection, UserAndPasswordOfAnyDriverStandApartFromTheAddress) {
  EXPECT_EQ(
      jdbc_connection(R"(JDBC="jdbc:hsqldb:file:/w;x=1";User ID=reader;Password="a;b")"),
      (JdbcConnection{DatabaseKind::upper_case, "jdbc:hsqldb:file:/w;x=1", "", "reader", "a;b"}));
  EXPECT_EQ(jdbc_refusal("JDBC=hsqldb:file:/w;Password=secret"),
            "what the connection text calls JDBC does not begin with 'jdbc:'");
}

TEST(JdbcConnection, ALoginWithAWindowsAccountIsNotPossible) {
  const auto* const told =
      "the connection text logs in with a Windows account (integrated security); it must name a "
      "user and a password";
  EXPECT_EQ(jdbc_refusal("Provider=SQLOLEDB;Data Source=x;Integrated Security=SSPI"), told);
  EXPECT_EQ(jdbc_refusal("Driver={SQL Server};Server=x;Trusted_Connection=Yes"), told);
  EXPECT_EQ(url("Driver={SQL Server};Server=x;Trusted_Connection=No"), "jdbc:jtds:sqlserver://x");
}

TEST(JdbcConnection, PostgresqlIsReachedByItsOdbcSpellings) {
  for (const auto* text :
       {"Driver={PostgreSQL Unicode};Server=h;Port=5433;Database=my dw;UID=u;PWD=p",
        "driver=psqlodbcw.so;Servername=h;port=5433;database=my dw;Username=u;Password=p",
        "Provider=MSDASQL.1;Extended Properties=\"Driver={PostgreSQL ANSI};Server=h;Port=5433;"
        "Database=my dw;Uid=u;Pwd=p\"",
        "Provider=PGNP.1;Data Source=h;Port=5433;Initial Catalog=my dw;User ID=u;Password=p"}) {
    EXPECT_EQ(jdbc_connection(text),
              (JdbcConnection{DatabaseKind::postgresql, "jdbc:postgresql://h:5433/my%20dw",
                              "org.postgresql.Driver", "u", "p"}))
        << text;
  }
  EXPECT_EQ(url("Driver=PostgreSQL;Server=h;Database=d;SSLmode=Require"),
            "jdbc:postgresql://h/d?sslmode=require");
}

TEST(JdbcConnection, MariaDbIsReachedByItsOdbcSpellings) {
  for (const auto* text :
       {"Driver={MariaDB ODBC 3.1 Driver};TCPIP=h;Server=h;Port=3307;Database=dw;User=u;Password=p",
        "DRIVER=libmaodbc.so;SERVER=h;PORT=3307;DB=dw;UID=u;PWD=p",
        "Driver={MySQL ODBC 8.0 Unicode Driver};Server=h;Port=3307;Database=dw;Uid=u;Pwd=p"}) {
    EXPECT_EQ(jdbc_connection(text),
              (JdbcConnection{DatabaseKind::mariadb, "jdbc:mariadb://h:3307/dw",
                              "org.mariadb.jdbc.Driver", "u", "p"}))
        << text;
  }
}

TEST(JdbcConnection, AnAddressIsTakenAsItStands) {
  const auto address = "JDBC:PostgreSQL://h/d?user=u&password=p;x";
  EXPECT_EQ(jdbc_connection(address),
            (JdbcConnection{DatabaseKind::postgresql, address, "org.postgresql.Driver", "", ""}));
  EXPECT_EQ(jdbc_connection("jdbc:mysql://h/d").kind, DatabaseKind::mariadb);
  EXPECT_EQ(jdbc_connection("jdbc:oracle:thin:@h:1521/x").kind, DatabaseKind::upper_case);
  EXPECT_EQ(jdbc_connection("jdbc:jtds:sqlserver://h/d").kind, DatabaseKind::sql_server);
  EXPECT_EQ(jdbc_connection("jdbc:clickhouse://h/d"),
            (JdbcConnection{DatabaseKind::unknown, "jdbc:clickhouse://h/d", "", "", ""}));
}

TEST(JdbcConnection, AnAddressOfPostgresqlIsTakenApart) {
  const std::string driver = "org.postgresql.Driver";
  EXPECT_EQ(
      jdbc_connection("postgresql://o%27reader:p%40s%2Fs%3A@h:5433/my%20dw?sslmode=require"),
      (JdbcConnection{DatabaseKind::postgresql, "jdbc:postgresql://h:5433/my%20dw?sslmode=require",
                      driver, "o'reader", "p@s/s:"}));
  EXPECT_EQ(
      jdbc_connection("Postgres://h/d?user=u&password=p%26q"),
      (JdbcConnection{DatabaseKind::postgresql, "jdbc:postgresql://h/d", driver, "u", "p&q"}));
  EXPECT_EQ(jdbc_connection("postgresql://u:p@q@h/d").password, "p@q");
  EXPECT_EQ(url("postgresql://u@[::1]:5433/d"), "jdbc:postgresql://[::1]:5433/d");
  EXPECT_EQ(url("postgresql://[::1]/d"), "jdbc:postgresql://[::1]/d");
  EXPECT_EQ(url("postgresql://h"), "jdbc:postgresql://h/");
  EXPECT_EQ(url("postgresql:///d"), "jdbc:postgresql://localhost/d");
  EXPECT_EQ(url("postgresql://h/d%3Fa%3Db"), "jdbc:postgresql://h/d%3Fa%3Db");
  EXPECT_EQ(url("postgresql://h/d?sslmode=a%26b%3Dc"), "jdbc:postgresql://h/d?sslmode=a%26b%3Dc");
}

TEST(JdbcConnection, AnAddressOfPostgresqlWithAMistakeShowsNoPassword) {
  for (const auto* text :
       {"postgresql://u:sec/ret@h/d", "postgresql://u:sec?ret@h/d", "postgresql://u:sec%zzret@h/d",
        "postgresql://u:sec%2@h/d", "postgresql://u:sec%00ret@h/d",
        "postgresql://h/d?password=sec&ret", "postgresql://u:p@[::1]sec/d"}) {
    const auto told = jdbc_refusal(text);
    EXPECT_THAT(told, ::testing::StartsWith("the ")) << text;
    EXPECT_THAT(told, ::testing::Not(::testing::HasSubstr("sec%zz"))) << text;
    EXPECT_THAT(told, ::testing::Not(::testing::HasSubstr("ret"))) << text;
  }
  EXPECT_EQ(jdbc_refusal("postgresql://h1,h2/d"),
            "the name of the server 'h1,h2' cannot be part of a JDBC address");
  EXPECT_EQ(jdbc_refusal("postgresql://%2Fvar%2Frun/d"),
            "the name of the server '/var/run' cannot be part of a JDBC address");
  EXPECT_EQ(jdbc_refusal("postgresql://h:0/d"), "the port '0' is no number from 1 to 65535");
}

TEST(JdbcConnection, NoValueAddsAPartToTheAddress) {
  EXPECT_EQ(jdbc_refusal("Provider=SQLOLEDB;Data Source=h;Initial Catalog=\"d;ssl=off\""),
            "the name of the database 'd;ssl=off' cannot be part of a JDBC address");
  EXPECT_EQ(jdbc_refusal("Provider=SQLOLEDB;Data Source={h/x;y=z};Initial Catalog=d"),
            "the name of the server 'h/x;y=z' cannot be part of a JDBC address");
  EXPECT_EQ(jdbc_refusal("Provider=SQLOLEDB;Data Source={h,1?x}"),
            "the name of the port '1?x' cannot be part of a JDBC address");
  EXPECT_EQ(jdbc_refusal("Provider=SQLOLEDB;Data Source={h\\i;a=b}"),
            "the name of the instance 'i;a=b' cannot be part of a JDBC address");
  EXPECT_EQ(jdbc_refusal("Driver=MariaDB;Server=h;Database=d?allowLocalInfile=true"),
            "the name of the database 'd?allowLocalInfile=true' cannot be part of a JDBC address");
  EXPECT_EQ(url("Driver=PostgreSQL;Server=h;Database=d?a=b&c/e"),
            "jdbc:postgresql://h/d%3Fa%3Db%26c%2Fe");
  EXPECT_EQ(url("Driver=PostgreSQL;Server=h;Database=d;SSLmode=a&b=c"),
            "jdbc:postgresql://h/d?sslmode=a%26b%3Dc");
}

TEST(JdbcConnection, APortIsANumberWhereverItIsNamed) {
  for (const std::string front :
       {"Driver=PostgreSQL;Database=d;Server=", "Driver=MariaDB;Database=d;Server=",
        "Provider=SQLOLEDB;Initial Catalog=d;Data Source="}) {
    for (const std::string port :
         {"0", "65536", "99999999999", "-1", "+1", "1x", "x", "h2", "h2:1"}) {
      const auto told = "the port '" + port + "' is no number from 1 to 65535";
      EXPECT_EQ(jdbc_refusal(std::string(front).append("h;Port=").append(port)), told);
      EXPECT_EQ(jdbc_refusal(std::string(front).append("h,").append(port)), told);
    }
    EXPECT_EQ(jdbc_refusal(front + "h;Port=\"5432/x?a=b\""),
              "the name of the port '5432/x?a=b' cannot be part of a JDBC address");
    EXPECT_EQ(jdbc_refusal(front + "h1,h2,5432"),
              "the port 'h2,5432' is no number from 1 to 65535");
    EXPECT_THAT(url(front + "h;Port=65535"), ::testing::HasSubstr("//h:65535/d"));
    EXPECT_THAT(url(front + "h,1;Port=2"), ::testing::HasSubstr("//h:1/d"));
  }
}

TEST(JdbcConnection, AnythingElseTellsWhatThereIsAndNoPassword) {
  const auto* const told =
      "the connection text names no kind of database that the engine can reach: SQL Server, "
      "PostgreSQL, MariaDB, or an address that begins with 'jdbc:'";
  EXPECT_EQ(jdbc_refusal(""), told);
  EXPECT_EQ(jdbc_refusal("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x.mdb;Password=secret"),
            told);
  EXPECT_EQ(jdbc_refusal(";Initial Catalog=DW"), told);
  EXPECT_EQ(jdbc_refusal("DSN=warehouse;PWD=secret"),
            "the connection text names an ODBC data source (DSN); it must name the driver and the "
            "server themselves");
}

TEST(JdbcConnection, TheEnginesTextHoldsEachPartInApostrophes) {
  EXPECT_EQ(engine_connect_string({DatabaseKind::postgresql, "jdbc:postgresql://h/d",
                                   "org.postgresql.Driver", "o'reader", "s;e'c}r={e t"},
                                  "Joe's"),
            "Provider=mondrian;Jdbc='jdbc:postgresql://h/d';JdbcDrivers=org.postgresql.Driver;"
            "JdbcUser='o''reader';JdbcPassword='s;e''c}r={e "
            "t';Warehouse='Joe''s';UseContentChecksum=true");
  EXPECT_EQ(engine_connect_string({DatabaseKind::unknown, "jdbc:x:y';Catalog=z", "", "", ""}, ""),
            "Provider=mondrian;Jdbc='jdbc:x:y'';Catalog=z';UseContentChecksum=true");
}

}  // namespace
}  // namespace importkcd
