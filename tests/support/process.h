#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace importkcd::testing {

/// A program to be run, without a shell.
struct ProcessStart {
  std::string program;
  std::vector<std::string> arguments{};
  /// Variables that are set, on top of this process's environment. Settings of this computer and of
  /// its user are out of reach unless they are named here.
  std::vector<std::pair<std::string, std::string>> environment{};
  /// What the program reads on its standard input.
  std::string input{};
  /// A file that takes its standard output; empty: the output is captured.
  std::string output_file{};
  /// A file or terminal that takes its standard error; empty: that is captured.
  std::string errors_file{};
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

/// A program under way. Unless `output_file` takes it, its output goes into a pipe that nobody
/// empties but read_until() and finish(), so that a program with much to say waits in the middle of
/// its work. Its standard input is empty. It is killed with this object.
class RunningProcess {
 public:
  explicit RunningProcess(const ProcessStart& start);
  ~RunningProcess();
  RunningProcess(const RunningProcess&) = delete;
  RunningProcess& operator=(const RunningProcess&) = delete;

  /// Reads output until it holds this text. The test fails when the program ends before.
  void read_until(std::string_view text);
  /// Sends it a signal.
  void send(int signal) const;
  int process_id() const { return child_; }
  /// Kills it with SIGKILL. Tells whether it was still running.
  bool kill();
  /// Reads the rest of its output and gives its exit status, as ProcessResult tells it.
  int finish();
  /// What it has written on standard error.
  std::string errors() const;
  /// What of its output has been read.
  const std::string& output() const { return read_; }

 private:
  bool read_some();

  int child_ = -1;
  int output_ = -1;
  int errors_ = -1;
  std::string read_;
};

}  // namespace importkcd::testing
