#pragma once

#include "cli/command_environment.h"

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

/// `kcd schema`: prints the schema of documents, which editors take for completion.
class SchemaCommand {
 public:
  /// Adds the subcommand to `program`, which does not outlive this object.
  explicit SchemaCommand(CLI::App& program);
  SchemaCommand(const SchemaCommand&) = delete;
  SchemaCommand& operator=(const SchemaCommand&) = delete;

  /// Whether the parsed command line asks for it.
  bool chosen() const;

  /// Carries it out and gives the program's exit status.
  int run(const CommandEnvironment& environment) const;

 private:
  CLI::App* command_;
};

}  // namespace importkcd
