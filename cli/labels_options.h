#pragma once

#include <iosfwd>
#include <string>

#include "cli/command_environment.h"
#include "labels/labels_view.h"
#include "labels/loaded_labels.h"

namespace CLI {
class App;
}  // namespace CLI

namespace importkcd {

/// The options that say where labels come from, as several subcommands have them.
class LabelsOptions {
 public:
  /// Adds them to a subcommand, which does not outlive this object.
  void add_to(CLI::App& command, bool are_required);

  /// Whether the parsed command line names a labels server.
  bool given() const;

  /// Throws CLI::ValidationError when the options make no sense together.
  void check_combinations() const;

  /// What they say, for a label-reference file. Throws ImportError when the password cannot be
  /// read.
  LabelsFields fields(const CommandEnvironment& environment, const std::string& file) const;

  const std::string& language() const { return language_; }

 private:
  std::string password(const CommandEnvironment& environment) const;

  CLI::App* command_ = nullptr;
  std::string server_;
  std::string database_;
  std::string language_;
  std::string user_;
  std::string password_file_;
  bool trusted_ = false;
};

/// The labels that the fields name. Throws ImportError with the reason when they cannot be loaded.
LoadedLabels load_labels(const LabelsFields& fields);

}  // namespace importkcd
