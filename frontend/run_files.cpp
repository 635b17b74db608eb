#include "frontend/run_files.h"

#include <fcntl.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/text.h"

namespace importkcd {

LineFile::LineFile(const std::string& name, LineFileMode mode)
    : name_(name),
      file_(::open(
          name.c_str(),
          O_WRONLY | O_CREAT | O_CLOEXEC | (mode == LineFileMode::append ? O_APPEND : O_TRUNC),
          0666)) {
  if (!file_.is_open()) {
    throw FileError(name_, system_description(errno));
  }
}

void LineFile::write_line(std::string_view text) {
  if (!write_all(file_, printable(text) + "\r\n")) {
    throw FileError(name_, system_description(errno));
  }
}

void LineFile::close() {
  if (!file_.close()) {
    throw FileError(name_, system_description(errno));
  }
}

void OutputFile::OpenOutputFile(const std::string& file_name) {
  file_.reset();
  auto file = std::make_unique<LineFile>(file_name, LineFileMode::append);
  file->write_line(" ");
  file_ = std::move(file);
}

void OutputFile::WriteOutputLine(const std::string& text) {
  if (!file_) {
    return;
  }
  try {
    file_->write_line(time_stamp_() + " " + text);
  } catch (const FileError&) {
    // A run is not stopped by a full disk under its protocol.
    return;
  }
}

void OutputFile::CloseOutputFile() { file_.reset(); }

void WriteStatusFile(const std::string& file_name, std::string_view text) {
  if (file_name.empty()) {
    return;
  }
  LineFile file(file_name, LineFileMode::truncate);
  file.write_line(text);
  file.close();
}

void remove_status_file(const std::string& file_name) {
  std::error_code error;
  const auto target = std::filesystem::canonical(file_name, error);
  if (!error && std::filesystem::is_regular_file(target, error)) {
    std::filesystem::remove(target, error);
  }
}

}  // namespace importkcd
