#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <thread>

#include "servers/choice/server_choice.h"
#include "servers/working_copy_server.h"
#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/servers/catalogue/forked_process.h"
#include "tests/support/catalogue_check.h"
#include "tests/support/database_text.h"
#include "tests/support/import_fixture.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

namespace importkcd {
namespace {

using importkcd::testing::apply;
using importkcd::testing::bare_document;
using importkcd::testing::changes_of;
using importkcd::testing::check_of;
using importkcd::testing::error_of;
using importkcd::testing::ForkedProcess;
using importkcd::testing::import_text;
using importkcd::testing::ImportResult;
using importkcd::testing::known_version;
using importkcd::testing::opened_store;
using importkcd::testing::read_file;
using importkcd::testing::ScopedEnvironment;
using importkcd::testing::server_text;
using importkcd::testing::state_of;
using importkcd::testing::TemporaryFolder;
using importkcd::testing::wait_to_be_killed;
using importkcd::testing::whole_document;
using importkcd::testing::whole_state;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A document of the database "Shop" with a cube that cannot be built.
std::string failing_document() {
  auto text = whole_document();
  const std::string attribute = "fact_table=\"stock\"";
  return text.erase(text.find(attribute), attribute.size());
}

class KeptCopiesTest : public ::testing::Test {
 protected:
  std::unique_ptr<OlapServer> server(ServerAccess access) const {
    auto result = std::make_unique<WorkingCopyServer>(make_catalogue_store(path, access));
    result->connect(path);
    return result;
  }

  ImportResult import(const std::string& document, std::int32_t mode) const {
    ImportOptions options;
    options.ImportType = mode;
    options.import_partitions = true;
    return import_text(document, options,
                       [this](std::string_view) { return server(ServerAccess::read_write); });
  }

  ImportResult replace(const std::string& document) const {
    return import(document, import_type::replace);
  }

  /// Everything that a reader finds.
  std::string content() const {
    EXPECT_EQ(check_of(path), "ok");
    return server_text(*server(ServerAccess::read_only));
  }

  std::vector<KeptCopy> copies() const { return kept_copies(machine); }

  std::vector<std::string> kept_names() const {
    std::vector<std::string> names;
    for (const auto& copy : copies()) {
      names.push_back(copy.name);
    }
    return names;
  }

  /// What restoring says: "NAME", followed by " in place of another".
  std::string restore(const std::string& database) const {
    const auto restored = restore_database(machine, database);
    return restored.copy.name + (restored.displaced_another ? " in place of another" : "");
  }

  std::string restore_error(const std::string& database) const {
    return error_of([&] { restore_database(machine, database); });
  }

  /// Stores a state of a database in place of the earlier one, as a run in replace mode does.
  void store_state(const std::string& database, const std::string& state, int cubes = 3) const {
    auto changes = whole_state(database, state, cubes);
    changes.removes_stored = true;
    apply(*opened_store(path), std::move(changes));
  }

  std::string state(const std::string& database, int cubes = 3) const {
    return state_of(*opened_store(path, ServerAccess::read_only), database, cubes);
  }

  /// File name -> bytes.
  std::map<std::string, std::string> files() const {
    std::map<std::string, std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      result[entry.path().filename().string()] = read_file(entry.path());
    }
    return result;
  }

