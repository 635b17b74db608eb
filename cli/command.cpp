#include "cli/command.h"

#include <CLI/CLI.hpp>

namespace importkcd {

int exit_status::of(FailureCause cause) {
  switch (cause) {
    case FailureCause::command_line:
      return usage;
    case FailureCause::held:
      return held;
    case FailureCause::server:
      return server;
    case FailureCause::refused:
      break;
  }
  return failure;
}

Command::Command(CLI::App& program, const char* name, const char* description)
    : command_(program.add_subcommand(name, description)) {}

bool Command::chosen() const { return command_->parsed(); }

}  // namespace importkcd
