#include "base/connection_text.h"

#include <gtest/gtest.h>

#include "base/text.h"

namespace importkcd {
namespace {

std::string shown_items(std::string_view text, std::string_view quotes) {
  std::string shown;
  for (const auto& item : connection_items(text, quotes)) {
    shown.append("[").append(item.key).append("|").append(trimmed(item.value)).append("]");
  }
  return shown;
}

TEST(ConnectionItems, AreSeparatedBySemicolonsOutsideOfQuotes) {
  EXPECT_EQ(shown_items(" DSN = a b ;PWD={x;}}=};flag;E=;Last={open", odbc_quotes),
            "[DSN|a b][PWD|{x;}}=}][flag|][E|][Last|{open]");
  EXPECT_EQ(shown_items("a=\"x;\"y;b='z;w'", all_connection_quotes), "[a|\"x;\"y][b|'z;w']");
}

TEST(ConnectionItems, OdbcKnowsNoOtherQuotesThanBraces) {
  EXPECT_EQ(shown_items("a='x;y'", odbc_quotes), "[a|'x][y'|]");
}

TEST(ConnectionItems, EmptyItemsAreItemsToo) {
  EXPECT_EQ(shown_items("a=1;;=x;", odbc_quotes), "[a|1][|][|x]");
  EXPECT_EQ(shown_items("", odbc_quotes), "");
}

TEST(ConnectionItems, WhatStandsInQuotesKeepsItsDoublings) {
  const auto items = connection_items("a= {x}}y} z;b='o;c=1", all_connection_quotes);
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].value, " {x}}y} z");
  EXPECT_EQ(items[0].quoted, "x}}y");
  EXPECT_EQ(items[0].closing_quote, '}');
  EXPECT_EQ(items[1].quoted, "o;c=1") << "is not closed";
}

std::string value(std::string_view text, std::string_view key) {
  return ConnectionValues(text).value({key});
}

TEST(ConnectionValues, KeysAreFoundInAnyLetterCaseAndWithBlanksAround) {
  EXPECT_EQ(value(" data SOURCE =  DW 1 ; x=y", "Data Source"), "DW 1");
  EXPECT_EQ(value("a=1", "b"), "");
}

TEST(ConnectionValues, TheFirstOfTheKeysThatIsThereCounts) {
  const ConnectionValues items("Server=s;Data Source=d;Server=t");
  EXPECT_EQ(items.value({"Host", "Data Source", "Server"}), "d");
  EXPECT_EQ(items.value({"Server"}), "s");
}

TEST(ConnectionValues, QuotedValuesMayHoldAnything) {
  EXPECT_EQ(value("a=\"x;y=\"\"z\"\"\";b=2", "a"), "x;y=\"z\"");
  EXPECT_EQ(value("a='x;''y''';b=2", "a"), "x;'y'");
  EXPECT_EQ(value("a={x;}}y=};b=2", "a"), "x;}y=");
  EXPECT_EQ(value("a={x;}}y=};b=2", "b"), "2");
}

TEST(ConnectionValues, AnUnclosedQuoteReachesToTheEnd) {
  EXPECT_EQ(value("a=\"x;b=2", "a"), "x;b=2");
  EXPECT_EQ(value("a=\"x;b=2", "b"), "");
  EXPECT_EQ(value("a='", "a"), "");
}

TEST(ConnectionValues, AValueMayHoldAnEqualsSignAndMayBeMissing) {
  EXPECT_EQ(value("PWD=a=b;c", "PWD"), "a=b");
  EXPECT_EQ(value("ODBC;;=x;a=1", "a"), "1");
  EXPECT_EQ(value("", "a"), "");
}

TEST(PasswordMask, ReplacesTheValueOfPasswordItems) {
  EXPECT_EQ(mask_passwords("Provider=P;Password=secret;Data Source=S"),
            "Provider=P;Password=***;Data Source=S");
  EXPECT_EQ(mask_passwords("DSN=x;PWD=secret"), "DSN=x;PWD=***");
}

TEST(PasswordMask, FindsTheKeysWhateverTheirLetterCaseAndBlanks) {
  EXPECT_EQ(mask_passwords("password=a; PASSWORD =b;pwd=c; Pwd = d"),
            "password=***; PASSWORD =***;pwd=***; Pwd =***");
}

