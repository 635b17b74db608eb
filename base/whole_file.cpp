#include "base/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "base/import_error.h"
#include "labels/labels_connection.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr mode_t everyone_may_read_and_write = 0666;  // less what the umask takes away

/// Where the bytes belong: the file behind a symbolic link, else the path itself.
fs::path target_of(const std::string& path) {
  std::error_code error;
  if (fs::is_symlink(path, error)) {
    const auto target = fs::weakly_canonical(path, error);
    return error ? fs::path(path) : target;
  }
  return path;
}

}  // namespace

WholeFile::WholeFile(std::string path) : path_(std::move(path)), target_(target_of(path_)) {
  const auto folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  int number = -1;
  for (int attempt = 0; number < 0 && error_number_ == 0; ++attempt) {
    auto name = folder / (".importkcd-" + std::to_string(getpid()) + "-" + std::to_string(attempt));
    number =
        ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, everyone_may_read_and_write);
    if (number >= 0) {
      writer_.emplace(FileDescriptor(number));
      beside_ = std::move(name);
    } else if (errno != EEXIST) {
      error_number_ = errno;
    }
  }
}

WholeFile::~WholeFile() {
  if (!beside_.empty()) {
    ::unlink(beside_.c_str());
  }
}

void WholeFile::append(std::string_view bytes) {
  if (writer_) {
    writer_->append(bytes);
  }
}

void WholeFile::finish() {
  if (!writer_) {
    fail(system_description(error_number_));
  }
  writer_->close();
  if (writer_->failed()) {
    fail(writer_->error());
  }
  struct stat former {};
  if (::stat(target_.c_str(), &former) == 0) {
    ::chmod(beside_.c_str(), former.st_mode & 07777U);
  }
  if (::rename(beside_.c_str(), target_.c_str()) != 0) {
    fail(system_description(errno));
  }
  beside_.clear();
}

void WholeFile::fail(const std::string& reason) const {
  throw ImportError("Cannot write '" + path_ + "': " + reason, error_source::labels_database);
}

}  // namespace importkcd
