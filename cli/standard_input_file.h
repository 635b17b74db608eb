#pragma once

#include <iosfwd>
#include <string>

#include "base/files.h"
#include "base/removed_by_signals.h"

namespace importkcd {

/// Standard input as a file, which goes away with this object.
class StandardInputFile {
 public:
  /// Throws ImportError when the file cannot be made or written.
  explicit StandardInputFile(std::istream& in);
  ~StandardInputFile();
  StandardInputFile(const StandardInputFile&) = delete;
  StandardInputFile& operator=(const StandardInputFile&) = delete;

  const std::string& path() const { return path_; }

 private:
  void copy(std::istream& in, FileWriter writer) const;

  std::string path_;
  RemovedBySignals guard_;
};

}  // namespace importkcd
