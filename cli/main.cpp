#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <string_view>
#include <utility>

#include "base/connection_text.h"
#include "base/text.h"
#include "cli/arguments.h"
#include "cli/check_command.h"
#include "cli/convert_command.h"
#include "cli/export_command.h"
#include "cli/import_command.h"
#include "cli/plan_command.h"
#include "cli/query_command.h"
#include "cli/restore_command.h"
#include "cli/schema_command.h"
#include "cli/serve_command.h"
#include "cli/show_command.h"
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
      std::cerr};
}

std::string usage_message(const CLI::App* program, const CLI::Error& error) {
  const auto chosen = program->get_subcommands();
  const auto name = chosen.empty() ? "kcd" : "kcd " + chosen.front()->get_name();
  // The message may quote a connection string that stands in the wrong place.
  return "kcd: " + printable(mask_passwords(error.what())) + "\nTry '" + name + " --help'.\n";
}

int run(int argument_count, const char* const* arguments) {
  CLI::App program(
      "Imports cube definition documents into an OLAP server, shows what it "
      "holds, and asks it.",
      "kcd");
  program.set_version_flag("--version", "kcd " KCD_VERSION);
  program.require_subcommand(1);
  program.failure_message(usage_message);
  const ImportCommand import_command(program);
  const PlanCommand plan_command(program);
  const CheckCommand check_command(program);
  const SchemaCommand schema_command(program);
  const ConvertCommand convert_command(program);
  const ExportCommand export_command(program);
  const ShowCommand show_command(program);
  const RestoreCommand restore_command(program);
  const ServeCommand serve_command(program);
  const QueryCommand query_command(program);
  try {
    auto list = argument_list(program, argument_count, arguments);
    std::reverse(list.begin(), list.end());  // the library takes them from the back
    program.parse(std::move(list));
  } catch (const CLI::ParseError& error) {
    // Help and version come this way, too; they count as success.
    return program.exit(error) == 0 ? exit_status::success : exit_status::usage;
  }
  const auto environment = environment_of_process();
  if (import_command.chosen()) {
    return import_command.run(environment);
  }
  if (plan_command.chosen()) {
    return plan_command.run(environment);
  }
  if (check_command.chosen()) {
    return check_command.run(environment);
  }
  if (schema_command.chosen()) {
    return schema_command.run(environment);
  }
  if (convert_command.chosen()) {
    return convert_command.run(environment);
  }
  if (export_command.chosen()) {
    return export_command.run(environment);
  }
  if (restore_command.chosen()) {
    return restore_command.run(environment);
  }
  if (serve_command.chosen()) {
    return serve_command.run(environment);
  }
  return query_command.chosen() ? query_command.run(environment) : show_command.run(environment);
}

/// Output that could not be written turns a success into a failure.
int checked(int status) {
  if (std::cout.flush() || status != exit_status::success) {
    return status;
  }
  std::cerr << "Cannot write to standard output\n";
  return exit_status::failure;
}

}  // namespace
}  // namespace importkcd

int main(int argc, char** argv) {
  try {
    return importkcd::checked(importkcd::run(argc, argv));
  } catch (const std::exception& error) {
    std::cerr << importkcd::printable(error.what()) << '\n';
    return importkcd::exit_status::failure;
  }
}
