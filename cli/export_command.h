#pragma once

#include <string>

#include "cli/command.h"

namespace importkcd {

/// `kcd export`: writes a stored database as a cube definition document, to standard output or into
/// a file. What a document cannot say goes to standard error.
class ExportCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit ExportCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status: success as well when something could not
  /// be said. Throws ImportError when the server cannot be read, does not hold the database, or
  /// holds what no document may hold, and when the file cannot be written.
  int run(const CommandEnvironment& environment) const override;

 private:
  OlapDatabase& chosen_database(OlapServer& server) const;
  void write(const std::string& text, std::ostream& out) const;

  std::string server_;
  std::string database_;
  std::string output_;
  bool overwrite_ = false;
  bool with_passwords_ = false;
};

}  // namespace importkcd
