#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/files.h"
#include "base/removed_by_signals.h"

namespace importkcd {

/// Writes a file whole or not at all: beside its place first, then renamed into it. A file that is
/// replaced keeps its permissions; a symbolic link stays one. Only regular files are replaced: no
/// devices, pipes or folders, and no link that leads nowhere. A signal that ends the process leaves
/// nothing beside.
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
  void begin_beside();

  std::string path_;
  std::string source_;
  std::filesystem::path target_;
  /// The file beside; empty when there is none.
  std::string beside_;
  RemovedBySignals beside_guard_;
  std::optional<FileWriter> writer_;
  /// Why there is no file beside.
  std::string refusal_;
};

}  // namespace importkcd
