#pragma once

#include <string>

#include "cli/command.h"
#include "cli/import_command.h"
#include "comparison/import_plan.h"

namespace importkcd {

/// `kcd plan`: tells what `kcd import` with the same options would do to the server as it is now,
/// and does nothing.
class PlanCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit PlanCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status: exit_status::changes_planned when the
  /// import would succeed and change what is stored.
  int run(const CommandEnvironment& environment) const override;

 private:
  ImportArguments arguments_;
  bool json_ = false;
};

}  // namespace importkcd
