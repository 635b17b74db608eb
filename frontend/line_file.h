#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace importkcd {

/// A file that cannot be opened or written. what() is the text for people: "Unable to write to file
/// 'NAME'", a carriage return and line feed, and the system's description.
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& file_name, const std::string& description)
      : std::runtime_error("Unable to write to file '" + file_name + "'\r\n" + description) {}
};

/// How a LineFile meets a file that exists already; a missing one is created in both cases.
enum class LineFileMode { append, truncate };

/// A text file that is open for writing from constructor to destructor. Every line ends with a
/// carriage return and line feed and reaches the system at once, so that others can read along.
class LineFile {
 public:
  /// Throws FileError when the file cannot be opened.
  LineFile(const std::string& name, LineFileMode mode);
  ~LineFile();
  LineFile(const LineFile&) = delete;
  LineFile& operator=(const LineFile&) = delete;

  /// Writes one line; control characters in it become blanks. Throws FileError.
  void write_line(std::string_view text);

  /// Closes the file before the destructor does, to learn of errors that only this shows. Throws
  /// FileError. No line may be written afterwards.
  void close();

 private:
  std::string name_;
  int descriptor_;
};

}  // namespace importkcd
