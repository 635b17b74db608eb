#pragma once

#include <string>

#include "cli/command_environment.h"
#include "xmla/http_post.h"

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

/// The options of a subcommand that say who asks an XMLA server, and whom to believe that answers.
class XmlaAccessOptions {
 public:
  /// Adds them to a subcommand, which does not outlive this object.
  void add_to(CLI::App& command);

  /// Throws ImportError, whose cause is the command line, when the password is to come from
  /// standard input, which something else is read from.
  void leave_standard_input() const;

  /// What they say. Throws ImportError when the password cannot be read.
  HttpAccess read(const CommandEnvironment& environment) const;

 private:
  std::string user_;
  std::string password_file_;
  std::string authorities_file_;
};

}  // namespace importkcd
