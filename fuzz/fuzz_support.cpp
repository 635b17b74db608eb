#include "fuzz/fuzz_support.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace importkcd::fuzz {
namespace {

std::string path_of(int number) { return "/proc/self/fd/" + std::to_string(number); }

/// Made at the first call, removed at the process's end.
class Folder {
 public:
  Folder() {
    std::string name = "/dev/shm/importkcd-fuzz-XXXXXX";
    require(mkdtemp(name.data()) != nullptr);
    path_ = name;
    setenv("TMPDIR", path_.c_str(), 1);
  }
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

void require(bool property) {
  if (!property) {
    std::abort();
  }
}

MemoryFile::MemoryFile() : number_(memfd_create("document", MFD_CLOEXEC)), path_(path_of(number_)) {
  require(number_ >= 0);
}

MemoryFile::~MemoryFile() { close(number_); }

int MemoryFile::writer() const {
  const int number = open(path_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
  require(number >= 0);
  return number;
}

void MemoryFile::write(std::string_view bytes) const {
  require(ftruncate(number_, 0) == 0);
  for (std::size_t done = 0; done < bytes.size();) {
    const auto count =
        pwrite(number_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    require(count > 0);
    done += static_cast<std::size_t>(count);
  }
}

std::string MemoryFile::read() const {
  std::string bytes(static_cast<std::size_t>(lseek(number_, 0, SEEK_END)), '\0');
  require(pread(number_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  return bytes;
}

PipeOfPieces::PipeOfPieces(std::string_view bytes, std::size_t piece) {
  // Each write to such a pipe is a packet that takes one of its slots, and is read as one.
  std::array<int, 2> ends{};
  require(pipe2(ends.data(), O_DIRECT | O_CLOEXEC | O_NONBLOCK) == 0);
  read_end_ = ends[0];
  path_ = path_of(read_end_);
  constexpr int wanted_capacity = 1 << 20;
  constexpr std::size_t page = 4096;
  const int capacity =
      std::max(fcntl(ends[1], F_SETPIPE_SZ, wanted_capacity), fcntl(ends[1], F_GETPIPE_SZ));
  const auto slots = static_cast<std::size_t>(capacity) / page;
  piece = std::clamp(piece, bytes.size() / slots + 1, page);
  while (!bytes.empty()) {
    const auto packet = bytes.substr(0, piece);
    require(::write(ends[1], packet.data(), packet.size()) == static_cast<ssize_t>(packet.size()));
    bytes.remove_prefix(packet.size());
  }
  close(ends[1]);
}

PipeOfPieces::~PipeOfPieces() { close(read_end_); }

const std::string& temporary_folder() {
  static const Folder folder;
  return folder.path();
}

std::size_t empty_temporary_folder() {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(temporary_folder())) {
    std::filesystem::remove(entry.path());
    ++count;
  }
  return count;
}

Input::Input(const std::uint8_t* data, std::size_t size) : rest_(data, data + size) {}

unsigned char Input::byte() {
  if (rest_.empty()) {
    return 0;
  }
  const auto byte = static_cast<unsigned char>(rest_.front());
  rest_.erase(0, 1);
  return byte;
}

std::string Input::line() {
  const auto end = std::min(rest_.find('\n'), rest_.size());
  auto line = rest_.substr(0, end);
  rest_.erase(0, std::min(end + 1, rest_.size()));
  return line;
}

bool is_utf8(std::string_view text) {
  while (!text.empty()) {
    utf8proc_int32_t character = 0;
    const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                         static_cast<utf8proc_ssize_t>(text.size()), &character);
    if (length <= 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

}  // namespace importkcd::fuzz
