#include "tests/importer/faults/catalogue_faults_fixture.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <utility>

#include "servers/catalogue/catalogue_store.h"
#include "servers/choice/server_choice.h"
#include "servers/working_copy_server.h"
#include "tests/support/catalogue_check.h"
#include "tests/support/database_text.h"
#include "tests/support/fault_stride.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

/// Does `work` in a process of its own, which ends without closing anything. Gives 0, or the signal
/// that ended it.
int in_child(const std::function<void()>& work) {
  const auto child = fork();
  if (child == 0) {
    try {
      work();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

/// Fills the log with commits of a page each. SQLite brings a log of 1000 pages into the file at
/// the next commit.
void fill_log(SQLite::Database& database, const std::string& log) {
  constexpr std::size_t bytes_for_a_page = 4096 + 24;
  database.exec("PRAGMA wal_autocheckpoint = 0");
  for (int state = 0; fs::file_size(log) < 998 * bytes_for_a_page; ++state) {
    database.exec("UPDATE databases SET description = " + std::to_string(state));
  }
}

std::unique_ptr<OlapServer> connected(const std::string& path, ServerAccess access) {
  auto server = std::make_unique<WorkingCopyServer>(make_catalogue_store(path, access));
  server->connect(path);
  return server;
}

}  // namespace

std::string name_of(const CatalogueCase& tested) {
  std::string name = tested.mode == import_type::incremental ? "Incremental"
                     : tested.mode == import_type::replace   ? "Replace"
                                                             : "Update";
  switch (tested.start) {
    case Start::missing:
      return name + "FromNothing";
    case Start::stored:
      return name;
    case Start::pending_log:
      return name + "OverAPendingLog";
    case Start::long_log:
      return name + "OverALongLog";
  }
  return name;
}

CatalogueFaultsTest::CatalogueFaultsTest() {
  fs::create_directory(folder.file("catalogue"));
  options.machine_name = "catalogue:" + path;
  options.import_partitions = true;
  server_factory = [this](std::string_view machine) {
    return std::make_unique<ForwardingServer>(make_olap_server(machine, ServerAccess::read_write),
                                              [this](const std::string& operation) {
                                                if (operation == "class_type") {
                                                  opened_at_ = vfs.count();
                                                }
                                              });
  };
}

void CatalogueFaultsTest::prepare(const CatalogueCase& tested) {
  make_start(tested.start);
  fs::rename(folder.file("catalogue"), folder.file("start"));
  options.ImportType = tested.mode;
  // A second import would find the levels of the first.
  options.DontUpdateLevels = tested.mode == import_type::update;
  options.kcd_document_file_name = folder.write("document.kcd", whole_document());
  restore();
  before = content();
  vfs.record();
  vfs.heal();
  import_and_close();
  ASSERT_TRUE(succeeded) << last_error;
  operations = vfs.recorded();
  find_commit();
  after = content();
  ASSERT_NE(before, after);
  import_and_close();
  after_twice = content();
}

int CatalogueFaultsTest::stride(Start start, int usual) {
  return stride_of_faults(start == Start::long_log ? std::max(usual, 4) : usual);
}

void CatalogueFaultsTest::find_commit() {
  opening = opened_at_;
  ASSERT_LT(opening, ended_at_);
  for (int number = opening + 1; number <= ended_at_; ++number) {
    const auto text = text_of(operations.at(static_cast<std::size_t>(number) - 1));
    if (text == "write server.olap-wal") {
      commit_written = number;
      commit_synchronised = 0;
    } else if (text == "sync server.olap-wal" && commit_synchronised == 0) {
      commit_synchronised = number;
    }
  }
  ASSERT_LT(commit_written, commit_synchronised);
}

void CatalogueFaultsTest::make_start(Start start) {
  if (start == Start::missing) {
    return;
  }
  options.ImportType = import_type::incremental;
  options.use_alternate_database_name = true;
  options.alternate_database_name = "Other";
  import(whole_document());
  importer.reset();
  options.use_alternate_database_name = false;
  const auto import_older = [this] {
    import(older_document());
    EXPECT_TRUE(importer->succeeded) << importer->last_error;
  };
  if (start == Start::stored) {
    import_older();
    importer.reset();
    return;
  }
  // The end of the child leaves both connections as they are.
  std::unique_ptr<SQLite::Database> second;
  in_child([&] {
    import_older();
    if (start == Start::long_log) {
      second = std::make_unique<SQLite::Database>(path, SQLite::OPEN_READWRITE);
      fill_log(*second, path + "-wal");
    }
  });
}

void CatalogueFaultsTest::restore() const {
  fs::remove_all(folder.file("catalogue"));
  fs::copy(folder.file("start"), folder.file("catalogue"));
}

void CatalogueFaultsTest::import_and_close() {
  import_file();
  ended_at_ = vfs.count();
  succeeded = importer->succeeded;
  last_error = importer->last_error;
  importer.reset();
}

int CatalogueFaultsTest::import_in_child() {
  return in_child([this] { import_and_close(); });
}

std::string CatalogueFaultsTest::checked_content() {
  const auto key = fingerprint();
  const auto known = checked_.find(key);
  if (known != checked_.end()) {
    return known->second;
  }
  auto found = content();
  expect_sound_file();
  {
    const auto server = connected(path, ServerAccess::read_write);
    EXPECT_NO_THROW(server->hold_database("Shop"));
    EXPECT_EQ(server_text(*server), found);
  }
  import_and_close();
  EXPECT_TRUE(succeeded) << last_error;
  EXPECT_EQ(last_error, "");
  EXPECT_EQ(content(), found == after ? after_twice : after);
  expect_sound_file();
  checked_[key] = found;
  return found;
}

std::string CatalogueFaultsTest::content() const {
  return server_text(*connected(path, ServerAccess::read_only_or_empty));
}

std::string CatalogueFaultsTest::fingerprint() const {
  std::string result;
  for (const auto* suffix : {"", "-wal", "-journal"}) {
    const auto file = path + suffix;
    result += (fs::exists(file) ? read_file(file) : "none") + '\n';
  }
  return std::to_string(std::hash<std::string>{}(result));
}

void CatalogueFaultsTest::expect_sound_file() const {
  if (!fs::exists(path)) {
    return;
  }
  EXPECT_EQ(check_of(path), "ok");
}

}  // namespace importkcd::testing
