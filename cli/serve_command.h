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
  void add_place_options();
  void add_login_options();
  void add_engine_options();
  void add_state_options();

  std::string directory_;
  EngineOptions options_;
  std::uint16_t admin_port_ = 0;
  bool is_insecure_ = false;
};

}  // namespace importkcd
