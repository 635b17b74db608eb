#pragma once

#include <string>

#include "cli/command.h"
#include "cli/labels_options.h"

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
  /// cannot be read, and when labels that are to be checked cannot be loaded.
  int run(const CommandEnvironment& environment) const override;

 private:
  void add_options();
  void check_combinations() const;
  bool has_all_labels(const CommandEnvironment& environment, const LabelsFields& fields) const;

  std::string document_;
  LabelsOptions labels_;
  bool overwrite_ = false;
  bool strict_labels_ = false;
};

}  // namespace importkcd