TEST(PasswordMask, FindsAKeyBehindATab) {
  EXPECT_EQ(mask_passwords("User=u\tPassword=secret"), "User=u\tPassword=***");
  EXPECT_EQ(mask_passwords("Provider=P;\tPWD\t=\tsecret"), "Provider=P;\tPWD\t=***");
}

TEST(PasswordMask, FindsKeysThatContainTheWord) {
  EXPECT_EQ(mask_passwords("Jet OLEDB:Database Password=a;NewPwd=b"),
            "Jet OLEDB:Database Password=***;NewPwd=***");
}

TEST(PasswordMask, HidesQuotedValuesWithSemicolonsWhole) {
  EXPECT_EQ(mask_passwords(R"(Password="a;b";User ID=u)"), "Password=***;User ID=u");
  EXPECT_EQ(mask_passwords("Password='a;b';User ID=u"), "Password=***;User ID=u");
  EXPECT_EQ(mask_passwords("PWD={a;b};UID=u"), "PWD=***;UID=u");
}

TEST(PasswordMask, UnderstandsDoubledQuotes) {
  EXPECT_EQ(mask_passwords(R"(Password="a"";b";User ID=u)"), "Password=***;User ID=u");
  EXPECT_EQ(mask_passwords("Password='a'';b';User ID=u"), "Password=***;User ID=u");
  EXPECT_EQ(mask_passwords("PWD={a}};b};UID=u"), "PWD=***;UID=u");
}

TEST(PasswordMask, HidesWhatFollowsAQuotedValueUpToTheNextItem) {
  EXPECT_EQ(mask_passwords(R"(Password="a"rest;User ID=u)"), "Password=***;User ID=u");
}

