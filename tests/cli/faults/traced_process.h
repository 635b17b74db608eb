#pragma once

#include <string>

#include "tests/support/process.h"

namespace importkcd::testing {

/// What becomes of one system call of a program.
struct Interference {
  /// Counted from 1 at the first call that opens a file below `watched_folder`, so that the
  /// loader's calls are left alone, as are those that have no way to fail. 0: none.
  int call = 0;
  /// The error that it gives without being carried out; 0: the program is killed before it.
  int error = 0;
};

/// What became of the program.
struct TracedResult : ProcessResult {
  /// How many calls were counted.
  int calls = 0;
  /// The number by which the system knows the call that was interfered with; -1 when none was.
  long interfered = -1;
};

/// Whether the system lets a program be traced at all; nothing of the product is asked.
bool can_trace();

/// Runs a program to its end as its tracer. Its standard input is empty.
TracedResult run_traced(ProcessStart start, const std::string& watched_folder,
                        const Interference& interference);

}  // namespace importkcd::testing
