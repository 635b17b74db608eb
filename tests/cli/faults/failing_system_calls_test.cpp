#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "tests/cli/faults/command_faults_fixture.h"
#include "tests/cli/faults/traced_process.h"
#include "tests/support/fault_stride.h"

namespace importkcd::testing {
namespace {

/// A command of whose system calls one fails, or before one of which it is killed.
class FailingSystemCalls : public CommandFaultsTest {
 protected:
  void SetUp() override {
    if (!can_trace()) {
      GTEST_SKIP() << "the system lets no program be traced";
    }
    prepare();
    restore_start();
    calls = run_traced(command, folder.path().string(), {}).calls;
    ASSERT_GT(calls, 20);
  }

  /// Runs the command with that interference; whether it came to it.
  TracedResult run_with(const Interference& interference) const {
    restore_start();
    return run_traced(command, folder.path().string(), interference);
  }

  int calls = 0;
};

TEST_P(FailingSystemCalls, EndTheCommandOrAreDoneWithout) {
  constexpr int usual_stride = 13;
  const auto stride = stride_of_faults(usual_stride);
  int failures = 0;
  int runs = 0;
  for (const int error : {EIO, ENOSPC, EACCES}) {
    for (int call = 1; call <= calls; call += stride) {
      const auto result = run_with({call, error});
      SCOPED_TRACE("call " + std::to_string(call) + ", number " +
                   std::to_string(result.interfered) + ", error " + std::to_string(error));
      ++runs;
      failures += result.exit_status == 0 ? 0 : 1;
      // To whoever wants a lock, this error says that somebody else has it.
      const bool says_locked = result.interfered == SYS_fcntl && error == EACCES;
      expect_known_end(result, says_locked ? AlsoKnown::in_use : AlsoKnown::none);
    }
  }
  EXPECT_GT(failures, 0);
  RecordProperty("runs", runs);
  RecordProperty("failures", failures);
}

TEST_P(FailingSystemCalls, BeforeWhichTheCommandIsKilledLeaveTheStateBeforeOrAfterIt) {
  constexpr int usual_stride = 13;
  const auto stride = stride_of_faults(usual_stride);
  int unchanged = 0;
  int changed = 0;
  for (int call = 1; call <= calls; call += stride) {
    const auto result = run_with({call, 0});
    SCOPED_TRACE("call " + std::to_string(call) + ", number " + std::to_string(result.interfered));
    EXPECT_EQ(result.exit_status, 128 + SIGKILL);
    expect_known_state();
    ++(has_changed() ? changed : unchanged);
  }
  EXPECT_GT(unchanged, 0);
  EXPECT_GT(changed, 0);
  RecordProperty("killed before the change", unchanged);
  RecordProperty("killed after the change", changed);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, FailingSystemCalls,
    ::testing::Values(CommandCase{"catalogue:", "replace"}, CommandCase{"catalogue:", "update"},
                      CommandCase{"catalogue:", "restore"}, CommandCase{"mondrian:", "replace"},
                      CommandCase{"mondrian:", "update"}, CommandCase{"mondrian:", "restore"}),
    name_of_case);

}  // namespace
}  // namespace importkcd::testing
