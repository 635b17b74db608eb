#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <thread>

#include "tests/importer/faults/catalogue_faults_fixture.h"
#include "tests/support/sanitizer.h"

namespace importkcd::testing {
namespace {

/// Processes that are watched over start slowly: they are not killed everywhere.
constexpr int usual_stride = is_sanitized ? 5 : 1;

/// An import whose process is killed.
class CatalogueKills : public CatalogueFaultsTest,
                       public ::testing::WithParamInterface<CatalogueCase> {
 protected:
  void kill_at(int number, FileFault fault) {
    restore();
    vfs.fail_operation(number, fault);
    EXPECT_EQ(import_in_child(), SIGKILL);
    vfs.heal();
    EXPECT_EQ(checked_content(), number <= commit_written ? before : after);
  }

  /// Kills an import on the state before it after that time, wherever it is then. One that had
  /// ended by then is started again and killed after half the time: none that is killed at once has
  /// ended.
  void kill_after(std::chrono::duration<double> time) {
    int status = 0;
    for (; !WIFSIGNALED(status); time /= 2) {
      restore();
      const auto child = fork();
      if (child == 0) {
        import_and_close();
        _exit(0);
      }
      std::this_thread::sleep_for(time);
      ::kill(child, SIGKILL);
      waitpid(child, &status, 0);
    }
  }
};

TEST_P(CatalogueKills, AtEveryFileOperationLeaveTheStateBeforeOrAfterTheImport) {
  prepare(GetParam());
  const auto count = static_cast<int>(operations.size());
  for (int number = 1; number <= count; number += stride(GetParam().start, usual_stride)) {
    const auto& operation = operations[static_cast<std::size_t>(number) - 1];
    SCOPED_TRACE(std::to_string(number) + ": " + text_of(operation));
    kill_at(number, FileFault::kill);
    if (operation.action == FileAction::write) {
      kill_at(number, FileFault::kill_within);
    }
  }
}

TEST_P(CatalogueKills, AtRandomMomentsLeaveTheStateBeforeOrAfterTheImport) {
  using std::chrono::steady_clock;
  prepare(GetParam());
  restore();
  const auto began = steady_clock::now();
  EXPECT_EQ(import_in_child(), 0);
  const auto whole = steady_clock::now() - began;
  std::mt19937 random(1121);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the moments are to repeat
  std::uniform_real_distribution<double> part(0, 1);
  for (int round = 0; round < 40 / stride(GetParam().start, usual_stride); ++round) {
    kill_after(whole * part(random));
    EXPECT_THAT(checked_content(), ::testing::AnyOf(before, after)) << "round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, CatalogueKills,
                         ::testing::Values(CatalogueCase{import_type::incremental, Start::missing},
                                           CatalogueCase{import_type::incremental, Start::stored},
                                           CatalogueCase{import_type::replace, Start::stored},
                                           CatalogueCase{import_type::update, Start::stored},
                                           CatalogueCase{import_type::replace, Start::pending_log},
                                           CatalogueCase{import_type::update, Start::long_log}),
                         [](const auto& tested) { return name_of(tested.param); });

}  // namespace
}  // namespace importkcd::testing
