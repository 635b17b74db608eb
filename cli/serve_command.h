#pragma once

#include <string>

#include "cli/command_environment.h"
#include "cli/olap_engine.h"

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

/// `kcd serve`: this process becomes the OLAP engine that answers MDX from a directory into which
/// documents were imported.
class ServeCommand {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit ServeCommand(CLI::App& program);
  ServeCommand(const ServeCommand&) = delete;
  ServeCommand& operator=(const ServeCommand&) = delete;

  /// Whether the parsed command line asks for it.
  bool chosen() const;

  /// Returns only by throwing ImportError, when the engine cannot be started.
  int run(const CommandEnvironment& environment) const;

 private:
  CLI::App* command_;
  std::string directory_;
  EngineOptions options_;
};

}  // namespace importkcd
