#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>

#include "check/kcd_format.h"
#include "cli/commands.h"

namespace importkcd {
namespace {

class SchemaCommand : public Command {
 public:
  explicit SchemaCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;
};

SchemaCommand::SchemaCommand(CLI::App& program)
    : Command(program, "schema",
              "Print the schema of documents (XSD), which editors take for completion") {}

int SchemaCommand::run(const CommandEnvironment& environment) const {
  environment.out << kcd_schema();
  return exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_schema_command(CLI::App& program) {
  return std::make_unique<const SchemaCommand>(program);
}

}  // namespace importkcd
