#include <filesystem>

#include "tests/olap/olap_world.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::SizeIs;

class EngineArchives : public ::testing::Test {
 protected:
  void expect_an_answer() const {
    const auto result = run_process(
        {KCD_PROGRAM,
         {"query", world().directory(), "--database", sales_database, "SELECT FROM [Sales]"},
         {{"XDG_CACHE_HOME", cache_.path().string()}},
         {},
         {}});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(result.output, "");
  }

  std::vector<fs::path> archives() const {
    std::vector<fs::path> found;
    for (const auto& file : fs::directory_iterator(cache_.path() / "importkcd")) {
      found.push_back(file.path());
    }
    return found;
  }

  TemporaryFolder cache_;
};

TEST_F(EngineArchives, AreMadeByTheFirstQuestionAndMayBeLostOrBroken) {
  expect_an_answer();
  const auto made = archives();
  ASSERT_THAT(made, SizeIs(1));
  const auto time = fs::last_write_time(made[0]);
  expect_an_answer();
  EXPECT_THAT(archives(), ElementsAre(made[0]));
  EXPECT_EQ(fs::last_write_time(made[0]), time);
  fs::permissions(made[0], fs::perms::owner_write, fs::perm_options::add);
  fs::resize_file(made[0], 10'000);
  expect_an_answer();
  EXPECT_THAT(archives(), ElementsAre(made[0]));
  EXPECT_GT(fs::file_size(made[0]), 1'000'000U);
}

}  // namespace
}  // namespace importkcd::testing
