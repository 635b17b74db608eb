#pragma once

#include <string>

#include "cli/command.h"

namespace importkcd {

/// `kcd user`: keeps the file of those who may log in to `kcd serve`, in the format of htpasswd
/// with bcrypt. Passwords come from the terminal or from standard input and are nowhere written.
class UserCommand : public Command {
 public:
  /// Adds the subcommand and its own ones to `program`, which does not outlive this object.
  explicit UserCommand(CLI::App& program);

  /// Throws ImportError when the file cannot be read or written, when there is no such user to
  /// remove, and for a name or password that cannot be one.
  int run(const CommandEnvironment& environment) const override;

 private:
  void add(const CommandEnvironment& environment) const;
  void remove() const;
  void list(const CommandEnvironment& environment) const;

  CLI::App* add_ = nullptr;
  CLI::App* remove_ = nullptr;
  CLI::App* list_ = nullptr;
  std::string file_;
  std::string name_;
};

}  // namespace importkcd
