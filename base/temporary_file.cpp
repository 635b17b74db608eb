#include "base/temporary_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <random>

#include "base/import_error.h"

namespace importkcd {
namespace {

std::string fresh_name() {
  std::random_device random;
  const auto number = (std::uint64_t{random()} << 32U) | random();
  std::array<char, 16> digits{};
  auto* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  return "importkcd-" + std::string(digits.data(), end) + ".tmp";
}

[[noreturn]] void fail(const std::string& what, const std::string& path, int error_number,
                       const std::string& source) {
  throw ImportError(
      "Cannot " + what + " the temporary file " + path + ": " + system_description(error_number),
      source);
}

}  // namespace

TemporaryFile::TemporaryFile(std::string_view source) : source_(source) {
  std::error_code error;
  const auto folder = std::filesystem::temp_directory_path(error);
  if (error) {
    throw ImportError("There is no temporary folder: " + error.message(), source_);
  }
  auto fresh = make_fresh_file([&](int /*attempt*/) { return (folder / fresh_name()).string(); },
                               S_IRUSR | S_IWUSR);
  path_ = std::move(fresh.path);
  file_ = std::move(fresh.file);
  if (!file_.is_open()) {
    fail("make", path_, errno, source_);
  }
  guard_ = RemovedBySignals(path_);
}

TemporaryFile::~TemporaryFile() { ::unlink(path_.c_str()); }

void TemporaryFile::write(std::string_view content) {
  if (!write_all(file_, content) || !file_.close()) {
    fail("write", path_, errno, source_);
  }
}

}  // namespace importkcd
