#pragma once

#include "cli/command_environment.h"

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

/// A subcommand of the program.
class Command {
 public:
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;
  virtual ~Command() = default;

  /// Whether the parsed command line asks for it.
  bool chosen() const;

  /// Carries it out and gives the program's exit status. Throws ImportError, whose cause becomes
  /// the exit status, when it cannot.
  virtual int run(const CommandEnvironment& environment) const = 0;

 protected:
  /// Adds the subcommand to `program`, which does not outlive this object, as its options do not.
  Command(CLI::App& program, const char* name, const char* description);

  CLI::App* const command_;
};

}  // namespace importkcd
