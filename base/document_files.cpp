#include "base/document_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "base/import_error.h"

namespace importkcd {
namespace {

constexpr std::size_t buffer_size = std::size_t{1} << 16;

[[noreturn]] void fail(int error_number) {
  throw ImportError(system_description(error_number), error_source::kcd_document);
}

}  // namespace

std::string system_description(int error_number) {
  return std::system_category().message(error_number);
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : number_(std::exchange(other.number_, -1)) {}

FileDescriptor::~FileDescriptor() { close(); }

bool FileDescriptor::close() {
  const int number = std::exchange(number_, -1);
  return number < 0 || ::close(number) == 0;
}

FileReader::FileReader(const std::string& path)
    // Without waiting: a named pipe that nobody writes to would never open.
    : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
  struct stat status {};
  if (file_.number() < 0 || ::fstat(file_.number(), &status) != 0) {
    fail(errno);
  }
  if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) {
    throw ImportError("Is a device", error_source::kcd_document);
  }
  // From here on there is somebody to wait for, or nothing to read.
  const int flags = ::fcntl(file_.number(), F_GETFL);
  if (flags < 0 || ::fcntl(file_.number(), F_SETFL, flags & ~O_NONBLOCK) != 0) {
    fail(errno);
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
      fail(errno);
    }
    at_end_ = count == 0;
    end_ += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
  }
  return {buffer_.data() + begin_, end_ - begin_};
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

void FileWriter::close() {
  flush();
  if (!file_.close() && !failed()) {
    error_number_ = errno;
  }
}

void FileWriter::flush() { write({buffer_.data(), std::exchange(used_, 0)}); }

void FileWriter::write(std::string_view bytes) {
  while (!bytes.empty() && !failed()) {
    const auto count = ::write(file_.number(), bytes.data(), bytes.size());
    if (count < 0) {
      error_number_ = errno == EINTR ? 0 : errno;
      continue;
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace importkcd