TEST(PasswordMask, HidesAnUnclosedValueToTheEnd) {
  EXPECT_EQ(mask_passwords(R"(Password="a;User ID=u)"), "Password=***");
  EXPECT_EQ(mask_passwords("Password='a'';User ID=u"), "Password=***");
}

TEST(PasswordMask, HidesAValueWithEqualSigns) {
  EXPECT_EQ(mask_passwords("Password=a=b==;User ID=u"), "Password=***;User ID=u");
}

TEST(PasswordMask, LooksIntoQuotedValuesOfOtherItems) {
  EXPECT_EQ(mask_passwords(R"(Extended Properties="DSN=x;PWD=secret;UID=u";Provider=P)"),
            R"(Extended Properties="DSN=x;PWD=***;UID=u";Provider=P)");
  EXPECT_EQ(mask_passwords(R"(Extended Properties="DSN=x;PWD=""a;b"";UID=u")"),
            R"(Extended Properties="DSN=x;PWD=***;UID=u")");
}

TEST(PasswordMask, LooksIntoAnUnclosedValueOfAnotherItem) {
  EXPECT_EQ(mask_passwords("User ID='x;Password=secret"), "User ID='x;Password=***");
}

TEST(PasswordMask, HidesAValueWhoseQuotesEndWithinAPassword) {
  EXPECT_EQ(mask_passwords("Application Name='x;PWD=it's;UID=u"), "Application Name=***;UID=u");
  EXPECT_EQ(mask_passwords(R"(Properties="PWD=a" ;UID=u)"), R"(Properties="PWD=***" ;UID=u)");
}

TEST(PasswordMask, FindsTheParametersOfAnAddress) {
  EXPECT_EQ(mask_passwords("jdbc:postgresql://h/db?user=u&password=P"),
            "jdbc:postgresql://h/db?user=u&password=***");
  EXPECT_EQ(mask_passwords("jdbc:postgresql://h/db?user=u&sslPassword=P&ssl=true;x=y"),
            "jdbc:postgresql://h/db?user=u&sslPassword=***&ssl=true;x=y");
  EXPECT_EQ(mask_passwords("'jdbc:mysql://h/db?user=u&passwd=P': no such driver"),
            "'jdbc:mysql://h/db?user=u&passwd=***': no such driver");
  EXPECT_EQ(mask_passwords("jdbc:mysql://h/db?password=P&user=u"),
            "jdbc:mysql://h/db?password=***");
}

TEST(PasswordMask, FindsTheLoginOfAnAddress) {
  EXPECT_EQ(mask_passwords("jdbc:mysql://u:P@h:3306/db"), "jdbc:mysql://u:***@h:3306/db");
  EXPECT_EQ(mask_passwords("jdbc:mysql://u:P/a@b@h/db?x=y"), "jdbc:mysql://u:***@h/db?x=y");
  EXPECT_EQ(mask_passwords("jdbc:mysql://u:P?a@h/db"), "jdbc:mysql://u:***@h/db");
  EXPECT_EQ(mask_passwords("jdbc:oracle:thin:u/P@h:1521:x"), "jdbc:oracle:thin:u/***@h:1521:x");
  EXPECT_EQ(mask_passwords("Address=jdbc:Oracle:OCI:u/P/a@//h/x;y"),
            "Address=jdbc:Oracle:OCI:u/***@//h/x;y");
}

TEST(PasswordMask, FindsAPasswordBehindQuotesThatAMessageOpened) {
  EXPECT_EQ(mask_passwords("no 'Data Source='a' in 'Password=P Q'"),
            "no 'Data Source='a' in 'Password=***");
  EXPECT_EQ(mask_passwords("Data Source=\"a;Password=\"P\";UID=u"),
            "Data Source=\"a;Password=***;UID=u");
}

TEST(PasswordMask, KeepsEverythingElse) {
  for (const auto* text :
       {"", ";", "=", "Provider=P", ";Initial Catalog=DW", "Password", "Password=", "Password= ;x",
        "a;;b=;=c;", R"(Name="a;""b""";Other='it''s';Third={x}}y})", "Data Source=O'Brien;X=\"",
        "Persist Security Info=True;", "jdbc:postgresql://h:5432/db?user=u@h&ssl=true",
        "jdbc:oracle:thin:@//h:1521/x", "jdbc:oracle:thin:@h:1521:x", "http://h:80/a", "//u@h/a:b",
        "jdbc:mysql://h/db?user=u&password="}) {
    EXPECT_EQ(mask_passwords(text), text);
  }
}

TEST(WithoutPasswords, LeavesTheItemsOut) {
  EXPECT_EQ(without_passwords("Provider=P;Password=secret;Data Source=S"),
            "Provider=P;Data Source=S");
  EXPECT_EQ(without_passwords(R"(PWD="a;b";UID=u)"), "UID=u");
  EXPECT_EQ(without_passwords("UID=u;PWD=secret"), "UID=u");
}

TEST(WithoutPasswords, MasksWhatIsAPartOfSomethingElse) {
  EXPECT_EQ(without_passwords("Address=jdbc:mysql://u:P@h/db;Password=P;Driver=D"),
            "Address=jdbc:mysql://u:***@h/db;Driver=D");
}

TEST(WithoutPasswords, KeepsATextWithoutOneToTheByte) {
  for (const auto* text : {"", ";;", "Provider=P;;Password=;", "Data Source='S' "}) {
    EXPECT_EQ(without_passwords(text), text);
  }
}

std::string shown_address(std::string_view server) {
  const auto [host, instance, port] = server_address(server);
  return host + "|" + instance + "|" + port;
}

TEST(ServerAddress, EveryFormOfAServerNameIsUnderstood) {
  EXPECT_EQ(shown_address("DB1"), "DB1||");
  EXPECT_EQ(shown_address("db1.example.com,2433"), "db1.example.com||2433");
  EXPECT_EQ(shown_address("DB1\\SALES"), "DB1|SALES|");
  EXPECT_EQ(shown_address("DB1\\SALES,2433"), "DB1|SALES|2433");
  EXPECT_EQ(shown_address(" tcp:DB1 , 2433 "), "DB1||2433");
}

TEST(ServerAddress, ThisComputerHasItsOwnNames) {
  EXPECT_EQ(shown_address("(local)"), "localhost||");
  EXPECT_EQ(shown_address("(LOCAL)\\X"), "localhost|X|");
  EXPECT_EQ(shown_address("."), "localhost||");
  EXPECT_EQ(shown_address(".\\X"), "localhost|X|");
  EXPECT_EQ(shown_address(""), "localhost||");
}

}  // namespace
}  // namespace importkcd
