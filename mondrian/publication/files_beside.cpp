#include "mondrian/publication/files_beside.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <system_error>

#include "base/connection_text.h"
#include "base/files.h"
#include "base/import_error.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr mode_t everyone_may_read = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
constexpr mode_t owner_may_read = S_IRUSR | S_IWUSR;

[[noreturn]] void fail(const fs::path& path, int error) {
  throw ImportError(
      "cannot write '" + mask_passwords(path.string()) + "': " + system_description(error),
      error_source::olap_server, FailureCause::server);
}

fs::path beside(const fs::path& path) { return path.string() + std::string(beside_suffix); }

}  // namespace

FilesBeside::~FilesBeside() {
  if (stay_) {
    return;
  }
  for (const auto& path : paths_) {
    ::unlink(beside(path).c_str());
  }
}

void FilesBeside::write(const fs::path& path, std::string_view bytes, Readers readers) {
  const auto mode = readers == Readers::owner_only ? owner_may_read : everyone_may_read;
  std::error_code ignored;
  if (fs::is_directory(path, ignored)) {
    fail(path, EISDIR);
  }
  // A left-over may have other permissions.
  ::unlink(beside(path).c_str());
  const FileDescriptor file(
      ::open(beside(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!file.is_open()) {
    fail(path, errno);
  }
  paths_.push_back(path);
  if (!write_all(file, bytes) || ::fsync(file.number()) != 0) {
    fail(path, errno);
  }
}

void FilesBeside::secure() const {
  std::set<fs::path> folders;
  for (const auto& path : paths_) {
    folders.insert(path.parent_path());
  }
  for (const auto& folder : folders) {
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.is_open() || ::fsync(opened.number()) != 0) {
      fail(folder, errno);
    }
  }
}

void FilesBeside::take_places() {
  stay_ = true;
  for (const auto& path : paths_) {
    if (::rename(beside(path).c_str(), path.c_str()) != 0) {
      fail(path, errno);
    }
  }
}

WaitingLock::WaitingLock(const fs::path& file, Wait wait)
    : file_(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, owner_may_read)) {
  if (!file_.is_open()) {
    fail(file, errno);
  }
  const int operation = wait == Wait::yes ? LOCK_EX : LOCK_EX | LOCK_NB;
  int result = 0;
  do {
    result = ::flock(file_.number(), operation);
  } while (result != 0 && errno == EINTR);
  held_ = result == 0;
  if (!held_ && errno != EWOULDBLOCK) {
    fail(file, errno);
  }
}

}  // namespace importkcd
