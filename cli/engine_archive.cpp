#include "cli/engine_archive.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <system_error>

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view name_start = "olap-engine-";

fs::path cache_folder() {
  const auto variable = [](const char* name) {
    const char* value = std::getenv(name);
    return fs::path(value == nullptr ? "" : value);
  };
  const auto cache = variable("XDG_CACHE_HOME");
  const auto home = variable("HOME");
  if (cache.is_absolute()) {
    return cache / "importkcd";
  }
  return home.is_absolute() ? home / ".cache" / "importkcd" : fs::path();
}

/// Another number for another Java or other files.
std::size_t identity(const std::string& java, const std::string& class_path) {
  std::error_code error;
  std::ostringstream text;
  std::istringstream files(fs::canonical(java, error).string() + ":" + class_path);
  for (std::string file; std::getline(files, file, ':');) {
    text << file << ' ' << fs::file_size(file, error) << ' '
         << fs::last_write_time(file, error).time_since_epoch().count() << '\n';
  }
  return std::hash<std::string>()(text.str());
}

/// What Java says about archives would stand among the engine's own words.
constexpr const char* quietly = "-Xlog:disable";

}  // namespace

EngineArchive::EngineArchive(const std::string& java, const std::string& class_path) {
  if (const auto folder = cache_folder(); !folder.empty()) {
    const auto number = std::to_string(identity(java, class_path));
    file_ = (folder / (std::string(name_start) + number + ".jsa")).string();
  }
}

bool EngineArchive::exists() const {
  std::error_code error;
  return !file_.empty() && fs::is_regular_file(file_, error);
}

std::vector<std::string> EngineArchive::use() const {
  if (!exists()) {
    return {};
  }
  return {quietly, "-XX:SharedArchiveFile=" + file_};
}

std::vector<std::string> EngineArchive::make() const {
  if (file_.empty()) {
    return {};
  }
  std::error_code error;
  fs::create_directories(fs::path(file_).parent_path(), error);
  return {quietly, "-XX:ArchiveClassesAtExit=" + written()};
}

void EngineArchive::keep() const noexcept {
  std::error_code error;
  if (file_.empty() || !fs::is_regular_file(written(), error)) {
    return;
  }
  fs::rename(written(), file_, error);
  for (const auto& other : fs::directory_iterator(fs::path(file_).parent_path(), error)) {
    const auto name = other.path().filename().string();
    if (name.starts_with(name_start) && name.ends_with(".jsa") && other.path() != file_) {
      fs::remove(other.path(), error);
    }
  }
}

void EngineArchive::discard() const noexcept {
  std::error_code error;
  fs::remove(file_, error);
}

std::string EngineArchive::written() const { return file_ + "." + std::to_string(::getpid()); }

}  // namespace importkcd
