#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"

namespace importkcd {

/// What the names of files end with that were written beside their places.
inline constexpr std::string_view beside_suffix = ".new";

/// Files that are written beside their places and then take them all at once. They go away with
/// this object, unless they were told to take their places: a later publication finds those that
/// could not, and mends it. All operations throw ImportError, which names the file.
class FilesBeside {
 public:
  FilesBeside() = default;
  FilesBeside(const FilesBeside&) = delete;
  FilesBeside& operator=(const FilesBeside&) = delete;
  ~FilesBeside();

  enum class Readers { everyone, owner_only };

  /// Writes the bytes to the disk, under the path with the suffix. Fails also when the path itself
  /// could not be replaced because it is a folder.
  void write(const std::filesystem::path& path, std::string_view bytes, Readers readers);

  /// Lets the written files outlast a failure of power, as files beside their places.
  void secure() const;

  /// Renames the files to their paths, in the order in which they were written.
  void take_places();

 private:
  std::vector<std::filesystem::path> paths_;
  bool stay_ = false;
};

/// Makes other processes that call it for the same file wait until this object ends, or their
/// process does.
class WaitingLock {
 public:
  enum class Wait { yes, no };

  /// Makes the file, readable by its owner only, when it is missing. Throws ImportError when it
  /// cannot be locked. Without waiting, is_held() tells whether it was free.
  WaitingLock(const std::filesystem::path& file, Wait wait);

  bool is_held() const { return held_; }

 private:
  FileDescriptor file_;
  bool held_ = false;
};

}  // namespace importkcd
