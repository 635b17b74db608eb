#pragma once

#include <string>
#include <vector>

#include "cli/command.h"

namespace importkcd {

/// `kcd restore`: brings a database back as it was before an import in replace or sync mode, or one
/// that was asked to keep it, or lists the kept copies.
class RestoreCommand : public Command {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  explicit RestoreCommand(CLI::App& program);

  /// Carries it out and gives the program's exit status. Throws ImportError when there is no such
  /// copy, or when it cannot be brought back now.
  int run(const CommandEnvironment& environment) const override;

 private:
  void sort_out_names();
  void list(const std::vector<KeptCopy>& copies, std::ostream& out) const;

  std::string server_;
  std::string database_;
  bool list_ = false;
};

}  // namespace importkcd