  TemporaryFolder folder;
  std::string path = folder.file("server.olap");
  std::string machine = "catalogue:" + path;
};

TEST_F(KeptCopiesTest, AReplacedDatabaseComesBackWhole) {
  ASSERT_EQ(import(whole_document(), import_type::incremental).last_error, "");
  const auto before = content();
  ASSERT_EQ(replace(bare_document(known_version, "Shop")).last_error, "");
  ASSERT_NE(content(), before);
  EXPECT_EQ(restore("Shop"), "Shop in place of another");
  EXPECT_EQ(content(), before);
}

TEST_F(KeptCopiesTest, ADatabaseComesBackAfterAReplaceThatFailed) {
  ASSERT_EQ(import(whole_document(), import_type::incremental).last_error, "");
  const auto before = content();
  ASSERT_EQ(replace(failing_document()).last_error,
            "Cannot create DSS database because of Invalid use of Null in KCD document");
  ASSERT_NE(content(), before) << "what was written back before the error is stored";
  EXPECT_EQ(restore("Shop"), "Shop in place of another");
  EXPECT_EQ(content(), before);
}

TEST_F(KeptCopiesTest, ADatabaseComesBackThatADocumentOfAWrongVersionDeleted) {
  ASSERT_EQ(import(whole_document(), import_type::incremental).last_error, "");
  const auto before = content();
  ASSERT_FALSE(replace(bare_document("2.0", "Shop")).succeeded);
  ASSERT_EQ(content(), "");
  EXPECT_THAT(kept_names(), ElementsAre("Shop"));
  EXPECT_EQ(restore("Shop"), "Shop");
  EXPECT_EQ(content(), before);
  EXPECT_THAT(kept_names(), IsEmpty());
}

TEST_F(KeptCopiesTest, ARestoredDatabaseIsImportedIntoLikeAnyOther) {
  ASSERT_EQ(import(whole_document(), import_type::incremental).last_error, "");
  const auto before = content();
  replace(bare_document(known_version, "Shop"));
  restore("Shop");
  EXPECT_EQ(import(whole_document(), import_type::incremental).last_error, "");
  EXPECT_EQ(content(), before);
  EXPECT_EQ(replace(whole_document()).last_error, "");
  EXPECT_EQ(content(), before);
}

TEST_F(KeptCopiesTest, TheLatestReplacedStateIsKept) {
  for (const auto* next : {"1", "2", "3"}) {
    store_state("Sales", next);
  }
  EXPECT_THAT(kept_names(), ElementsAre("Sales"));
  restore("Sales");
  EXPECT_EQ(state("Sales"), "2");
  EXPECT_EQ(check_of(path), "ok");
}

TEST_F(KeptCopiesTest, RestoringAgainUndoesIt) {
  store_state("Sales", "1");
  store_state("Sales", "2");
  for (const auto* expected : {"1", "2", "1"}) {
    EXPECT_EQ(restore("Sales"), "Sales in place of another");
    EXPECT_EQ(state("Sales"), expected);
    EXPECT_THAT(kept_names(), ElementsAre("Sales"));
    EXPECT_EQ(check_of(path), "ok");
  }
}

TEST_F(KeptCopiesTest, LetterCaseMakesNoOtherName) {
  store_state("Bücher", "1");
  store_state("BÜCHER", "2");
  EXPECT_THAT(kept_names(), ElementsAre("Bücher"));
  EXPECT_EQ(restore("bÜcher"), "Bücher in place of another");
  EXPECT_THAT(opened_store(path)->database_names(), ElementsAre("Bücher"));
  EXPECT_EQ(state("BÜCHER"), "1");
  EXPECT_THAT(kept_names(), ElementsAre("BÜCHER"));
  store_state("bücher", "3");
  EXPECT_THAT(kept_names(), ElementsAre("Bücher"));
  EXPECT_EQ(check_of(path), "ok");
}

TEST_F(KeptCopiesTest, EveryNameHasItsOwnCopy) {
  for (const auto* name : {"One", "Two", "Three"}) {
    store_state(name, "1");
  }
  for (const auto* name : {"Three", "One"}) {
    store_state(name, "2");
  }
  EXPECT_THAT(kept_names(), ::testing::UnorderedElementsAre("Three", "One"));
  restore("One");
  EXPECT_EQ(state("One"), "1");
  EXPECT_EQ(state("Two"), "1");
  EXPECT_EQ(state("Three"), "2");
}

TEST_F(KeptCopiesTest, TheDateIsUtcAndTheOldestComesFirst) {
  store_state("One", "1");
  store_state("Two", "1");
  store_state("Two", "2");
  store_state("One", "2");
  SQLite::Database(path, SQLite::OPEN_READWRITE)
      .exec(
          "UPDATE databases SET kept_since = '2001-02-03 04:05:06' WHERE name = 'Two' AND "
          "kept_since IS NOT NULL");
  EXPECT_THAT(kept_names(), ElementsAre("Two", "One"));
  EXPECT_EQ(copies().front().kept_since, "2001-02-03 04:05:06");
  EXPECT_THAT(copies().back().kept_since,
              ::testing::MatchesRegex(
                  "[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9]"));
  EXPECT_EQ(restore_database(machine, "Two").copy.kept_since, "2001-02-03 04:05:06");
  EXPECT_THAT(kept_names(), ::testing::UnorderedElementsAre("One", "Two"));
  EXPECT_GT(copies().front().kept_since, "2025") << "kept since it was displaced";
}

TEST_F(KeptCopiesTest, AKeptDatabaseIsNoDatabaseToReadersAndRuns) {
  store_state("Sales", "1");
  DatabaseChanges removal;
  removal.name = "Sales";
  removal.removes_stored = true;
  apply(*opened_store(path), std::move(removal));
  const auto store = opened_store(path);
  EXPECT_THAT(store->database_names(), IsEmpty());
  EXPECT_EQ(error_of([&] { store->sources("Sales"); }),
            "database 'Sales' does not exist (OLAP server)");
  apply(*store, changes_of("Sales"));
  EXPECT_THAT(store->sources("Sales").cubes->names(), IsEmpty());
}

TEST_F(KeptCopiesTest, RemovingWhatIsNotThereForgetsNoCopy) {
  store_state("Sales", "1");
  for (int i = 0; i < 2; ++i) {
    DatabaseChanges removal;
    removal.name = "Sales";
    removal.removes_stored = true;
    apply(*opened_store(path), std::move(removal));
  }
  EXPECT_EQ(restore("Sales"), "Sales");
  EXPECT_EQ(state("Sales"), "1");
}

TEST_F(KeptCopiesTest, WithoutACopyNothingIsTouched) {
  store_state("Sales", "1");
  std::filesystem::remove(path + "-wal");
  std::filesystem::remove(path + "-shm");
  const auto before = files();
  EXPECT_EQ(restore_error("SALES"), "no copy of database 'SALES' is kept (OLAP server)");
  EXPECT_EQ(restore_error(""), "no copy of database '' is kept (OLAP server)");
  EXPECT_EQ(files(), before);
}

TEST_F(KeptCopiesTest, AMissingCatalogueIsAnErrorAndStaysMissing) {
  const auto missing = "catalogue '" + path + "': no such file (OLAP server)";
  EXPECT_EQ(restore_error("Sales"), missing);
  EXPECT_EQ(error_of([&] { copies(); }), missing);
  EXPECT_EQ(error_of([&] { opened_store(path, ServerAccess::read_write_existing); }), missing);
  EXPECT_THAT(opened_store(path, ServerAccess::read_only_or_empty)->kept_copies(), IsEmpty());
  const ScopedEnvironment data_home("XDG_DATA_HOME", folder.path());
  EXPECT_THAT(kept_copies("localhost"), IsEmpty());
  EXPECT_EQ(error_of([] { restore_database("localhost", "Sales"); }),
            "no copy of database 'Sales' is kept (OLAP server)");
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(KeptCopiesTest, AFileThatIsNoCatalogueStaysAsItIs) {
  folder.write("server.olap", "a text file, much too short");
  const auto before = files();
  EXPECT_EQ(restore_error("Sales"),
            "catalogue '" + path + "': the file is no OLAP catalogue (OLAP server)");
  EXPECT_EQ(files(), before);
}

TEST_F(KeptCopiesTest, AStoreWithoutACopyRefusesAndLetsGo) {
  store_state("Sales", "1");
  EXPECT_EQ(error_of([&] { opened_store(path)->restore("SALES"); }),
            "no copy of database 'SALES' is kept (OLAP server)");
  EXPECT_EQ(state("Sales"), "1");
  EXPECT_EQ(error_of([&] { opened_store(path)->hold("Sales"); }), "nothing");
}

TEST_F(KeptCopiesTest, ALookCannotRestore) {
  store_state("Sales", "1");
  store_state("Sales", "2");
  EXPECT_EQ(error_of([&] { opened_store(path, ServerAccess::read_only)->restore("Sales"); }),
            "catalogue '" + path + "': it was opened for reading only (OLAP server)");
  EXPECT_EQ(state("Sales"), "2");
}

TEST_F(KeptCopiesTest, ADatabaseThatAnImportHoldsIsNotRestored) {
  store_state("Sales", "1");
  store_state("Sales", "2");
  const auto run = opened_store(path);
  run->hold("SALES");
  EXPECT_EQ(restore_error("Sales"), "database 'Sales' is in use by another import (OLAP server)");
  EXPECT_EQ(state("Sales"), "2");
  run->release_all();
  restore("Sales");
  EXPECT_EQ(state("Sales"), "1");
  EXPECT_EQ(error_of([&] { run->hold("Sales"); }), "nothing") << "restoring lets go at its end";
}

TEST_F(KeptCopiesTest, AnImportIntoAnotherDatabaseDoesNotHinder) {
  store_state("Sales", "1");
  store_state("Sales", "2");
  const auto run = opened_store(path);
  run->hold("Other");
  restore("Sales");
  apply(*run, changes_of("Other"));
  EXPECT_EQ(state("Sales"), "1");
  EXPECT_THAT(opened_store(path)->database_names(), ElementsAre("Sales", "Other"));
}

TEST_F(KeptCopiesTest, AFailureLeavesDatabaseAndCopyAsTheyWere) {
  store_state("Sales", "1");
  store_state("Sales", "2");
  const auto refused = "catalogue '" + path + "': CHECK constraint failed: refused (OLAP server)";
  testing::refuse_unless(path, "databases", "kept_since IS NOT NULL");
  EXPECT_EQ(restore_error("Sales"), refused);
  EXPECT_EQ(state("Sales"), "2");
  testing::refuse_unless(path, "databases", "kept_since IS NULL");
  EXPECT_EQ(error_of([&] { store_state("Sales", "3"); }), refused);
  EXPECT_EQ(state("Sales"), "2");
  testing::refuse_unless(path, "databases", "");
  restore("Sales");
  EXPECT_EQ(state("Sales"), "1");
  EXPECT_EQ(check_of(path), "ok");
}

TEST_F(KeptCopiesTest, AKilledRestoreLeavesTheStateBeforeOrAfterIt) {
  constexpr int cubes = 50;
  store_state("Sales", "1", cubes);
  store_state("Sales", "2", cubes);
  std::mt19937 random(5);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the moments are to repeat
  std::uniform_int_distribution<int> moment(0, 6'000);
  for (int round = 0; round < 40; ++round) {
    ForkedProcess process([&](const auto& say_ready) {
      say_ready();
      restore("Sales");
      wait_to_be_killed();
    });
    ASSERT_TRUE(process.is_ready());
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    process.kill();
    const auto found = state("Sales", cubes);
    EXPECT_THAT(found, ::testing::AnyOf("1", "2"));
    EXPECT_EQ(check_of(path), "ok");
    ASSERT_EQ(restore("Sales"), "Sales in place of another") << "nothing is held";
    EXPECT_EQ(state("Sales", cubes), found == "1" ? "2" : "1") << "the other one was kept";
  }
}

TEST_F(KeptCopiesTest, ReadersSeeWholeStatesWhileDatabasesChangePlaces) {
  constexpr int cubes = 20;
  store_state("Sales", "1", cubes);
  store_state("Sales", "2", cubes);
  ForkedProcess process([&](const auto& say_ready) {
    restore("Sales");
    say_ready();
    while (true) {
      restore("Sales");
    }
  });
  ASSERT_TRUE(process.is_ready());
  std::map<std::string, int> seen;
  for (int attempts = 0; seen["1"] < 10 || seen["2"] < 10; ++attempts) {
    ASSERT_LT(attempts, 100'000) << "the databases no longer change places";
    const auto found = state("Sales", cubes);
    ASSERT_THAT(found, ::testing::AnyOf("1", "2"));
    ++seen[found];
  }
}

TEST_F(KeptCopiesTest, ServersAreNamedLikeThoseOfImports) {
  store_state("Sales", "1");
  store_state("Sales", "2");
  EXPECT_EQ(kept_copies("catalogue:" + path).size(), 1U);
  EXPECT_EQ(error_of([] { kept_copies("memory:"); }),
            "'memory:' keeps no copies of databases (OLAP server)");
  EXPECT_EQ(error_of([] { restore_database("memory:", "Sales"); }),
            "'memory:' keeps no copies of databases (OLAP server)");
  for (const std::string other : {"", "elsewhere", "catalogue:"}) {
    EXPECT_EQ(error_of([&] { kept_copies(other); }),
              error_of([&] { make_olap_server(other, ServerAccess::read_only); }));
  }
}

}  // namespace
}  // namespace importkcd
