#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "frontend/line_file.h"

namespace importkcd {

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

}  // namespace importkcd
