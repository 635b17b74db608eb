#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <memory>
#include <optional>
#include <string>

#include "base/import_error.h"
#include "servers/catalogue/catalogue_schema.h"
#include "servers/olap_store.h"

namespace importkcd {

/// The connection to a catalogue file.
///
/// Who writes uses write-ahead logging, and leaves the log's two files beside the catalogue,
/// emptied: so a reader finds them and has nothing to make. A catalogue without them (a copy, for
/// example) is written by nobody and read as it stands.
///
/// What is read is one state of the file: the one at the first read after open(), forget_state() or
/// write(). SQLite's errors become ImportErrors that name the file.
class CatalogueFile {
 public:
  CatalogueFile(std::string path, ServerAccess access);

  /// Opens the file as the access says; called once, before the other operations.
  void open();

  /// The file's path with all symbolic links followed: one text for one file. Known after open().
  const std::string& real_path() const { return real_path_; }

  /// The file of the reservations of its databases; see DatabaseLock.
  std::string lock_path() const { return real_path_ + "-lock"; }

  bool is_writable() const { return may_write(access_); }

  /// Throws ImportError when the file was opened to look only.
  void check_writable() const;

  /// Whether there is something to connect to: no connection means an empty catalogue.
  bool is_connected() const { return connection_ != nullptr; }
  SQLite::Database& connection() { return *connection_; }

  /// Calls `query` in the state that this object reads.
  template <class Query>
  auto read(const Query& query) {
    return translated([&] {
      if (!state_ && !changing_) {
        state_.emplace(*connection_);
      }
      try {
        auto result = query();
        check_still_alone();
        return result;
      } catch (const SQLite::Exception&) {
        check_still_alone();
        throw;
      }
    });
  }

  /// Calls `change` inside a transaction, which is undone when it throws; reads inside of it see
  /// what was changed so far. Waits for other writers.
  /// Throws ImportError when the file was opened to look only.
  template <class Change>
  void write(const Change& change) {
    check_writable();
    forget_state();
    translated([&] {
      SQLite::Transaction transaction(*connection_, SQLite::TransactionBehavior::IMMEDIATE);
      const Changing changing(changing_);
      change();
      transaction.commit();
    });
  }

  /// The next read sees what is stored by then.
  void forget_state() { state_.reset(); }

 private:
  /// Holds a flag as long as this object lives.
  class Changing {
   public:
    explicit Changing(bool& flag) : flag_(flag) { flag_ = true; }
    ~Changing() { flag_ = false; }
    Changing(const Changing&) = delete;
    Changing& operator=(const Changing&) = delete;

   private:
    bool& flag_;
  };

  template <class Operation>
  auto translated(const Operation& operation) {
    try {
      return operation();
    } catch (const SQLite::Exception& error) {
      fail(error.what());
    }
  }

  void open_to_write();
  void open_to_look();
  void connect_to_look();
  void create_file();
  CatalogueFormat checked_format();
  bool is_in_use() const;
  void check_still_alone() const;
  [[noreturn]] void fail(const std::string& what) const;

  std::string path_;
  ServerAccess access_;
  std::string real_path_;
  /// The file is read without locks, because nobody wrote to it when it was opened.
  bool alone_ = false;
  /// A change is under way, in a transaction of its own.
  bool changing_ = false;
  std::unique_ptr<SQLite::Database> connection_;
  std::optional<SQLite::Transaction> state_;
};

}  // namespace importkcd
