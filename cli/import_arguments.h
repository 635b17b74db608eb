#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/command_environment.h"
#include "cli/standard_input_file.h"
#include "comparison/import_request.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace importkcd {

/// What an import is asked to do: the document and the options that `kcd import` and `kcd plan`
/// have in common.
class ImportArguments {
 public:
  /// Adds them to a subcommand, which does not outlive this object. Combinations that make no sense
  /// end the parsing with a CLI::ValidationError.
  explicit ImportArguments(CLI::App& command);
  ImportArguments(const ImportArguments&) = delete;
  ImportArguments& operator=(const ImportArguments&) = delete;

  /// What was asked for, without sinks. Reads the files that options name; throws ImportError when
  /// one cannot be read.
  ImportRequest request(const CommandEnvironment& environment) const;

  /// The server's text and the mode's name.
  const std::string& server() const { return server_; }
  const std::string& mode() const { return mode_; }
  /// Whether a document with errors or warnings is to be refused; plans do not ask.
  const std::string& document() const { return document_; }
  bool strict() const { return strict_; }

 private:
  void add_options();
  void add_flags();
  void add_mode_options();
  void check_combinations() const;
  void check_mode() const;
  std::string document_file(const CommandEnvironment& environment) const;
  std::string new_pattern(const CommandEnvironment& environment) const;

  CLI::App* command_;
  std::string document_;
  std::string server_;
  std::string mode_;
  std::string on_error_;
  std::string database_;
  std::string data_source_;
  std::string connect_string_;
  std::vector<std::string> connect_string_files_;
  std::string pattern_from_;
  std::string pattern_to_;
  std::string pattern_to_file_;
  bool strict_ = false;
  bool no_partitions_ = false;
  bool no_virtual_ = false;
  bool dont_update_levels_ = false;
  bool keep_unknown_ = false;
  bool keep_former_ = false;
  /// What came from standard input, as a file: it is there as long as this object.
  mutable std::unique_ptr<StandardInputFile> received_;
};

}  // namespace importkcd
