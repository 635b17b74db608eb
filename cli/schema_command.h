#pragma once

#include "cli/command.h"

namespace importkcd {

/// `kcd schema`: prints the schema of documents, which editors take for completion.
class SchemaCommand : public Command {
 public:
  /// Adds the subcommand to `program`, which does not outlive this object.
  explicit SchemaCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status.
  int run(const CommandEnvironment& environment) const override;
};

}  // namespace importkcd
