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

#include "base/connection_text.h"
#include "base/import_error.h"
#include "base/name_folding.h"
#include "base/system.h"
#include "mondrian/publication/mondrian_server.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/memory/memory_server.h"
#include "servers/working_copy_server.h"

namespace importkcd {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view catalogue_prefix = "catalogue:";
constexpr std::string_view mondrian_prefix = "mondrian:";

std::unique_ptr<WorkingCopyServer> catalogue_server(std::string path, ServerAccess access) {
  return std::make_unique<WorkingCopyServer>(make_catalogue_store(std::move(path), access));
}

fs::path home_folder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') {
    return home;
  }
  const auto* user = getpwuid(getuid());
  if (user == nullptr) {
    throw ImportError("this user has no home folder for the embedded OLAP server",
                      error_source::olap_server, FailureCause::server);
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
                      error_source::olap_server, FailureCause::server);
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

std::unique_ptr<WorkingCopyServer> server_of_this_computer(ServerAccess access) {
  auto path = default_catalogue_path();
  if (access == ServerAccess::read_write) {
    make_folder_of(path);
  }
  return catalogue_server(std::move(path), access == ServerAccess::read_only
                                               ? ServerAccess::read_only_or_empty
                                               : access);
}

std::unique_ptr<WorkingCopyServer> server_of(std::string_view machine, ServerAccess access) {
  if (machine == "memory:") {
    return make_memory_server();
  }
  if (auto path = path_behind(catalogue_prefix, machine)) {
    return catalogue_server(std::move(*path), access);
  }
  if (const auto directory = path_behind(mondrian_prefix, machine)) {
    return make_mondrian_server(*directory, access);
  }
  if (!machine.empty() && is_this_computer(machine)) {
    return server_of_this_computer(access);
  }
  throw ImportError("'" + mask_passwords(machine) +
                        "' is no OLAP server that can be reached; there are: this computer ('" +
                        this_computer_name() +
                        "', 'localhost', '(local)' or '.'), 'catalogue:PATH', 'mondrian:DIRECTORY' "
                        "and 'memory:'",
                    error_source::olap_server, FailureCause::server);
}

}  // namespace

std::unique_ptr<OlapServer> make_olap_server(std::string_view machine, ServerAccess access) {
  return server_of(machine, access);
}

Rehearsal make_rehearsal(std::string_view machine, RehearsalBase base) {
  auto server = server_of(machine, ServerAccess::read_only_or_empty);
  auto store = server->rehearse(base);
  return {std::move(server), std::move(store)};
}

std::vector<KeptCopy> kept_copies(std::string_view machine) {
  const auto server = server_of(machine, ServerAccess::read_only);
  server->connect(std::string(machine));
  return server->store().kept_copies();
}

RestoredDatabase restore_database(std::string_view machine, const std::string& database) {
  // A look first: where nothing can be brought back, nothing is touched.
  const auto copies = kept_copies(machine);
  if (std::none_of(copies.begin(), copies.end(),
                   [&](const KeptCopy& copy) { return same_name(copy.name, database); })) {
    throw ImportError("no copy of database '" + database + "' is kept", error_source::olap_server);
  }
  const auto server = server_of(machine, ServerAccess::read_write_existing);
  server->connect(std::string(machine));
  return server->store().restore(database);
}

std::vector<std::string> refresh_server(std::string_view machine) {
  const auto directory = path_behind(mondrian_prefix, machine);
  if (!directory) {
    throw ImportError(
        "'" + mask_passwords(machine) + "' remembers no figures; name a server mondrian:DIRECTORY",
        error_source::olap_server, FailureCause::command_line);
  }
  return publish_again(*directory);
}

std::string default_catalogue_path() {
  return (data_folder() / "importkcd" / "server.olap").string();
}

}  // namespace importkcd
