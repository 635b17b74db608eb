#include "mondrian/publication/published_schemas.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <fstream>
#include <string_view>
#include <system_error>

#include "base/connection_text.h"
#include "base/files.h"
#include "base/import_error.h"
#include "mondrian/publication/files_beside.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view mark_begin = "Published ";
/// How every published schema begins.
constexpr std::string_view schema_begin =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- Published ";
static_assert(schema_begin.ends_with(mark_begin));

constexpr mode_t everyone_may_enter = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

[[noreturn]] void fail_to_write(const fs::path& path, const std::string& reason) {
  throw ImportError("cannot write '" + mask_passwords(path.string()) + "': " + reason,
                    error_source::olap_server, FailureCause::server);
}

/// As many of the first bytes of a regular file as a published schema begins with; of anything
/// else, a link among them, a text that no schema begins with.
std::string beginning_of(const fs::path& file) {
  std::error_code ignored;
  if (fs::symlink_status(file, ignored).type() != fs::file_type::regular) {
    return "no regular file";
  }
  std::string bytes(schema_begin.size(), '\0');
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    return "not readable";
  }
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return bytes;
}

bool is_published(const fs::path& file) {
  return file.extension() == ".xml" && beginning_of(file) == schema_begin;
}

/// A process that died may have written a part only.
bool is_left_beside(const fs::path& file) {
  return file.extension() == beside_suffix && schema_begin.starts_with(beginning_of(file));
}

}  // namespace

std::string publication_mark() {
  using std::chrono::nanoseconds;
  using std::chrono::seconds;
  const auto since = std::chrono::system_clock::now().time_since_epoch();
  const std::time_t whole = std::chrono::duration_cast<seconds>(since).count();
  std::tm parts{};
  gmtime_r(&whole, &parts);
  std::string text(64, '\0');
  text.resize(std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts));
  auto fraction =
      std::to_string(std::chrono::duration_cast<nanoseconds>(since).count() % 1'000'000'000);
  return std::string(mark_begin) + text + "." + std::string(9 - fraction.size(), '0') + fraction +
         "Z";
}

void make_schemas_folder(const fs::path& folder) {
  if (::mkdir(folder.c_str(), everyone_may_enter) == 0) {
    return;
  }
  const auto reason = system_description(errno);
  std::error_code ignored;
  const auto type = fs::symlink_status(folder, ignored).type();
  if (type == fs::file_type::symlink) {
    fail_to_write(folder, "it is a link; schemas are written into a folder of their own only");
  }
  if (type != fs::file_type::directory) {
    fail_to_write(folder, reason);
  }
}

void check_schema_place(const fs::path& path) {
  std::error_code ignored;
  const auto type = fs::symlink_status(path, ignored).type();
  if (type != fs::file_type::not_found && type != fs::file_type::directory && !is_published(path)) {
    fail_to_write(path, "no import has written the file that is there; move it away first");
  }
}

bool has_schemas_beside(const fs::path& folder) {
  const auto names = names_in_folder(folder.string());
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return is_left_beside(folder / name); });
}

void remove_unused_schemas(const fs::path& folder, const std::set<std::string>& in_use) {
  std::error_code ignored;
  for (const auto& name : names_in_folder(folder.string())) {
    const auto path = folder / name;
    if (!in_use.contains(name) && (is_published(path) || is_left_beside(path))) {
      fs::remove(path, ignored);
    }
  }
}

}  // namespace importkcd
