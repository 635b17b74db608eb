#pragma once

#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/support/faulty_vfs.h"

namespace importkcd::testing {

/// A folder on a disk that loses its power.
///
/// What was synchronised is on the disk. Of what was done since, any part may be: every write, each
/// of its sectors for itself, every truncation, every making and removing of a file. A file's first
/// synchronising makes its folder durable too, as SQLite does for its logs.
class PowerCutDisk {
 public:
  /// The folder's files, all of them on the disk.
  explicit PowerCutDisk(const std::string& folder);

  void apply(const FileOperation& operation);

  /// The folder as the power cut may leave it: each thing that is not certain is there with this
  /// probability.
  void write_to(const std::string& folder, double probability, std::mt19937& random) const;

 private:
  struct File {
    std::string on_disk;
    std::vector<FileOperation> uncertain;
  };
  using Folder = std::map<std::string, int>;

  static std::string content_after(const File& file, double probability, std::mt19937& random);

  std::vector<File> files_;
  /// File name -> index of the file, on the disk and as the program sees it.
  Folder durable_;
  Folder seen_;
};

}  // namespace importkcd::testing
