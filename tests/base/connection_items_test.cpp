#include "base/connection_items.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

std::string value(std::string_view text, std::string_view key) {
  return ConnectionItems(text).value({key});
}

TEST(ConnectionItems, KeysAreFoundInAnyLetterCaseAndWithBlanksAround) {
  EXPECT_EQ(value(" data SOURCE =  DW 1 ; x=y", "Data Source"), "DW 1");
  EXPECT_EQ(value("a=1", "b"), "");
}

TEST(ConnectionItems, TheFirstOfTheKeysThatIsThereCounts) {
  const ConnectionItems items("Server=s;Data Source=d;Server=t");
  EXPECT_EQ(items.value({"Host", "Data Source", "Server"}), "d");
  EXPECT_EQ(items.value({"Server"}), "s");
}

TEST(ConnectionItems, QuotedValuesMayHoldAnything) {
  EXPECT_EQ(value("a=\"x;y=\"\"z\"\"\";b=2", "a"), "x;y=\"z\"");
  EXPECT_EQ(value("a='x;''y''';b=2", "a"), "x;'y'");
  EXPECT_EQ(value("a={x;}}y=};b=2", "a"), "x;}y=");
  EXPECT_EQ(value("a={x;}}y=};b=2", "b"), "2");
}

TEST(ConnectionItems, AnUnclosedQuoteReachesToTheEnd) {
  EXPECT_EQ(value("a=\"x;b=2", "a"), "x;b=2");
  EXPECT_EQ(value("a=\"x;b=2", "b"), "");
  EXPECT_EQ(value("a='", "a"), "");
}

TEST(ConnectionItems, AValueMayHoldAnEqualsSignAndMayBeMissing) {
  EXPECT_EQ(value("PWD=a=b;c", "PWD"), "a=b");
  EXPECT_EQ(value("ODBC;;=x;a=1", "a"), "1");
  EXPECT_EQ(value("", "a"), "");
}

}  // namespace
}  // namespace importkcd
