#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using testing::bare_document;
using ::testing::HasSubstr;
using testing::known_version;
using testing::lines_of;
using ::testing::Not;
using testing::read_file;
using ::testing::SizeIs;
using testing::whole_document;

class KcdExport : public testing::KcdTest {
 protected:
  /// A document of that name without content.
  static std::string empty(const std::string& name) { return bare_document(known_version, name); }
};

TEST_F(KcdExport, WhatIsImportedAgainIsEqualAndAPlanFindsNothingToDo) {
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  const auto exported = kcd({"export"});
  EXPECT_EQ(exported.exit_status, 0);
  EXPECT_EQ(exported.errors, "");
  const auto document = folder.write("exported.kcd", exported.output);
  const auto other = "catalogue:" + folder.file("other.olap");
  ASSERT_EQ(kcd({"import", document, "--server", other}).exit_status, 0);
  EXPECT_EQ(shown({other}), shown());
  EXPECT_EQ(kcd({"plan", document, "--mode", "sync"}).exit_status, 0);
}

TEST_F(KcdExport, WritesAFileWholeAndReplacesOneOnlyWhenTold) {
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  const auto file = folder.file("shop.kcd");
  ASSERT_EQ(kcd({"export", "localhost", "Shop", "--output", file}).exit_status, 0);
  const auto written = read_file(file);
  EXPECT_THAT(written, HasSubstr("<database version=\"1.0.1073\" name=\"Shop\""));
  folder.write("shop.kcd", "mine");
  const auto refused = kcd({"export", "--output", file});
  EXPECT_EQ(refused.exit_status, 1);
  EXPECT_EQ(refused.errors, "'" + file + "' exists already; kcd export --overwrite replaces it\n");
  EXPECT_EQ(read_file(file), "mine");
  EXPECT_EQ(kcd({"export", "--output", file, "--overwrite"}).exit_status, 0);
  EXPECT_EQ(read_file(file), written);
}

TEST_F(KcdExport, LeavesPasswordsOutUnlessToldOtherwise) {
  const auto text = bare_document(known_version, "Shop",
                                  "<library><data_sources><data_source name='W' connection_string="
                                  "'Provider=P;Password=geheim;Data Source=H'/></data_sources>"
                                  "</library>");
  ASSERT_EQ(import(text).exit_status, 0);
  const auto without = kcd({"export"});
  EXPECT_EQ(without.exit_status, 0);
  EXPECT_THAT(without.output, Not(HasSubstr("geheim")));
  EXPECT_THAT(without.output,
              HasSubstr("<!-- The passwords of these data sources are left out: 'W' -->"));
  EXPECT_THAT(kcd({"export", "--with-passwords"}).output, HasSubstr("Password=geheim"));
}

TEST_F(KcdExport, AsksForTheNameWhenThereAreSeveralDatabases) {
  EXPECT_EQ(kcd({"export"}).errors, "No databases on localhost\n");
  ASSERT_EQ(import(empty("First")).exit_status, 0);
  ASSERT_EQ(import(empty("Second")).exit_status, 0);
  const auto unclear = kcd({"export"});
  EXPECT_EQ(unclear.exit_status, 1);
  EXPECT_EQ(unclear.errors, "There are several databases; name one of 'First', 'Second'\n");
  EXPECT_EQ(unclear.output, "");
  EXPECT_THAT(kcd({"export", "localhost", "second"}).output, HasSubstr("name=\"Second\""));
  EXPECT_EQ(kcd({"export", "localhost", "Third"}).errors, "database 'Third' not found\n");
}

TEST_F(KcdExport, LooksWithoutMakingAnything) {
  const auto file = folder.file("missing.olap");
  const auto result = kcd({"export", "catalogue:" + file});
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_EQ(result.output, "");
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(KcdExport, LeavesNoTemporaryFileBehind) {
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  ASSERT_EQ(kcd({"export"}).exit_status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("tmp")));
}

/// What a document cannot say has to be told. The catalogue is an ordinary SQLite file.
TEST_F(KcdExport, SaysWhatTheDocumentDoesNotSay) {
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  {
    SQLite::Database catalogue(folder.file("data/importkcd/server.olap"), SQLite::OPEN_READWRITE);
    ASSERT_EQ(catalogue.exec("UPDATE measures SET description = 'placeholder @#$% itself'"
                             " WHERE name = 'Amount' AND description = 'Money'"),
              1);
  }
  const auto result = kcd({"export"});
  EXPECT_EQ(result.exit_status, 0);
  const auto lines = lines_of(result.errors);
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines.front(),
            "The document does not say it: cube 'Sales': measure 'Amount': description "
            "placeholder @#$% itself -> placeholder ' itself");
}

}  // namespace
}  // namespace importkcd
