#pragma once

#include <string>
#include <string_view>

#include "base/files.h"
#include "base/removed_by_signals.h"

namespace importkcd {

/// A file of the temporary folder that only its owner can read. It goes with this object, and with
/// a signal that ends the process.
class TemporaryFile {
 public:
  /// Makes an empty file. Throws ImportError of the component `source` when that fails.
  explicit TemporaryFile(std::string_view source);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }

  /// Writes the file's whole content; called at most once. Throws as the constructor does.
  void write(std::string_view content);

 private:
  std::string source_;
  std::string path_;
  FileDescriptor file_;
  RemovedBySignals guard_;
};

}  // namespace importkcd
