#include "base/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

#include "base/import_error.h"

namespace importkcd {
namespace {

constexpr std::size_t buffer_size = std::size_t{1} << 16;

}  // namespace

std::string system_description(int error_number) {
  return std::system_category().message(error_number);
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : number_(std::exchange(other.number_, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    close();
    number_ = std::exchange(other.number_, -1);
  }
  return *this;
}

FileDescriptor::~FileDescriptor() { close(); }

bool FileDescriptor::close() {
  const int number = std::exchange(number_, -1);
  return number < 0 || ::close(number) == 0;
}

bool write_all(const FileDescriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::write(file.number(), bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return true;
}

FreshFile make_fresh_file(const std::function<std::string(int)>& path_of, mode_t permissions) {
  // So many names are never taken, unless somebody wants no file to be made.
  constexpr int attempts = 100;
  FreshFile result;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    result.path = path_of(attempt);
    result.file = FileDescriptor(
        ::open(result.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions));
    if (result.file.is_open() || errno != EEXIST) {
      break;
    }
  }
  return result;
}

std::vector<std::string> names_in_folder(const std::string& folder) {
  const auto close = [](DIR* opened) { ::closedir(opened); };
  const std::unique_ptr<DIR, decltype(close)> entries(::opendir(folder.c_str()), close);
  std::vector<std::string> names;
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody else reads these entries.
  while (const dirent* const entry = entries ? ::readdir(entries.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      names.emplace_back(name);
    }
  }
  return names;
}

FileReader::FileReader(const std::string& path, std::string_view source)
    : source_(source),
      // Without waiting: a named pipe that nobody writes to would never open.
      file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  struct stat status {};
  if (!file_.is_open() || ::fstat(file_.number(), &status) != 0) {
    fail(system_description(errno));
  }
  if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
    fail("Is a device");
  }
  // From here on there is somebody to wait for, or nothing to read.
  const int flags = ::fcntl(file_.number(), F_GETFL);
  if (flags < 0 || ::fcntl(file_.number(), F_SETFL, flags & ~O_NONBLOCK) != 0) {
    fail(system_description(errno));
  }
  buffer_.resize(buffer_size);
}

std::string_view FileReader::window(std::size_t wanted) {
  if (end_ - begin_ < wanted && !at_end_) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    buffer_.resize(std::max(buffer_.size(), 2 * wanted));
  }
  while (end_ - begin_ < wanted && !at_end_) {
    const auto count = ::read(file_.number(), buffer_.data() + end_, buffer_.size() - end_);
    if (count < 0 && errno != EINTR) {
      fail(system_description(errno));
    }
    at_end_ = count == 0;
    end_ += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
  return {buffer_.data() + begin_, end_ - begin_};
}

void FileReader::fail(const std::string& description) const {
  throw ImportError(description, source_);
}

std::string text_of_file(const std::string& path, std::string_view source) {
  try {
    FileReader reader(path, source);
    std::string text;
    for (auto bytes = reader.window(1); !bytes.empty(); bytes = reader.window(1)) {
      text += bytes;
      reader.skip(bytes.size());
    }
    return text;
  } catch (const ImportError& error) {
    throw ImportError(path + ": " + error.description(), source, error.cause());
  }
}

FileWriter::FileWriter(FileDescriptor file) : file_(std::move(file)), buffer_(buffer_size) {}

void FileWriter::append(std::string_view bytes) {
  if (bytes.size() > buffer_.size() - used_) {
    flush();
  }
  if (bytes.size() >= buffer_.size() / 2) {
    flush();
    write(bytes);
    return;
  }
  std::copy(bytes.begin(), bytes.end(), buffer_.data() + used_);
  used_ += bytes.size();
}

void FileWriter::set_permissions(mode_t permissions) {
  if (!failed() && ::fchmod(file_.number(), permissions) != 0) {
    error_number_ = errno;
  }
}

void FileWriter::close() {
  flush();
  if (!file_.close() && !failed()) {
    error_number_ = errno;
  }
}

void FileWriter::flush() { write({buffer_.data(), std::exchange(used_, 0)}); }

void FileWriter::write(std::string_view bytes) {
  if (!failed() && !write_all(file_, bytes)) {
    error_number_ = errno;
  }
}

}  // namespace importkcd
