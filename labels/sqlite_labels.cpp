#include <SQLiteCpp/SQLiteCpp.h>
#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "labels/labels_servers.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr const char* extension = ".db";

[[noreturn]] void fail_query(const std::string& description) {
  throw ImportError(description, error_source::labels_database);
}

class SqliteRows : public LabelRows {
 public:
  explicit SqliteRows(SQLite::Statement statement) : statement_(std::move(statement)) {}

  bool next() override {
    try {
      return statement_.executeStep();
    } catch (const SQLite::Exception& error) {
      fail_query(error.what());
    }
  }

  std::size_t column(std::string_view name) const override {
    for (int i = 0; i < statement_.getColumnCount(); ++i) {
      if (same_name(statement_.getColumnName(i), name)) {
        return static_cast<std::size_t>(i);
      }
    }
    fail_query("no such column: " + std::string(name));
  }

  std::optional<std::string> text(std::size_t column) override {
    try {
      const auto value = statement_.getColumn(static_cast<int>(column));
      return value.isNull() ? std::nullopt : std::optional(value.getString());
    } catch (const SQLite::Exception& error) {
      fail_query(error.what());
    }
  }

 private:
  SQLite::Statement statement_;
};

/// The names of a folder's databases, sorted.
std::vector<std::string> databases_in(const fs::path& folder) {
  std::vector<std::string> names;
  try {
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().extension() == extension && entry.is_regular_file()) {
        names.push_back(entry.path().stem().string());
      }
    }
  } catch (const fs::filesystem_error& error) {
    fail_query("Cannot read the folder '" + folder.string() + "': " + error.code().message());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class SqliteLabels : public LabelsConnection {
 public:
  /// Fails when the folder cannot be read, as a server that cannot be reached does.
  explicit SqliteLabels(fs::path folder) : folder_(std::move(folder)) {
    static_cast<void>(databases_in(folder_));
  }

  std::vector<std::string> catalogs() override { return databases_in(folder_); }

  void use_database(const std::string& name) override {
    const auto names = databases_in(folder_);
    if (std::find(names.begin(), names.end(), name) == names.end()) {
      fail_query("There is no database '" + name + "' in the folder '" + folder_.string() + "'");
    }
    try {
      database_ = std::make_unique<SQLite::Database>((folder_ / (name + extension)).string(),
                                                     SQLite::OPEN_READONLY);
      // A file from elsewhere: only tables are read, and its schema runs no code of this process.
      database_->exec("PRAGMA trusted_schema = OFF");
      sqlite3_db_config(database_->getHandle(), SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
      sqlite3_db_config(database_->getHandle(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    } catch (const SQLite::Exception& error) {
      fail_query(error.what());
    }
  }

  std::unique_ptr<LabelRows> execute(const std::string& statement) override {
    if (database_ == nullptr) {
      fail_query("No database is chosen");
    }
    try {
      return std::make_unique<SqliteRows>(SQLite::Statement(*database_, statement));
    } catch (const SQLite::Exception& error) {
      fail_query(error.what());
    }
  }

 private:
  fs::path folder_;
  std::unique_ptr<SQLite::Database> database_;
};

}  // namespace

std::unique_ptr<LabelsConnection> open_sqlite_labels(const std::string& folder) {
  return std::make_unique<SqliteLabels>(folder);
}

}  // namespace importkcd
