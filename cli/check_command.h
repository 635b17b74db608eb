#pragma once

#include <string>
#include <vector>

#include "check/findings.h"
#include "cli/command.h"
#include "cli/finding_output.h"
#include "cli/labels_options.h"

namespace importkcd {

/// `kcd check`: tells what is wrong in documents, without importing them. Findings go to standard
/// output, the summary too unless they are in SARIF.
class CheckCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  /// Combinations of options that make no sense end the parsing with a CLI::ValidationError.
  explicit CheckCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status: 1 when there is an error. Throws
  /// ImportError when a labels database or a password cannot be read.
  int run(const CommandEnvironment& environment) const override;

 private:
  void add_options();
  void check_combinations() const;
  bool is_for_mdx() const;
  std::vector<Finding> findings_of(const CommandEnvironment& environment, const std::string& file,
                                   const LoadedLabels* labels) const;
  std::vector<Finding> findings_in(const CommandEnvironment& environment, const std::string& path,
                                   bool is_label_file, const LoadedLabels* labels) const;

  std::vector<std::string> files_;
  std::string server_;
  std::string format_;
  bool strict_ = false;
  bool for_mdx_ = false;
  LabelsOptions labels_;
};

}  // namespace importkcd
