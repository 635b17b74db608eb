#include "labels/kci_file_name.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/name_folding.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

/// Takes the part before the first separator off the front of `path`, the separator too.
std::string_view take_part(std::string_view& path) {
  const auto end = std::min(path.find('/'), path.size());
  const auto part = path.substr(0, end);
  path.remove_prefix(std::min(end + 1, path.size()));
  return part;
}

/// The folder of that name in `parent`, whatever its letter case is; the name itself when there is
/// none. Of several the first in the order of their bytes.
std::string existing_folder(const std::string& parent, const std::string& name) {
  std::error_code error;
  if (fs::is_directory(parent + name, error)) {
    return name;
  }
  std::string found;
  fs::directory_iterator entries(parent.empty() ? "." : parent, error);
  for (const fs::directory_iterator end; !error && entries != end; entries.increment(error)) {
    const auto entry = entries->path().filename().string();
    std::error_code ignored;
    if (same_name(entry, name) && entries->is_directory(ignored) &&
        (found.empty() || entry < found)) {
      found = entry;
    }
  }
  return found.empty() ? name : found;
}

}  // namespace

std::string kcd_name_of(std::string_view kci_name) {
  constexpr std::string_view from = ".kci";
  constexpr std::string_view to = ".kcd";
  auto name = lower_cased(kci_name);
  for (auto found = name.find(from); found != std::string::npos; found = name.find(from, found)) {
    name.replace(found, from.size(), to);
  }
  return name;
}

std::string kcd_path_of(std::string_view kci_name) {
  std::string path;
  auto typed = kci_name;
  while (typed.find('/') != std::string_view::npos) {
    const std::string part(take_part(typed));
    const auto wanted = kcd_name_of(part);
    std::error_code ignored;
    const bool as_typed =
        lower_cased(part) == wanted && (part.empty() || fs::is_directory(path + part, ignored));
    path += (as_typed ? part : existing_folder(path, wanted)) + '/';
  }
  return path + kcd_name_of(typed);
}

}  // namespace importkcd
