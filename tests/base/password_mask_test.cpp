#include "base/password_mask.h"

#include <gtest/gtest.h>

namespace importkcd {
namespace {

TEST(PasswordMask, ReplacesTheValueOfPasswordItems) {
  EXPECT_EQ(mask_passwords("Provider=P;Password=secret;Data Source=S"),
            "Provider=P;Password=***;Data Source=S");
  EXPECT_EQ(mask_passwords("DSN=x;PWD=secret"), "DSN=x;PWD=***");
}

TEST(PasswordMask, FindsTheKeysWhateverTheirLetterCaseAndBlanks) {
  EXPECT_EQ(mask_passwords("password=a; PASSWORD =b;pwd=c; Pwd = d"),
            "password=***; PASSWORD =***;pwd=***; Pwd =***");
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

TEST(PasswordMask, KeepsEverythingElse) {
  for (const auto* text :
       {"", ";", "=", "Provider=P", ";Initial Catalog=DW", "Password", "Password=", "Password= ;x",
        "a;;b=;=c;", R"(Name="a;""b""";Other='it''s';Third={x}}y})", "Data Source=O'Brien;X=\"",
        "Persist Security Info=True;"}) {
    EXPECT_EQ(mask_passwords(text), text);
  }
}

}  // namespace
}  // namespace importkcd
