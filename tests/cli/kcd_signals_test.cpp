#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/cli/kcd_fixture.h"

// What a signal that ends `kcd` leaves behind: nothing that a person would have to clear away.

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class KcdSignals : public KcdTest {
 protected:
  /// The names of what a folder holds, the hidden ones included.
  std::vector<std::string> names_in(const std::string& name) const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.file(name))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }

  /// A document whose import says more than fits into a pipe.
  std::string long_document() const {
    std::string sources;
    for (int i = 0; i < 2'000; ++i) {
      sources += R"(<data_source name=")" + std::string(100, 'x') + std::to_string(i) +
                 R"(" connection_string="a=b"/>)";
    }
    return folder.write("long.kcd", bare_document(known_version, "Shop",
                                                  "<library><data_sources>" + sources +
                                                      "</data_sources></library>"));
  }
};

TEST_F(KcdSignals, ThatEndAnImportTakeTheTemporaryCopyAlong) {
  for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGXFSZ}) {
    // It has much to say, and waits for somebody to listen.
    start.arguments = {"import", long_document()};
    RunningProcess run(start);
    run.read_until("Creating library");
    EXPECT_THAT(names_in("tmp"), SizeIs(1));
    run.send(signal);
    EXPECT_EQ(run.finish(), 128 + signal);
    EXPECT_THAT(names_in("tmp"), IsEmpty());
  }
}

TEST_F(KcdSignals, AReaderThatGoesAwayEndsAnImportAndTheTemporaryCopy) {
  start.program = "/bin/sh";
  start.arguments = {"-c",
                     R"({ "$1" import "$2"; echo $? >"$3"; } | head -n 1)",
                     "sh",
                     KCD_PROGRAM,
                     long_document(),
                     folder.file("status")};
  const auto result = run_process(start);
  EXPECT_EQ(lines_of(result.output).size(), 1U);
  EXPECT_EQ(read_file(folder.file("status")), std::to_string(128 + SIGPIPE) + "\n");
  EXPECT_THAT(names_in("tmp"), IsEmpty());
}

/// `kcd convert` with a file that takes a while.
class ConvertSignals : public KcdSignals {
 protected:
  ConvertSignals() {
    const auto built =
        run_process({.program = MAKE_LABELS_DATABASE, .arguments = {folder.file("labels")}});
    EXPECT_EQ(built.exit_status, 0) << built.errors;
    fs::create_directory(folder.file("cubes"));
    constexpr std::size_t padding = 100'000'000;
    const auto kci =
        folder.write("cubes/sales.kci", read_file(EXAMPLES_FOLDER "/sales.kci") + "<!--" +
                                            std::string(padding, ' ') + "-->");
    start.arguments = {
        "convert",    kci,       "--labels-server",   "sqlite:" + folder.file("labels"),
        "--language", "English", "--labels-database", "labels"};
  }
};

TEST_F(ConvertSignals, LeaveNoHiddenFile) {
  for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGXFSZ}) {
    RunningProcess run(start);
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (names_in("cubes").size() < 2) {
      ASSERT_LT(std::chrono::steady_clock::now(), end);
      std::this_thread::yield();
    }
    run.send(signal);
    EXPECT_EQ(run.finish(), 128 + signal);
    EXPECT_THAT(names_in("cubes"), ElementsAre("sales.kci"));
  }
}

}  // namespace
}  // namespace importkcd::testing
