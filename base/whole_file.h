#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/files.h"

namespace importkcd {

/// Writes a file whole or not at all: beside its place first, then renamed into it. A file that is
/// replaced keeps its permissions; a symbolic link stays one.
class WholeFile {
 public:
  /// Begins the file beside its place. A failure, of this and of append(), waits for finish(), and
  /// then is one of the component `source`.
  WholeFile(std::string path, std::string_view source);
  /// Leaves everything as it was, unless finish() has been called.
  ~WholeFile();
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  void append(std::string_view bytes);

  /// Puts the file into its place. Throws ImportError for the first failure, whose description
  /// names the file, and then leaves everything as it was.
  void finish();

 private:
  [[noreturn]] void fail(const std::string& reason) const;

  std::string path_;
  std::string source_;
  std::filesystem::path target_;
  /// The file beside; empty when there is none.
  std::string beside_;
  std::optional<FileWriter> writer_;
  /// Why there is no file beside.
  int error_number_ = 0;
};

}  // namespace importkcd
