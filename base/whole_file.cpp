#include "base/whole_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "base/import_error.h"

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

WholeFile::WholeFile(std::string path, std::string_view source)
    : path_(std::move(path)), source_(source), target_(target_of(path_)) {
  const auto folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  const auto path_of = [&](int attempt) {
    const auto name = ".importkcd-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    return (folder / name).string();
  };
  auto fresh = make_fresh_file(path_of, everyone_may_read_and_write);
  if (fresh.file.is_open()) {
    writer_.emplace(std::move(fresh.file));
    beside_ = std::move(fresh.path);
  } else {
    error_number_ = errno;
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
  throw ImportError("Cannot write '" + path_ + "': " + reason, source_);
}

}  // namespace importkcd
