#include "frontend/datawarehouse_connect_string.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

HiddenSettings sql_login(const std::string& user, const std::string& password) {
  HiddenSettings settings;
  settings.DwUser = user;
  settings.DwPassword = password;
  settings.DwDatabase = "Sales";
  return settings;
}

std::string password_item(const std::string& password) {
  const auto text = BuildDatawarehouseConnectString("S", "HERE", sql_login("u", password));
  const std::string before = ";Password=";
  const std::string after = ";Initial Catalog=Sales";
  const auto first = text.find(before) + before.size();
  return text.substr(first, text.size() - after.size() - first);
}

TEST(DatawarehouseConnectString, CarriesAUserAndAPassword) {
  EXPECT_EQ(BuildDatawarehouseConnectString("DW", "HERE", sql_login("reader", "secret")),
            "Provider=SQLOLEDB.1;Data Source=DW;Persist Security Info=True;User ID=reader;"
            "Password=secret;Initial Catalog=Sales");
}

TEST(DatawarehouseConnectString, AnEmptyUserIsSaAndAnEmptyPasswordIsCarried) {
  EXPECT_EQ(BuildDatawarehouseConnectString("DW", "HERE", sql_login("", "")),
            "Provider=SQLOLEDB.1;Data Source=DW;Persist Security Info=True;User ID=sa;"
            "Password=;Initial Catalog=Sales");
}

TEST(DatawarehouseConnectString, ATrustedLoginCarriesNoUserAndNoPassword) {
  auto settings = sql_login("reader", "secret");
  settings.DwTrusted = true;
  EXPECT_EQ(BuildDatawarehouseConnectString("DW", "HERE", settings),
            "Provider=SQLOLEDB.1;Data Source=DW;Persist Security Info=True;"
            "Integrated Security=SSPI;Initial Catalog=Sales");
}

TEST(DatawarehouseConnectString, LocalMeansThisComputerInAnyLetterCase) {
  auto settings = sql_login("", "");
  settings.DwTrusted = true;
  const std::string expected =
      "Provider=SQLOLEDB.1;Data Source=HERE;Persist Security Info=True;"
      "Integrated Security=SSPI;Initial Catalog=Sales";
  EXPECT_EQ(BuildDatawarehouseConnectString("(local)", "HERE", settings), expected);
  EXPECT_EQ(BuildDatawarehouseConnectString("(LoCaL)", "HERE", settings), expected);
}

TEST(DatawarehouseConnectString, AnyOtherServerIsTakenAsTyped) {
  auto settings = sql_login("", "");
  settings.DwTrusted = true;
  EXPECT_EQ(BuildDatawarehouseConnectString("Local", "HERE", settings),
            "Provider=SQLOLEDB.1;Data Source=Local;Persist Security Info=True;"
            "Integrated Security=SSPI;Initial Catalog=Sales");
  EXPECT_EQ(BuildDatawarehouseConnectString("", "HERE", settings),
            "Provider=SQLOLEDB.1;Data Source=;Persist Security Info=True;"
            "Integrated Security=SSPI;Initial Catalog=Sales");
  EXPECT_EQ(BuildDatawarehouseConnectString("(local) ", "HERE", settings),
            "Provider=SQLOLEDB.1;Data Source=\"(local) \";Persist Security Info=True;"
            "Integrated Security=SSPI;Initial Catalog=Sales");
}

TEST(DatawarehouseConnectString, QuotesAValueThatWouldBreakTheText) {
  EXPECT_EQ(password_item("a b=c"), "a b=c");
  EXPECT_EQ(password_item("a;b"), "\"a;b\"");
  EXPECT_EQ(password_item("a\"b"), "\"a\"\"b\"");
  EXPECT_EQ(password_item("a'b"), "\"a'b\"");
  EXPECT_EQ(password_item(" a"), "\" a\"");
  EXPECT_EQ(password_item("a "), "\"a \"");
  EXPECT_EQ(password_item(" "), "\" \"");
}

TEST(DatawarehouseConnectString, QuotesEveryKindOfValue) {
  auto settings = sql_login("u;1", "p");
  settings.DwDatabase = "d;1";
  EXPECT_EQ(BuildDatawarehouseConnectString("s;1", "HERE", settings),
            "Provider=SQLOLEDB.1;Data Source=\"s;1\";Persist Security Info=True;"
            "User ID=\"u;1\";Password=p;Initial Catalog=\"d;1\"");
}

}  // namespace
}  // namespace importkcd
