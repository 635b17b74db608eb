#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "base/import_error.h"
#include "labels/labels_connection.h"
#include "tests/labels/labels_content.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

/// The embedded labels server in a folder of its own.
class SqliteLabels : public ::testing::Test {
 protected:
  std::unique_ptr<LabelsConnection> open(const std::string& path) const {
    LabelsLogin login;
    login.server = "sqlite:" + path;
    login.user = "ignored";
    login.password = "ignored";
    return open_labels_connection(login);
  }
  std::unique_ptr<LabelsConnection> open() const { return open(folder.path().string()); }

  /// The description of what an action throws; "none" when it throws nothing.
  template <typename Action>
  static std::string failure_of(Action action) {
    try {
      action();
    } catch (const ImportError& error) {
      EXPECT_EQ(error.source(), error_source::labels_database);
      return error.description();
    }
    return "none";
  }

  testing::TemporaryFolder folder;
};

TEST_F(SqliteLabels, EveryDatabaseFileOfTheFolderIsADatabaseInTheOrderOfNames) {
  for (const auto* name : {"Sales", "Magasin d'été", "Äpfel"}) {
    write_sqlite_database(folder, {name, {"CREATE TABLE T (x INTEGER)"}});
  }
  folder.write("labels.sql", "");
  folder.write("labels.DB", "");
  folder.write("db", "");
  fs::create_directory(folder.file("folder.db"));
  EXPECT_THAT(open()->catalogs(), ElementsAre("Magasin d'été", "Sales", "Äpfel"));
}

TEST_F(SqliteLabels, AFolderWithoutDatabasesHasNone) { EXPECT_THAT(open()->catalogs(), IsEmpty()); }

TEST_F(SqliteLabels, AnAbsentFolderIsAFailureToConnect) {
  const auto absent = folder.file("absent");
  EXPECT_EQ(failure_of([&] { open(absent); }),
            "Cannot read the folder '" + absent + "': No such file or directory");
}

TEST_F(SqliteLabels, AFileInPlaceOfTheFolderIsAFailureToConnect) {
  const auto file = folder.write("file", "");
  EXPECT_EQ(failure_of([&] { open(file); }),
            "Cannot read the folder '" + file + "': Not a directory");
}

TEST_F(SqliteLabels, NoDatabaseOutsideOfTheFolderCanBeChosen) {
  fs::create_directory(folder.file("inner"));
  write_sqlite_database(folder, {"outer", {"CREATE TABLE T (x INTEGER)"}});
  const auto connection = open(folder.file("inner"));
  EXPECT_EQ(failure_of([&] { connection->use_database("../outer"); }),
            "There is no database '../outer' in the folder '" + folder.file("inner") + "'");
}

TEST_F(SqliteLabels, DatabasesAreNotWrittenTo) {
  write_sqlite_database(folder, {"Sales", {"CREATE TABLE T (x INTEGER)"}});
  const auto connection = open();
  connection->use_database("Sales");
  EXPECT_THAT(failure_of([&] { connection->execute("INSERT INTO T VALUES (1)")->next(); }),
              HasSubstr("readonly"));
}

TEST_F(SqliteLabels, AFileThatIsNoDatabaseIsAFailure) {
  folder.write("broken.db", std::string(5000, 'x'));
  const auto connection = open();
  EXPECT_EQ(failure_of([&] {
              connection->use_database("broken");
              connection->execute("SELECT 1 FROM Labels");
            }),
            "file is not a database");
}

TEST_F(SqliteLabels, AStatementNeedsADatabase) {
  const auto connection = open();
  EXPECT_EQ(failure_of([&] { connection->execute("SELECT 1"); }), "No database is chosen");
}

}  // namespace
}  // namespace importkcd
