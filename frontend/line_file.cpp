#include "frontend/line_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "base/text.h"

namespace importkcd {
namespace {

std::string last_system_error() { return std::generic_category().message(errno); }

}  // namespace

LineFile::LineFile(const std::string& name, LineFileMode mode)
    : name_(name),
      descriptor_(::open(
          name.c_str(),
          O_WRONLY | O_CREAT | O_CLOEXEC | (mode == LineFileMode::append ? O_APPEND : O_TRUNC),
          0666)) {
  if (descriptor_ < 0) {
    throw FileError(name_, last_system_error());
  }
}

LineFile::~LineFile() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
  }
}

void LineFile::write_line(std::string_view text) {
  const std::string line = printable(text) + "\r\n";
  std::string_view rest = line;
  while (!rest.empty()) {
    const auto written = ::write(descriptor_, rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      throw FileError(name_, last_system_error());
    }
  }
}

void LineFile::close() {
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (descriptor >= 0 && ::close(descriptor) != 0) {
    throw FileError(name_, last_system_error());
  }
}

}  // namespace importkcd
