#include <string>

#include "tests/cli/faults/command_faults_fixture.h"
#include "tests/support/fault_stride.h"

namespace importkcd::testing {
namespace {

/// A command that once gets no memory.
class FailingAllocations : public CommandFaultsTest {
 protected:
  ProcessResult run_with(long failing) const {
    auto start = command;
    start.environment.insert(start.environment.end(),
                             {{"LD_PRELOAD", FAILING_ALLOCATIONS},
                              {"IMPORTKCD_FAILING_ALLOCATION", std::to_string(failing)},
                              {"IMPORTKCD_ALLOCATIONS_FILE", count_}});
    return run_process(start);
  }

  long allocations() const {
    EXPECT_EQ(run_with(0).exit_status, 0);
    return std::stol(read_file(count_));
  }

  /// CLI11 declares functions noexcept that copy texts. It is at work before the first message.
  static bool reads_arguments(const ProcessResult& result) { return result.output.empty(); }

 private:
  std::string count_ = folder.file("count");
};

TEST_P(FailingAllocations, EndTheCommandAndHarmNothing) {
  constexpr int usual_stride = 397;
  prepare();
  restore_start();
  const auto count = allocations();
  ASSERT_GT(count, 1000);
  const auto stride = stride_of_faults(usual_stride);
  int failures = 0;
  for (long number = 1; number <= count; number += stride) {
    SCOPED_TRACE("allocation " + std::to_string(number));
    restore_start();
    const auto result = run_with(number);
    failures += result.exit_status == 0 ? 0 : 1;
    expect_known_end(result, reads_arguments(result) ? AlsoKnown::abort : AlsoKnown::none);
  }
  EXPECT_GT(failures, 0);
  RecordProperty("allocations", std::to_string(count));
  RecordProperty("failures", failures);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, FailingAllocations,
    ::testing::Values(CommandCase{"memory:", "replace"}, CommandCase{"catalogue:", "replace"},
                      CommandCase{"catalogue:", "update"}, CommandCase{"catalogue:", "restore"},
                      CommandCase{"mondrian:", "replace"}, CommandCase{"mondrian:", "update"},
                      CommandCase{"mondrian:", "restore"}),
    name_of_case);

}  // namespace
}  // namespace importkcd::testing
