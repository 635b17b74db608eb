#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "base/files.h"

namespace importkcd {

// The files that runs write for people: the output file and the status file.

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

  /// Writes one line; control characters in it become blanks. Throws FileError.
  void write_line(std::string_view text);

  /// Closes the file before the destructor does, to learn of errors that only this shows. Throws
  /// FileError. No line may be written afterwards.
  void close();

 private:
  std::string name_;
  FileDescriptor file_;
};

/// Gives the date and time that a line of the output file begins with (see time_stamp.h).
using TimeStampSource = std::function<std::string()>;

/// The file that keeps the progress messages of runs, one after another. A run opens it, which
/// writes a line of one blank, adds its time-stamped lines, and closes it.
class OutputFile {
 public:
  explicit OutputFile(TimeStampSource time_stamp) : time_stamp_(std::move(time_stamp)) {}

  /// Opens the file for appending, made when missing, and writes the separating line. A file that
  /// is still open is let go: there is one current file, whoever opens last decides. Throws
  /// FileError; then no file is open.
  void OpenOutputFile(const std::string& file_name);

  /// Adds the time stamp, a blank and the text as one line. Errors are ignored, and so is a line
  /// while no file is open.
  void WriteOutputLine(const std::string& text);

  /// Closes the file. Errors are ignored, and so is a call while no file is open.
  void CloseOutputFile();

 private:
  TimeStampSource time_stamp_;
  std::unique_ptr<LineFile> file_;
};

/// What the status file holds after a successful run; spelled so.
constexpr std::string_view status_of_success = "SUCCES";

/// Makes `text` the only line of the file. An empty name does nothing. Throws FileError when the
/// file cannot be opened or written.
void WriteStatusFile(const std::string& file_name, std::string_view text);

/// Removes what an earlier run left in the status file, so that nobody takes it for the result of
/// this one; the file itself, also behind a link, if it is a regular one. Errors are ignored: the
/// run will meet them when it writes the file.
void remove_status_file(const std::string& file_name);

}  // namespace importkcd
