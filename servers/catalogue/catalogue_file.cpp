#include "servers/catalogue/catalogue_file.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <exception>
#include <filesystem>
#include <system_error>
#include <thread>

#include "base/connection_text.h"
#include "base/files.h"
#include "servers/catalogue/catalogue_schema.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// A store serves one thread: no locking inside a connection.
constexpr int one_thread = SQLITE_OPEN_NOMUTEX;

/// How long one run waits for another one to finish storing.
constexpr int busy_timeout_ms = 30'000;

/// Every commit is synchronised with the disk, whatever SQLite was built to do. There is room for
/// the pages of a large import, so that none is written to the log twice.
constexpr const char* write_settings =
    "PRAGMA foreign_keys = ON; PRAGMA synchronous = FULL; PRAGMA cache_size = -65536; "
    "PRAGMA journal_size_limit = 0";

constexpr const char* use_log = "PRAGMA journal_mode = WAL";

/// Schemas of files from elsewhere must not run code of this process, nor do anything of their own:
/// a catalogue has neither triggers nor views.
void distrust_schema(SQLite::Database& database) {
  database.exec("PRAGMA trusted_schema = OFF");
  sqlite3_db_config(database.getHandle(), SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(database.getHandle(), SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

/// SQLite accounts for every piece of memory, under a lock. Nobody reads the account, and it can be
/// switched off only before anything else is asked of SQLite in this process: if that is too late,
/// it stays.
void drop_memory_statistics() {
  [[maybe_unused]] static const int once = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
}

/// A path as the name of a file for SQLite, with parameters.
std::string uri_of(const std::string& path, const std::string& parameters) {
  std::string result = "file:";
  for (const char c : path) {
    switch (c) {
      case '%':
        result += "%25";
        break;
      case '?':
        result += "%3f";
        break;
      case '#':
        result += "%23";
        break;
      default:
        result += c;
    }
  }
  return result + "?" + parameters;
}

/// Keeps the log's files when the last connection closes.
void keep_log_files(SQLite::Database& database) {
  int keep = 1;
  sqlite3_file_control(database.getHandle(), "main", SQLITE_FCNTL_PERSIST_WAL, &keep);
}

/// SQLite waits for no other connection here, however long the busy timeout is.
void switch_to_log(SQLite::Database& database) {
  const auto give_up =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(busy_timeout_ms);
  int result = database.tryExec(use_log);
  while (result == SQLITE_BUSY && std::chrono::steady_clock::now() < give_up) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    result = database.tryExec(use_log);
  }
  if (result != SQLITE_OK) {
    throw SQLite::Exception(database.getHandle(), result);
  }
}

void make_schema(SQLite::Database& database) {
  SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
  if (catalogue_format(database) == CatalogueFormat::empty) {
    create_schema(database);
  }
  transaction.commit();
}

}  // namespace

CatalogueFile::CatalogueFile(std::string path, ServerAccess access)
    : path_(std::move(path)), access_(access) {}

void CatalogueFile::open() {
  drop_memory_statistics();
  std::error_code error;
  const auto real_path = fs::weakly_canonical(fs::absolute(path_), error);
  if (error) {
    fail(error.message());
  }
  const auto status = fs::status(real_path, error);
  if (fs::is_directory(status)) {
    fail("it is a folder");
  }
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    fail("it is not a regular file");
  }
  real_path_ = real_path.string();
  translated([this] { is_writable() ? open_to_write() : open_to_look(); });
}

void CatalogueFile::open_to_write() {
  if (access_ == ServerAccess::read_write) {
    create_file();
  } else if (!fs::exists(real_path_)) {
    fail("no such file");
  }
  connection_ = std::make_unique<SQLite::Database>(real_path_, SQLite::OPEN_READWRITE | one_thread,
                                                   busy_timeout_ms);
  distrust_schema(*connection_);
  const auto format = checked_format();
  keep_log_files(*connection_);
  switch_to_log(*connection_);
  connection_->exec(write_settings);
  if (format == CatalogueFormat::empty) {
    make_schema(*connection_);
  }
}

/// SQLite itself would make a file that others may read.
void CatalogueFile::create_file() {
  const FileDescriptor file(
      ::open(real_path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!file.is_open() && errno != EEXIST) {
    fail(system_description(errno));
  }
  // So may one that somebody has made empty. By its name: closing a descriptor of it would undo the
  // locks of this process.
  struct stat status {};
  if (::stat(real_path_.c_str(), &status) == 0 && status.st_size == 0 &&
      (status.st_mode & (S_IRWXG | S_IRWXO)) != 0 &&
      ::fchmodat(AT_FDCWD, real_path_.c_str(), S_IRUSR | S_IWUSR, AT_SYMLINK_NOFOLLOW) != 0) {
    fail(system_description(errno));
  }
}

void CatalogueFile::open_to_look() {
  if (!fs::exists(real_path_)) {
    if (access_ == ServerAccess::read_only) {
      fail("no such file");
    }
    return;
  }
  bool disturbed = true;
  while (disturbed) {
    alone_ = !is_in_use();
    try {
      connect_to_look();
      disturbed = alone_ && is_in_use();
    } catch (const std::exception&) {
      // Without locks it may have seen half of what a run wrote that began meanwhile.
      if (!alone_ || !is_in_use()) {
        throw;
      }
    }
  }
}

void CatalogueFile::connect_to_look() {
  state_.reset();
  connection_ = std::make_unique<SQLite::Database>(
      uri_of(real_path_, alone_ ? "immutable=1" : "mode=ro"),
      SQLite::OPEN_READONLY | SQLite::OPEN_URI | one_thread, busy_timeout_ms);
  distrust_schema(*connection_);
  state_.emplace(*connection_);
  if (checked_format() == CatalogueFormat::empty) {
    state_.reset();
    connection_.reset();
  }
}

CatalogueFormat CatalogueFile::checked_format() {
  const auto format = catalogue_format(*connection_);
  if (format == CatalogueFormat::foreign) {
    fail("the file is no OLAP catalogue");
  }
  if (format == CatalogueFormat::newer) {
    fail("the file was made by a newer version of this program");
  }
  return format;
}

/// A writer makes the log's files before it changes anything.
bool CatalogueFile::is_in_use() const {
  std::error_code ignored;
  if (fs::exists(real_path_ + "-shm", ignored)) {
    return true;
  }
  const auto log_size = fs::file_size(real_path_ + "-wal", ignored);
  return !ignored && log_size > 0;
}

void CatalogueFile::check_writable() const {
  if (!is_writable()) {
    fail("it was opened for reading only");
  }
}

void CatalogueFile::check_still_alone() const {
  if (alone_ && is_in_use()) {
    fail("the file was opened by an import while it was read; please try again");
  }
}

void CatalogueFile::fail(const std::string& what) const {
  // Somebody may have put a connection string in the path's place.
  throw ImportError("catalogue '" + mask_passwords(path_) + "': " + what, error_source::olap_server,
                    FailureCause::server);
}

}  // namespace importkcd
