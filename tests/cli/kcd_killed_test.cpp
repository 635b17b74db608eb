#include <chrono>
#include <filesystem>
#include <random>
#include <regex>
#include <string>
#include <thread>

#include "tests/cli/kcd_fixture.h"
#include "tests/support/catalogue_check.h"
#include "tests/support/document_generator.h"
#include "tests/support/sanitizer.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

/// Programs that are watched over are slow: they are killed less often.
constexpr int rounds = is_sanitized ? 3 : 8;

/// `kcd import`, killed while it runs. The parameter is its mode.
class KcdKilled : public KcdTest, public ::testing::WithParamInterface<std::string> {
 protected:
  KcdKilled() {
    GeneratorOptions options;
    options.cubes = 100;
    importing = start;
    importing.arguments = {"import",       folder.write("large.kcd", generate_document(options)),
                           "--mode",       GetParam(),
                           "--partitions", "--database",
                           "Shop"};
    importing.output_file = "/dev/null";
  }

  void restore() const {
    fs::remove_all(folder.file("data"));
    fs::copy(folder.file("start"), folder.file("data"), fs::copy_options::recursive);
  }

  /// What the catalogue shows, and which copies it keeps, without their dates.
  nlohmann::json state() {
    auto result = shown();
    const auto copies = kcd({"restore", "--list"}).output;
    result["copies"] = std::regex_replace(copies, std::regex("[0-9]"), "#");
    return result;
  }

  /// What an import that nobody kills says, and what it leaves.
  nlohmann::json import_undisturbed() {
    const auto result = run_process(importing);
    return {{"status", result.exit_status}, {"errors", result.errors}, {"state", state()}};
  }

  /// Starts an import on the state before it and kills it after that time, wherever it is then. One
  /// that had ended by then is started again and killed after half the time: none that is killed at
  /// once has ended.
  void kill_an_import(std::chrono::duration<double> after) const {
    while (true) {
      restore();
      RunningProcess run(importing);
      std::this_thread::sleep_for(after);
      if (run.kill()) {
        return;
      }
      after /= 2;
    }
  }

  ProcessStart importing;
};

TEST_P(KcdKilled, LeavesTheStateBeforeOrAfterItAndHoldsNothing) {
  using std::chrono::steady_clock;
  const auto catalogue = folder.file("data/importkcd/server.olap");
  ASSERT_EQ(import(older_document()).exit_status, 0);
  fs::copy(folder.file("data"), folder.file("start"), fs::copy_options::recursive);
  const auto before = state();
  const auto began = steady_clock::now();
  const auto undisturbed = run_process(importing);
  ASSERT_EQ(undisturbed.exit_status, 0);
  const std::chrono::duration<double> whole = steady_clock::now() - began;
  const auto after = state();
  ASSERT_NE(before, after);
  const nlohmann::json first{{"status", 0}, {"errors", undisturbed.errors}, {"state", after}};
  const auto second = import_undisturbed();

  std::mt19937 random(91);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the moments are to repeat
  std::uniform_real_distribution<double> part(0, 1);
  for (int round = 0; round < rounds; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    kill_an_import(whole * part(random));
    const auto left = state();
    EXPECT_TRUE(left == before || left == after) << left.dump(2);
    EXPECT_EQ(check_of(catalogue), "ok");
    // No lock is left: the same import does what it does undisturbed.
    EXPECT_EQ(import_undisturbed(), left == after ? second : first);
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, KcdKilled, ::testing::Values("incremental", "replace", "update"),
                         [](const auto& tested) { return tested.param; });

}  // namespace
}  // namespace importkcd::testing
