#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <exception>
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "base/connection_text.h"
#include "base/text.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/program_version.h"
#include "cli/settings.h"
#include "servers/choice/server_choice.h"
#include "servers/memory/memory_server.h"

namespace importkcd {
namespace {

/// Databases in memory go with the process: to take them apart object by object before would make
/// an import a quarter longer.
std::unique_ptr<OlapServer> server_in_memory() {
  static const auto& storage = *new std::shared_ptr<MemoryStorage>(make_memory_store());
  return make_memory_server(storage);
}

CommandEnvironment environment_of_process() {
  return {
      [](std::string_view machine) {
        return machine == "memory:" ? server_in_memory()
                                    : make_olap_server(machine, ServerAccess::read_write);
      },
      [](std::string_view machine) { return make_olap_server(machine, ServerAccess::read_only); },
      make_rehearsal,
      kept_copies,
      restore_database,
      std::cin,
      std::cout,
      std::cerr,
      isatty(STDERR_FILENO) == 1,
      refresh_server};
}

constexpr const char* exit_status_table =
    R"(Options can also stand in files of settings (--config), and each that has a
value in a variable: KCD_SERVER is --server. The command line counts more than
the environment, that more than files.

Exit status:
  0   success
  1   the document is at fault, or an import or another request was refused
  2   the command line, or a file of settings, cannot be carried out as it stands
  3   a question was answered, but some of its cells could not be computed
  4   another run holds the database
  5   a server or a disk cannot be read or written
  10  kcd plan: the import would change what is stored; kcd aggregate status:
      'kcd aggregate refresh' or 'drop' has something to do)";

/// One of each, in the order of the help text.
std::vector<std::unique_ptr<const Command>> commands_of(CLI::App& program) {
  constexpr std::array makers = {
      &make_import_command,   &make_plan_command,    &make_check_command, &make_schema_command,
      &make_export_command,   &make_convert_command, &make_show_command,  &make_restore_command,
      &make_serve_command,    &make_user_command,    &make_query_command, &make_refresh_command,
      &make_aggregate_command};
  std::vector<std::unique_ptr<const Command>> commands;
  commands.reserve(makers.size());
  for (const auto make : makers) {
    commands.push_back(make(program));
  }
  return commands;
}

std::string usage_message(const CLI::App* program, const CLI::Error& error,
                          const Settings& settings) {
  const auto chosen = program->get_subcommands();
  const auto name = chosen.empty() ? "kcd" : "kcd " + chosen.front()->get_name();
  // The message may quote a connection string that stands in the wrong place.
  return "kcd: " + printable(mask_passwords(error.what() + settings.origin_of(error.what()))) +
         "\nTry '" + name + " --help'.\n";
}

void add_version_options(CLI::App& program) {
  auto* version = program.set_version_flag("--version", [&program] {
    return program.count("--verbose") == 0 ? "kcd " KCD_VERSION
                                           : program_version_in_detail(source_commit());
  });
  const std::string meaning = "With --version: the commit and the versions of libraries as well";
  program.add_flag("--verbose", meaning)->needs(version);
}

int run(int argument_count, const char* const* arguments) {
  CLI::App program(
      "Imports cube definition documents into an OLAP server, shows what it "
      "holds, and asks it.",
      "kcd");
  add_version_options(program);
  program.require_subcommand(1);
  program.footer(exit_status_table);
  const auto commands = commands_of(program);
  Settings settings(program);
  program.failure_message([&](const CLI::App* app, const CLI::Error& error) {
    return usage_message(app, error, settings);
  });
  try {
    auto list = settings.completed(argument_list(program, argument_count, arguments));
    std::reverse(list.begin(), list.end());  // the library takes them from the back
    program.parse(std::move(list));
  } catch (const CLI::ParseError& error) {
    // Help and version come this way, too; they count as success.
    return program.exit(error) == 0 ? exit_status::success : exit_status::usage;
  }
  const auto environment = environment_of_process();
  const auto chosen =
      std::find_if(commands.begin(), commands.end(), [](const auto& one) { return one->chosen(); });
  return (*chosen)->run(environment);
}

/// Output that could not be written turns a success into a failure.
int checked(int status) {
  if (std::cout.flush() || status != exit_status::success) {
    return status;
  }
  std::cerr << "Cannot write to standard output\n";
  return exit_status::server;
}

}  // namespace
}  // namespace importkcd

int main(int argc, char** argv) {
  try {
    return importkcd::checked(importkcd::run(argc, argv));
  } catch (const std::exception& error) {
    std::cerr << importkcd::printable(error.what()) << '\n';
    return importkcd::exit_status::of(importkcd::cause_of(error));
  }
}
