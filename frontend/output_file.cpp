#include "frontend/output_file.h"

namespace importkcd {

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

}  // namespace importkcd
