#pragma once

#include <string>
#include <string_view>

#include "base/files.h"

namespace importkcd {

/// Reserves names of databases among all runs over one catalogue, by locks on ranges of a lock file
/// beside it. The locks belong to this object and end with it, or with the process, however it
/// ends.
class DatabaseLock {
 public:
  /// `file` is made, readable by its owner only, at the first hold; it stays afterwards, because a
  /// name that is taken away could be locked twice.
  explicit DatabaseLock(std::string file) : file_(std::move(file)) {}

  /// Reserves a name, letter case apart; reserving it again is no error. Throws
  /// DatabaseHeld when another object or process holds it, ImportError when the file cannot be
  /// made.
  void hold(std::string_view database);

  void release_all() noexcept { lock_file_.close(); }

 private:
  void open();

  std::string file_;
  FileDescriptor lock_file_;
};

}  // namespace importkcd
