#pragma once

#include <string>

#include "cli/command.h"
#include "cli/olap_engine.h"

namespace importkcd {

/// `kcd serve`: this process becomes the OLAP engine that answers MDX from a directory into which
/// documents were imported.
class ServeCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit ServeCommand(CLI::App& program);

  /// Returns only by throwing ImportError, when the engine cannot be started.
  int run(const CommandEnvironment& environment) const override;

 private:
  std::string directory_;
  EngineOptions options_;
};

}  // namespace importkcd
