#pragma once

#include <string>

#include "cli/command_environment.h"
#include "importer/import_options.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace importkcd {

/// `kcd import`: runs the importer once. Standard output carries the progress messages, one per
/// line; everything else goes to standard error.
class ImportCommand {
 public:
  /// Adds the subcommand and its options to `program`, which does not outlive this object.
  /// Combinations of options that make no sense end the parsing with a CLI::ValidationError.
  explicit ImportCommand(CLI::App& program);
  ImportCommand(const ImportCommand&) = delete;
  ImportCommand& operator=(const ImportCommand&) = delete;

  /// Whether the parsed command line asks for it.
  bool chosen() const;

  /// Carries it out and gives the program's exit status.
  int run(const CommandEnvironment& environment) const;

 private:
  void add_options();
  void check_combinations() const;
  bool is_clean(const CommandEnvironment& environment, const ImportOptions& options) const;
  std::string connection_text(const CommandEnvironment& environment) const;
  std::string new_pattern(const CommandEnvironment& environment) const;

  CLI::App* command_;
  std::string document_;
  std::string server_;
  std::string mode_;
  std::string on_error_;
  std::string database_;
  std::string data_source_;
  std::string connect_string_;
  std::string connect_string_file_;
  std::string pattern_from_;
  std::string pattern_to_;
  std::string pattern_to_file_;
  bool strict_ = false;
  bool no_partitions_ = false;
  bool dont_update_levels_ = false;
};

}  // namespace importkcd
