#pragma once

#include <string>
#include <utility>
#include <vector>

namespace importkcd::testing {

/// A program to be run, without a shell.
struct ProcessStart {
  std::string program;
  std::vector<std::string> arguments{};
  /// Variables that are set, on top of this process's environment.
  std::vector<std::pair<std::string, std::string>> environment{};
  /// What the program reads on its standard input.
  std::string input{};
  /// A file that takes its standard output; empty: the output is captured.
  std::string output_file{};
};

/// What became of it.
struct ProcessResult {
  /// The exit status; 128 + the signal's number when a signal ended it.
  int exit_status = -1;
  std::string output;
  std::string errors;
};

/// Runs a program to its end. The test fails when it cannot be started.
ProcessResult run_process(const ProcessStart& start);

}  // namespace importkcd::testing
