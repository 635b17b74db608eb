#include "cli/schema_command.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "check/kcd_format.h"

namespace importkcd {

SchemaCommand::SchemaCommand(CLI::App& program)
    : Command(program, "schema",
              "Print the schema of documents (XSD), which editors take for completion") {}

int SchemaCommand::run(const CommandEnvironment& environment) const {
  environment.out << kcd_schema();
  return exit_status::success;
}

}  // namespace importkcd
