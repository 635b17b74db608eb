#include <SQLiteCpp/SQLiteCpp.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

using importkcd::testing::apply;
using importkcd::testing::changes_of;
using importkcd::testing::error_of;
using importkcd::testing::opened_store;
using importkcd::testing::read_file;
using importkcd::testing::state_of;
using importkcd::testing::TemporaryFolder;
using importkcd::testing::whole_state;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto all_accesses = {ServerAccess::read_write, ServerAccess::read_only,
                               ServerAccess::read_only_or_empty};
constexpr auto looks = {ServerAccess::read_only, ServerAccess::read_only_or_empty};

class CatalogueAccessTest : public ::testing::Test {
 protected:
  /// File name -> bytes; the log's index, which is shared memory, by its size alone.
  std::map<std::string, std::string> listing() const {
    std::map<std::string, std::string> result;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
      const auto name = entry.path().filename().string();
      result[name] =
          name.ends_with("-shm") ? std::to_string(entry.file_size()) : read_file(entry.path());
    }
    return result;
  }

  std::vector<std::string> listing_names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  void store_state(const std::string& state) const {
    apply(*opened_store(path), whole_state("Sales", state, 3));
  }

  std::string look(ServerAccess access = ServerAccess::read_only) const {
    return state_of(*opened_store(path, access), "Sales", 3);
  }

  std::string open_error(ServerAccess access) const {
    return error_of([&] { opened_store(path, access); });
  }

  std::string error(const std::string& what) const {
    return "catalogue '" + path + "': " + what + " (OLAP server)";
  }

  TemporaryFolder folder;
  std::string path = folder.file("server.olap");
};

TEST_F(CatalogueAccessTest, WritingMakesAMissingFileWithAllItsTables) {
  EXPECT_THAT(opened_store(path)->database_names(), IsEmpty());
  EXPECT_THAT(opened_store(path, ServerAccess::read_only)->database_names(), IsEmpty());
  SQLite::Database database(path, SQLite::OPEN_READONLY);
  EXPECT_EQ(database.execAndGet("PRAGMA journal_mode").getString(), "wal");
  EXPECT_EQ(database.execAndGet("PRAGMA user_version").getInt(), 1);
}

TEST_F(CatalogueAccessTest, AMissingFileIsAnErrorForALookUnlessItMayBeEmpty) {
  EXPECT_EQ(open_error(ServerAccess::read_only), error("no such file"));
  const auto store = opened_store(path, ServerAccess::read_only_or_empty);
  EXPECT_THAT(store->database_names(), IsEmpty());
  EXPECT_EQ(error_of([&] { store->sources("Sales"); }),
            "database 'Sales' does not exist (OLAP server)");
  EXPECT_THAT(listing(), IsEmpty());
}

TEST_F(CatalogueAccessTest, AMissingFolderIsAnErrorForWriting) {
  path = folder.file("none/server.olap");
  EXPECT_EQ(open_error(ServerAccess::read_write), error("No such file or directory"));
}

TEST_F(CatalogueAccessTest, AFolderWhereNothingCanBeMadeIsAnErrorForWriting) {
  path = "/proc/server.olap";
  EXPECT_EQ(open_error(ServerAccess::read_write), error("No such file or directory"));
}

TEST_F(CatalogueAccessTest, AFolderInTheFilesPlaceIsAnError) {
  fs::create_directory(path);
  for (const auto access : all_accesses) {
    EXPECT_EQ(open_error(access), error("it is a folder"));
  }
}

TEST_F(CatalogueAccessTest, OnlyARegularFileIsACatalogue) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  for (const auto access : all_accesses) {
    EXPECT_EQ(open_error(access), error("it is not a regular file"));
  }
  for (const auto* device : {"/dev/zero", "/dev/null"}) {
    fs::remove(path);
    fs::create_symlink(device, path);
    for (const auto access : all_accesses) {
      EXPECT_EQ(open_error(access), error("it is not a regular file"));
    }
  }
  EXPECT_THAT(listing_names(), ElementsAre("server.olap")) << "nothing is made beside";
}

TEST_F(CatalogueAccessTest, AnEmptyFileThatOthersMayReadBecomesItsOwnersAlone) {
  folder.write("server.olap", "");
  ASSERT_EQ(chmod(path.c_str(), 0644), 0);
  store_state("1");
  for (const auto& name : listing_names()) {
    EXPECT_EQ(fs::status(folder.file(name)).permissions(),
              fs::perms::owner_read | fs::perms::owner_write)
        << name;
  }
}

