#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace importkcd::fuzz {

/// Ends the program, which libFuzzer takes for a finding, unless the property holds.
void require(bool property);

/// A file that lives in memory and whose content changes from one input to the next.
class MemoryFile {
 public:
  MemoryFile();
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// A path that any code of this process can open.
  const std::string& path() const { return path_; }
  /// A descriptor of the file, owned by the caller, that writes from its beginning.
  int writer() const;

  void write(std::string_view bytes) const;
  std::string read() const;

 private:
  int number_;
  std::string path_;
};

/// A pipe that holds some bytes and hands them out in pieces: whoever reads it sees the ends of
/// windows where a small file has none.
class PipeOfPieces {
 public:
  /// `piece` is the size of a piece; it grows when the pipe could not hold so many of them.
  PipeOfPieces(std::string_view bytes, std::size_t piece);
  ~PipeOfPieces();
  PipeOfPieces(const PipeOfPieces&) = delete;
  PipeOfPieces& operator=(const PipeOfPieces&) = delete;

  /// A path that may be opened once.
  const std::string& path() const { return path_; }

  /// The largest text that a pipe holds.
  static constexpr std::size_t most_bytes = 500'000;

 private:
  int read_end_ = -1;
  std::string path_;
};

/// A folder in memory for temporary files, this process's own; it becomes the system's temporary
/// folder and goes away when the process ends.
const std::string& temporary_folder();

/// Deletes what is in it and tells how many files that were.
std::size_t empty_temporary_folder();

/// Takes parts of an input off its front.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size);

  /// The next byte; 0 at the end.
  unsigned char byte();
  /// What stands in front of the next line feed, which goes too.
  std::string line();
  const std::string& rest() const { return rest_; }

 private:
  std::string rest_;
};

bool is_utf8(std::string_view text);

}  // namespace importkcd::fuzz
