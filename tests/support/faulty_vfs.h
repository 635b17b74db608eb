#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace importkcd::testing {

/// How an operation that changes a file goes wrong.
enum class FileFault {
  none,
  /// It fails with an I/O error and does nothing.
  error,
  /// So does every one that follows.
  lasting_error,
  /// The disk is full from then on: whatever needs room fails.
  full,
  /// It fails with an I/O error when it is half done.
  half_done,
  /// The process is killed before it.
  kill,
  /// The process is killed when it is half done.
  kill_within,
};

enum class FileAction { create, write, truncate, sync, remove, extend_index };

/// An operation that changed a file, or would have.
struct FileOperation {
  FileAction action = FileAction::write;
  std::string file;
  /// Where `bytes` were written; the new size after a truncation.
  std::int64_t offset = 0;
  std::string bytes{};
  /// A removal that was made durable at once.
  bool durable = false;
};

/// "write server.olap-wal": the action and the file without its folder.
std::string text_of(const FileOperation& operation);

/// SQLite's default file system for as long as it lives, in whose place it passes everything on.
/// Operations that change files are counted, and one of them can be made to fail. Nothing is
/// synchronised with the disk for real: a killed process needs none of it. No connection may be
/// open when it begins or ends. There is one at a time.
class FaultyVfs {
 public:
  FaultyVfs();
  ~FaultyVfs();
  FaultyVfs(const FaultyVfs&) = delete;
  FaultyVfs& operator=(const FaultyVfs&) = delete;

  /// Begins to count anew, and lets operation `number` (from 1 on) go wrong.
  void fail_operation(int number, FileFault fault);
  void heal() { fail_operation(0, FileFault::none); }

  /// How many operations there were since counting began.
  int count() const;
  /// The number of the operation that went wrong first; 0 when there was none.
  int failed() const;

  /// Keeps a record of all operations from now on, emptied first.
  void record();
  const std::vector<FileOperation>& recorded() const;

  class State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace importkcd::testing