TEST_F(CatalogueAccessTest, ACatalogueKeepsThePermissionsThatItWasGiven) {
  store_state("1");
  ASSERT_EQ(chmod(path.c_str(), 0640), 0);
  store_state("2");
  EXPECT_EQ(fs::status(path).permissions(),
            fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
}

TEST_F(CatalogueAccessTest, AnEmptyFileIsAnEmptyCatalogue) {
  folder.write("server.olap", "");
  for (const auto access : looks) {
    EXPECT_THAT(opened_store(path, access)->database_names(), IsEmpty());
  }
  EXPECT_THAT(listing(), ElementsAre(std::pair("server.olap", "")));
  store_state("first");
  EXPECT_EQ(look(), "first");
}

TEST_F(CatalogueAccessTest, AFileThatIsNoDatabaseStaysAsItIs) {
  for (const std::string& bytes : {std::string("hello"), std::string(5000, 'x')}) {
    folder.write("server.olap", bytes);
    for (const auto access : all_accesses) {
      EXPECT_EQ(open_error(access), error("the file is no OLAP catalogue"));
    }
    EXPECT_THAT(listing(), ElementsAre(std::pair("server.olap", bytes)));
  }
}

TEST_F(CatalogueAccessTest, ADatabaseOfAnotherProgramStaysAsItIs) {
  SQLite::Database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
      .exec("CREATE TABLE databases (name TEXT); PRAGMA user_version = 1");
  const auto before = listing();
  for (const auto access : all_accesses) {
    EXPECT_EQ(open_error(access), error("the file is no OLAP catalogue"));
  }
  EXPECT_EQ(listing(), before);
}

TEST_F(CatalogueAccessTest, ACatalogueOfANewerVersionStaysAsItIs) {
  store_state("first");
  SQLite::Database(path, SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 2");
  const auto before = listing();
  for (const auto access : all_accesses) {
    EXPECT_EQ(open_error(access), error("the file was made by a newer version of this program"));
  }
  EXPECT_EQ(listing(), before);
}

TEST_F(CatalogueAccessTest, AllFilesAreReadableByTheirOwnerOnly) {
  const auto mask = umask(0);
  const auto store = opened_store(path);
  store->hold("Sales");
  apply(*store, changes_of("Sales"));
  umask(mask);
  EXPECT_EQ(listing().size(), 4U);
  for (const auto& entry : fs::directory_iterator(folder.path())) {
    EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write)
        << entry.path();
  }
}

TEST_F(CatalogueAccessTest, ALookAtACatalogueAtRestLeavesEverythingAsItWas) {
  store_state("first");
  const auto before = listing();
  for (const auto access : looks) {
    EXPECT_EQ(look(access), "first");
    EXPECT_EQ(listing(), before);
  }
}

TEST_F(CatalogueAccessTest, ALookAtACopyOfACatalogueMakesNothingBesideIt) {
  store_state("first");
  const std::string original = path;
  path = folder.file("100% sure? #1");
  fs::copy_file(original, path);
  const auto before = listing();
  EXPECT_EQ(look(), "first");
  EXPECT_EQ(listing(), before);
}

TEST_F(CatalogueAccessTest, ALookBesideARunSeesWhatWasStoredBeforeAndLeavesNothing) {
  store_state("first");
  const auto run = opened_store(path);
  run->hold("Sales");
  apply(*run, whole_state("Sales", "second", 3));
  const auto before = listing();
  EXPECT_EQ(look(), "second");
  EXPECT_EQ(listing(), before);
}

TEST_F(CatalogueAccessTest, AtRestTheLogIsEmpty) {
  store_state("first");
  EXPECT_EQ(fs::file_size(path + "-wal"), 0U);
}

TEST_F(CatalogueAccessTest, ALookStaysWithTheStateThatItFoundFirst) {
  store_state("first");
  const auto reader = opened_store(path, ServerAccess::read_only);
  store_state("second");
  EXPECT_EQ(state_of(*reader, "Sales", 3), "first");
  EXPECT_EQ(look(), "second");
}

TEST_F(CatalogueAccessTest, ARunSeesTheStateAtTheTimeWhenItGotHoldOfTheDatabase) {
  store_state("first");
  const auto run = opened_store(path);
  EXPECT_EQ(state_of(*run, "Sales", 3), "first");
  store_state("second");
  EXPECT_EQ(state_of(*run, "Sales", 3), "first");
  run->hold("Sales");
  EXPECT_EQ(state_of(*run, "Sales", 3), "second");
}

TEST_F(CatalogueAccessTest, ARunThatReadAnOldStateCanStoreAllTheSame) {
  store_state("first");
  const auto run = opened_store(path);
  EXPECT_THAT(run->database_names(), ElementsAre("Sales"));
  apply(*opened_store(path), changes_of("Other"));
  apply(*run, changes_of("Third"));
  EXPECT_THAT(run->database_names(), ElementsAre("Sales", "Other", "Third"));
}

TEST_F(CatalogueAccessTest, ALookAtACopyEndsWhenAnImportIntoItBegins) {
  store_state("first");
  const std::string original = path;
  path = folder.file("copy.olap");
  fs::copy_file(original, path);
  const auto reader = opened_store(path, ServerAccess::read_only);
  EXPECT_EQ(state_of(*reader, "Sales", 3), "first");
  const auto run = opened_store(path);
  EXPECT_EQ(error_of([&] { reader->database_names(); }),
            error("the file was opened by an import while it was read; please try again"));
  EXPECT_EQ(look(), "first");
}

TEST_F(CatalogueAccessTest, ALookCannotStore) {
  store_state("first");
  for (const auto access : looks) {
    const auto store = opened_store(path, access);
    EXPECT_EQ(error_of([&] { apply(*store, changes_of("Other")); }),
              error("it was opened for reading only"));
  }
  EXPECT_THAT(opened_store(path)->database_names(), ElementsAre("Sales"));
}

TEST_F(CatalogueAccessTest, SymbolicLinksLeadToOneCatalogueWithOneSetOfLocks) {
  store_state("first");
  const TemporaryFolder elsewhere;
  const auto link = elsewhere.file("link.olap");
  fs::create_symlink(path, link);
  const auto first = opened_store(path);
  const auto second = opened_store(link);
  first->hold("Sales");
  EXPECT_EQ(error_of([&] { second->hold("Sales"); }),
            "database 'Sales' is in use by another import (OLAP server)");
}

TEST_F(CatalogueAccessTest, AStoreThatWasNeverOpenedHoldsNothing) {
  make_catalogue_store(path, ServerAccess::read_write)->release_all();
  EXPECT_THAT(listing(), IsEmpty());
}

}  // namespace
}  // namespace importkcd
