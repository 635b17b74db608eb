#pragma once

#include <string>

#include "cli/command.h"

namespace importkcd {

/// `kcd convert`: turns a label-reference file into a document in one language. Standard output
/// carries the name of the document written, or the messages of a conversion that failed;
/// everything else goes to standard error.
class ConvertCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  /// Combinations of options that make no sense end the parsing with a CLI::ValidationError.
  explicit ConvertCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status. Throws ImportError when the password
  /// cannot be read.
  int run(const CommandEnvironment& environment) const override;

 private:
  void add_options();
  void check_combinations() const;
  std::string password(const CommandEnvironment& environment) const;

  std::string document_;
  std::string labels_server_;
  std::string labels_database_;
  std::string language_;
  std::string user_;
  std::string password_file_;
  bool trusted_ = false;
  bool overwrite_ = false;
};

}  // namespace importkcd
