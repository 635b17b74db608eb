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

/// What stands in a file's place.
struct Occupant {
  /// Its permissions; nothing when there is no file.
  std::optional<mode_t> permissions;
  /// Why it must not be replaced; empty when it may be.
  std::string refusal;
};

Occupant occupant_of(const fs::path& target) {
  struct stat status {};
  if (::lstat(target.c_str(), &status) != 0) {
    return {std::nullopt, errno == ENOENT ? "" : system_description(errno)};
  }
  if (S_ISDIR(status.st_mode)) {
    return {std::nullopt, system_description(EISDIR)};
  }
  if (!S_ISREG(status.st_mode)) {
    return {std::nullopt, "Is not a regular file"};
  }
  return {status.st_mode & 07777U, ""};
}

}  // namespace

WholeFile::WholeFile(std::string path, std::string_view source)
    : path_(std::move(path)),
      source_(source),
      target_(target_of(path_)),
      refusal_(occupant_of(target_).refusal) {
  if (refusal_.empty()) {
    begin_beside();
  }
}

void WholeFile::begin_beside() {
  const auto folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  const auto path_of = [&](int attempt) {
    const auto name = ".importkcd-" + std::to_string(getpid()) + "-" + std::to_string(attempt);
    return (folder / name).string();
  };
  const SignalsHeldBack held_back;
  auto fresh = make_fresh_file(path_of, everyone_may_read_and_write);
  if (fresh.file.is_open()) {
    writer_.emplace(std::move(fresh.file));
    beside_ = std::move(fresh.path);
    beside_guard_ = RemovedBySignals(beside_);
  } else {
    refusal_ = system_description(errno);
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
    fail(refusal_);
  }
  // Once more: something else may have come meanwhile.
  const auto former = occupant_of(target_);
  if (!former.refusal.empty()) {
    fail(former.refusal);
  }
  if (former.permissions) {
    writer_->set_permissions(*former.permissions);
  }
  writer_->close();
  if (writer_->failed()) {
    fail(writer_->error());
  }
  if (::rename(beside_.c_str(), target_.c_str()) != 0) {
    fail(system_description(errno));
  }
  beside_guard_ = {};
  beside_.clear();
}

void WholeFile::fail(const std::string& reason) const {
  throw ImportError("Cannot write '" + path_ + "': " + reason, source_);
}

}  // namespace importkcd
