#include "servers/choice/server_choice.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "mondrian/publication/mondrian_kept_copies.h"
#include "mondrian/publication/mondrian_server.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/memory/memory_server.h"
#include "servers/working_copy_server.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view catalogue_prefix = "catalogue:";
constexpr std::string_view mondrian_prefix = "mondrian:";

std::unique_ptr<OlapServer> catalogue_server(std::string path, CatalogueAccess access) {
  return std::make_unique<WorkingCopyServer>(make_catalogue_store(std::move(path), access));
}

fs::path home_folder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return home;
  }
  const auto* user = getpwuid(getuid());
  if (user == nullptr) {
    throw ImportError("this user has no home folder for the embedded OLAP server",
                      error_source::olap_server);
  }
  return user->pw_dir;
}

/// A relative XDG_DATA_HOME is to be ignored, says the XDG base directory standard.
fs::path data_folder() {
  const char* folder = std::getenv("XDG_DATA_HOME");
  if (folder != nullptr && fs::path(folder).is_absolute()) {
    return folder;
  }
  return home_folder() / ".local" / "share";
}

void make_folder_of(const fs::path& file) {
  std::error_code error;
  const auto folder = file.parent_path();
  if (fs::create_directories(folder, error)) {
    fs::permissions(folder, fs::perms::owner_all, error);
  }
  if (error) {
    throw ImportError("cannot make the folder '" + folder.string() + "': " + error.message(),
                      error_source::olap_server);
  }
}

/// What stands behind a prefix; nothing when the text does not begin with it, or ends there.
std::optional<std::string> path_behind(std::string_view prefix, std::string_view machine) {
  if (!machine.starts_with(prefix) || machine.size() == prefix.size()) {
    return std::nullopt;
  }
  return std::string(machine.substr(prefix.size()));
}

bool is_this_computer(std::string_view machine) {
  const std::array<std::string, 4> names{"localhost", "(local)", ".", this_computer_name()};
  return std::any_of(names.begin(), names.end(),
                     [&](const auto& name) { return same_name(machine, name); });
}

std::unique_ptr<OlapServer> server_of_this_computer(ServerAccess access) {
  auto path = default_catalogue_path();
  if (access == ServerAccess::read_only) {
    return catalogue_server(std::move(path), CatalogueAccess::read_only_or_empty);
  }
  make_folder_of(path);
  return catalogue_server(std::move(path), CatalogueAccess::read_write);
}

}  // namespace

std::unique_ptr<OlapServer> make_olap_server(std::string_view machine, ServerAccess access) {
  if (machine == "memory:") {
    return make_memory_server();
  }
  if (auto path = path_behind(catalogue_prefix, machine)) {
    return catalogue_server(std::move(*path), access == ServerAccess::read_only
                                                  ? CatalogueAccess::read_only
                                                  : CatalogueAccess::read_write);
  }
  if (const auto directory = path_behind(mondrian_prefix, machine)) {
    return make_mondrian_server(*directory, access == ServerAccess::read_only
                                                ? MondrianAccess::read_only
                                                : MondrianAccess::read_write);
  }
  if (!machine.empty() && is_this_computer(machine)) {
    return server_of_this_computer(access);
  }
  throw ImportError("'" + std::string(machine) +
                        "' is no OLAP server that can be reached; there are: this computer ('" +
                        this_computer_name() +
                        "', 'localhost', '(local)' or '.'), 'catalogue:PATH', 'mondrian:DIRECTORY' "
                        "and 'memory:'",
                    error_source::olap_server);
}

std::unique_ptr<KeptCopies> open_kept_copies(std::string_view machine) {
  if (const auto directory = path_behind(mondrian_prefix, machine)) {
    return make_mondrian_kept_copies(*directory);
  }
  if (auto path = path_behind(catalogue_prefix, machine)) {
    return make_kept_copies(std::move(*path), CatalogueAccess::read_only);
  }
  if (!machine.empty() && is_this_computer(machine)) {
    return make_kept_copies(default_catalogue_path(), CatalogueAccess::read_only_or_empty);
  }
  // Throws when there is no such server at all.
  make_olap_server(machine, ServerAccess::read_only);
  throw ImportError("'" + std::string(machine) + "' keeps no copies of databases",
                    error_source::olap_server);
}

std::string default_catalogue_path() {
  return (data_folder() / "importkcd" / "server.olap").string();
}

std::string this_computer_name() {
  // Linux limits names to 64 characters.
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

}  // namespace importkcd
