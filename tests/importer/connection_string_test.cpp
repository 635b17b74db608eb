#include <gtest/gtest.h>

#include "importer/data_sources.h"

namespace importkcd {
namespace {

constexpr auto key = "Data Source";

TEST(ReplaceConnectionItem, LastItemIsReplacedInPlace) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;Data Source=OLD", key, "NEWSRV"),
            "Provider=P;Data Source=NEWSRV");
}

TEST(ReplaceConnectionItem, OnlyItemIsReplaced) {
  EXPECT_EQ(ReplaceConnectionItem("Data Source=OLD", key, "NEWSRV"), "Data Source=NEWSRV");
}

TEST(ReplaceConnectionItem, OnlyWhatFollowsAnInnerItemRemains) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;Data Source=OLD;Initial Catalog=DW", key, "NEWSRV"),
            ";Initial Catalog=DW");
}

TEST(ReplaceConnectionItem, EverythingThatFollowsAnInnerItemRemains) {
  EXPECT_EQ(ReplaceConnectionItem("Data Source=OLD;A=1;;B=2;", key, "NEWSRV"), ";A=1;;B=2;");
}

TEST(ReplaceConnectionItem, SemicolonAtTheVeryEndGoesWithTheOldItem) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;Data Source=OLD;", key, "NEWSRV"),
            "Provider=P;Data Source=NEWSRV");
}

TEST(ReplaceConnectionItem, TextWithoutTheKeyStaysAsItIs) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;Initial Catalog=DW", key, "NEWSRV"),
            "Provider=P;Initial Catalog=DW");
  EXPECT_EQ(ReplaceConnectionItem("", key, "NEWSRV"), "");
}

TEST(ReplaceConnectionItem, KeyInOtherLetterCaseIsNotFound) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;data source=X", key, "NEWSRV"),
            "Provider=P;data source=X");
}

TEST(ReplaceConnectionItem, FirstOccurrenceOfTheKeyCounts) {
  EXPECT_EQ(ReplaceConnectionItem("Data Source=A;Data Source=B", key, "NEWSRV"), ";Data Source=B");
}

TEST(ReplaceConnectionItem, KeyInsideAnotherWordCounts) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;My Data Source Name=OLD", key, "NEWSRV"),
            "Provider=P;My Data Source=NEWSRV");
}

TEST(ReplaceConnectionItem, KeyAtTheEndOfTheTextGetsItsValue) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P;Data Source", key, "NEWSRV"),
            "Provider=P;Data Source=NEWSRV");
}

TEST(ReplaceConnectionItem, KeyThatEndsWithASemicolonEndsItsOwnItem) {
  EXPECT_EQ(ReplaceConnectionItem("A;Key;B=1", "Key;", "V"), ";B=1");
  EXPECT_EQ(ReplaceConnectionItem("A;Key;", "Key;", "V"), "A;Key;=V");
}

TEST(ReplaceConnectionItem, EmptyKeyIsNowhere) {
  EXPECT_EQ(ReplaceConnectionItem("Provider=P", "", "V"), "Provider=P");
}

TEST(ReplaceConnectionItem, ValueIsTakenAsItStands) {
  EXPECT_EQ(ReplaceConnectionItem("Data Source=OLD", key, "A;B=C"), "Data Source=A;B=C");
  EXPECT_EQ(ReplaceConnectionItem("Data Source=OLD", key, ""), "Data Source=");
}

TEST(RewriteConnectionString, StaysAsItIsWithoutOptions) {
  EXPECT_EQ(RewriteConnectionString(ImportOptions{}, "Provider=P;Data Source=OLD"),
            "Provider=P;Data Source=OLD");
}

TEST(RewriteConnectionString, ServerNameGoesIntoTheDataSourceItem) {
  ImportOptions options;
  options.data_source_name = "NEWSRV";
  EXPECT_EQ(RewriteConnectionString(options, "Provider=P;Data Source=OLD"),
            "Provider=P;Data Source=NEWSRV");
  EXPECT_EQ(RewriteConnectionString(options, "Provider=P;Data Source=OLD;Initial Catalog=DW"),
            ";Initial Catalog=DW");
  EXPECT_EQ(RewriteConnectionString(options, "Provider=P;data source=X"),
            "Provider=P;data source=X");
}

TEST(RewriteConnectionString, WholeConnectionTextReplacesTheDocumentsOwn) {
  ImportOptions options;
  options.datawarehouse_connectstring = "Provider=N;Data Source=DW";
  EXPECT_EQ(RewriteConnectionString(options, "Provider=P;Data Source=OLD"),
            "Provider=N;Data Source=DW");
  EXPECT_EQ(RewriteConnectionString(options, ""), "Provider=N;Data Source=DW");
}

TEST(RewriteConnectionString, WholeConnectionTextGoesBeforeTheServerName) {
  ImportOptions options;
  options.datawarehouse_connectstring = "Provider=N;Data Source=DW";
  options.data_source_name = "NEWSRV";
  EXPECT_EQ(RewriteConnectionString(options, "Provider=P;Data Source=OLD"),
            "Provider=N;Data Source=DW");
}

}  // namespace
}  // namespace importkcd
