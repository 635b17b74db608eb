#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace importkcd {

/// The system's description of an error number.
std::string system_description(int error_number);

/// Owns an open file, or none: its number is -1 then.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number_(number) {}
  ~FileDescriptor();
  FileDescriptor(FileDescriptor&& other) noexcept;
  /// Closes the file that was open here.
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int number() const { return number_; }
  bool is_open() const { return number_ >= 0; }

  /// Closes the file early; tells whether that went well, with errno set when it did not.
  bool close();

 private:
  int number_ = -1;
};

/// Writes all bytes, however many calls of the system it takes; tells whether that went well, with
/// errno set when it did not.
bool write_all(const FileDescriptor& file, std::string_view bytes);

/// A file that was made just now.
struct FreshFile {
  std::string path;
  FileDescriptor file;
};

/// Makes a file that did not exist, open for writing, under the first free one of the names that
/// `path_of` gives for the attempts 0, 1 and so on. When none can be made, no file is open, errno
/// is set and the path is the last one tried.
FreshFile make_fresh_file(const std::function<std::string(int)>& path_of, mode_t permissions);

/// The names in a folder, in no order, without "." and ".."; none when it cannot be read. Unlike
/// those of std::filesystem::directory_iterator, its errors never end the program.
std::vector<std::string> names_in_folder(const std::string& folder);

/// Reads a file in big pieces and shows it as a window that moves on.
class FileReader {
 public:
  /// Throws ImportError of the component `source` when the file cannot be opened, with the system's
  /// description, or is a device, whose end may never come. A pipe is read as its writers fill it;
  /// one that nobody has open for writing is an empty file.
  FileReader(const std::string& path, std::string_view source);

  /// All bytes that are at hand, at least `wanted` unless the file ends earlier; empty at the end
  /// of the file. Valid until the next call. Throws ImportError with the system's description when
  /// the file cannot be read.
  std::string_view window(std::size_t wanted);

  /// Whether the last window reached the end of the file.
  bool at_end() const { return at_end_; }

  /// Moves on by `count` bytes of the last window.
  void skip(std::size_t count) { begin_ += count; }

 private:
  [[noreturn]] void fail(const std::string& description) const;

  std::string source_;
  FileDescriptor file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool at_end_ = false;
};

/// All of a file, which should be a small one. Throws ImportError of the component `source`, which
/// names the file, when it cannot be read; see FileReader.
std::string text_of_file(const std::string& path, std::string_view source);

/// Writes a file in big pieces. The first failure is kept; nothing is written after it.
class FileWriter {
 public:
  explicit FileWriter(FileDescriptor file);

  void append(std::string_view bytes);

  /// Gives the file these permissions, whatever stands at its path by now. A failure is kept, too.
  void set_permissions(mode_t permissions);

  /// Writes what is left and closes the file.
  void close();

  bool failed() const { return error_number_ != 0; }
  /// The system's description of the failure.
  std::string error() const { return system_description(error_number_); }

 private:
  void flush();
  void write(std::string_view bytes);

  FileDescriptor file_;
  std::vector<char> buffer_;
  std::size_t used_ = 0;
  int error_number_ = 0;
};

}  // namespace importkcd
