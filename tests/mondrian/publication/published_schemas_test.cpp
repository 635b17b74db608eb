#include "mondrian/publication/published_schemas.h"

#include <sys/stat.h>

#include <cstdlib>
#include <ctime>

#include "tests/mondrian/publication/publication_fixture.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char* foreign_schema = "<?xml version=\"1.0\"?>\n<Schema name=\"By hand\"/>\n";

class FilesOfOthers : public PublicationTest {
 protected:
  static void write(const fs::path& file, const std::string& text) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }
};

TEST_F(FilesOfOthers, SchemasWithoutTheMarkStay) {
  const std::vector<std::string> names{"schemas/hand.xml", "schemas/hand.xml.new",
                                       "schemas/empty.xml", "schemas/notes.txt"};
  for (const auto& name : names) {
    write(path(name), name == "schemas/empty.xml" ? "" : foreign_schema);
  }
  publish("Retail");
  publish("Stock");
  remove("Retail");
  for (const auto& name : names) {
    EXPECT_TRUE(fs::exists(path(name))) << name;
  }
  EXPECT_EQ(read_file(path("schemas/hand.xml")), foreign_schema);
  EXPECT_FALSE(fs::exists(path("schemas/Retail.xml")));
}

TEST_F(FilesOfOthers, WhatAnImportLeftBesideAForgottenSchemaGoesAway) {
  publish("Retail");
  fs::copy_file(path("schemas/Retail.xml"), path("schemas/Gone.xml.new"));
  publish("Stock");
  EXPECT_FALSE(fs::exists(path("schemas/Gone.xml.new")));
}

TEST(PublicationMark, TellsTheTimeOfGreenwichInEveryZone) {
  const std::string earlier = publication_mark();
  setenv("TZ", "EAST-12", 1);
  tzset();
  const std::string later = publication_mark();
  unsetenv("TZ");
  tzset();
  EXPECT_LE(earlier, later);
  EXPECT_LE(later, publication_mark());
}

TEST_F(FilesOfOthers, AFileThatIsNotOursIsNotReplaced) {
  publish("Retail");
  write(path("schemas/Stock.xml"), foreign_schema);
  const auto before = served();
  EXPECT_EQ(error_of([&] { publish("Stock"); }),
            "cannot write '" + fs::weakly_canonical(path("schemas/Stock.xml")).string() +
                "': no import has written the file that is there; move it away first");
  EXPECT_EQ(served(), before);
  EXPECT_THAT(databases(), ElementsAre("Retail"));
}

TEST_F(FilesOfOthers, ALinkInThePlaceOfASchemaIsNotOurs) {
  publish("Retail");
  fs::rename(path("schemas/Retail.xml"), path("elsewhere.xml"));
  fs::create_symlink(path("elsewhere.xml"), path("schemas/Retail.xml"));
  const auto server = open();
  add_cube(*server, server->open_database("Retail"), "More", "DW");
  EXPECT_THAT(error_of([&] { server->finish(); }), HasSubstr("no import has written the file"));
  EXPECT_TRUE(fs::exists(path("schemas/Retail.xml")));
}

TEST_F(FilesOfOthers, AFolderOfSchemasThatIsALinkIsRefused) {
  publish("Retail");
  const auto elsewhere = fs::path(directory()).parent_path() / "elsewhere";
  fs::rename(path("schemas"), elsewhere);
  write(elsewhere / "hand.xml", foreign_schema);
  fs::create_directory_symlink(elsewhere, path("schemas"));
  const auto before = read_file(elsewhere / "Retail.xml");
  EXPECT_EQ(error_of([&] { remove("Retail"); }),
            "cannot write '" + fs::weakly_canonical(directory()).string() +
                "/schemas': it is a link; schemas are written into a folder of their own only");
  EXPECT_EQ(read_file(elsewhere / "Retail.xml"), before);
  EXPECT_EQ(read_file(elsewhere / "hand.xml"), foreign_schema);
  EXPECT_THAT(databases(), ElementsAre("Retail"));
}

TEST_F(FilesOfOthers, ADirectoryWithAListButNoDefinitionsIsRefused) {
  write(path("datasources.xml"), "<DataSources/>");
  write(path("schemas/hand.xml"), foreign_schema);
  EXPECT_EQ(error_of([&] { open(); }),
            "the folder '" + fs::weakly_canonical(directory()).string() +
                "' has a datasources.xml that no import has written (there is no "
                "definitions.olap beside it); name another folder, or move the file away first");
  EXPECT_EQ(read_file(path("datasources.xml")), "<DataSources/>");
  EXPECT_FALSE(fs::exists(path("definitions.olap")));
  fs::remove(path("datasources.xml"));
  publish("Retail");
  EXPECT_EQ(read_file(path("schemas/hand.xml")), foreign_schema);
}

TEST_F(FilesOfOthers, DoNotMakeEveryOpeningPublishAgain) {
  publish("Retail");
  const auto before = served();
  write(path("notes.new"), "mine");
  write(path("schemas/notes.new"), "mine");
  open();
  EXPECT_EQ(read_file(path("schemas/Retail.xml")), before.at("schemas/Retail.xml"));
}

TEST_F(FilesOfOthers, NobodyElseMayWriteIntoTheFolderOfSchemas) {
  const auto mask = ::umask(0);
  const auto error = error_of([&] { publish("Retail"); });
  ::umask(mask);
  EXPECT_EQ(error, "none");
  struct stat status {};
  ASSERT_EQ(::stat(path("schemas").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0755U);
}

}  // namespace
}  // namespace importkcd::testing
