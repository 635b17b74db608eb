#include "tests/cli/kcd_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

constexpr auto date = "[0-9]+-[0-9]+-[0-9]+ [0-9]+:[0-9]+:[0-9]+ UTC";

class KcdRestore : public KcdTest {
 protected:
  /// What a successful `kcd restore` prints for these arguments.
  std::string restore(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "restore");
    const auto result = kcd(std::move(arguments));
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  /// What a failing one says.
  std::string restore_error(std::vector<std::string> arguments, int status = 1) {
    arguments.insert(arguments.begin(), "restore");
    const auto result = kcd(std::move(arguments));
    EXPECT_EQ(result.exit_status, status);
    EXPECT_EQ(result.output, "");
    return result.errors;
  }

  bool data_folder_exists() const { return std::filesystem::exists(folder.file("data")); }
};

TEST_F(KcdRestore, BringsAReplacedDatabaseBackWhole) {
  import(whole_document(), {"--partitions"});
  const auto before = shown();
  ASSERT_EQ(import(bare_document(known_version, "Shop"), {"--mode", "replace"}).exit_status, 0);
  ASSERT_NE(shown(), before);
  EXPECT_THAT(restore({"shop"}), MatchesRegex(std::string("Restored database 'Shop', kept since ") +
                                              date + "; the one in its place is kept now.\n"));
  EXPECT_EQ(shown(), before);
}

TEST_F(KcdRestore, BringsADatabaseBackThatIsGone) {
  import(whole_document());
  const auto before = shown();
  ASSERT_EQ(
      import(bare_document("2.0", "Shop"), {"--mode", "replace", "--on-error", "keep"}).exit_status,
      1);
  ASSERT_THAT(databases(), IsEmpty());
  EXPECT_THAT(restore({"Shop"}),
              MatchesRegex(std::string("Restored database 'Shop', kept since ") + date + ".\n"));
  EXPECT_EQ(shown(), before);
}

TEST_F(KcdRestore, ASecondTimeItUndoesTheFirst) {
  import(whole_document());
  import(bare_document(known_version, "Shop"), {"--mode", "replace"});
  const auto before = shown();
  restore({"Shop"});
  ASSERT_NE(shown(), before);
  restore({"Shop"});
  EXPECT_EQ(shown(), before);
}

TEST_F(KcdRestore, TakesTheServerFirst) {
  const auto catalogue = "catalogue:" + folder.file("shop.olap");
  import(whole_document(), {"--server", catalogue});
  const auto before = shown({catalogue});
  import(bare_document(known_version, "Shop"), {"--server", catalogue, "--mode", "replace"});
  restore({catalogue, "Shop"});
  EXPECT_EQ(shown({catalogue}), before);
  EXPECT_FALSE(data_folder_exists());
}

TEST_F(KcdRestore, ListsTheKeptCopiesWithTheirDates) {
  EXPECT_EQ(restore({"--list"}), "No kept copies on localhost.\n");
  EXPECT_FALSE(data_folder_exists());
  import(bare_document(known_version, "Sh&#10;op"));
  import(bare_document(known_version, "Office"));
  EXPECT_EQ(restore({"--list", "."}), "No kept copies on ..\n");
  import(bare_document(known_version, "Sh&#10;op"), {"--mode", "replace"});
  EXPECT_THAT(restore({"--list"}), MatchesRegex(std::string(date) + "  Sh op\n"));
  EXPECT_THAT(databases(), ElementsAre("Office", "Sh\nop"));
}

TEST_F(KcdRestore, ACopyThatIsNotKeptIsAnError) {
  EXPECT_EQ(restore_error({"Sh\nop"}), "no copy of database 'Sh op' is kept\n");
  EXPECT_FALSE(data_folder_exists());
  import(whole_document());
  const auto before = shown();
  EXPECT_EQ(restore_error({"Shop"}), "no copy of database 'Shop' is kept\n");
  EXPECT_EQ(shown(), before);
}

TEST_F(KcdRestore, AMissingCatalogueIsAnErrorAndStaysMissing) {
  const auto path = folder.file("shop.olap");
  const auto missing = "catalogue '" + path + "': no such file\n";
  EXPECT_EQ(restore_error({"catalogue:" + path, "Shop"}, 5), missing);
  EXPECT_EQ(restore_error({"--list", "catalogue:" + path}, 5), missing);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(KcdRestore, AServerWithoutCopiesIsAnError) {
  EXPECT_EQ(restore_error({"memory:", "Shop"}), "'memory:' keeps no copies of databases\n");
  EXPECT_EQ(restore_error({"--list", "memory:"}), "'memory:' keeps no copies of databases\n");
  EXPECT_THAT(restore_error({"elsewhere", "Shop"}, 5),
              ::testing::StartsWith("'elsewhere' is no OLAP server that can be reached; "));
}

TEST_F(KcdRestore, AnOutputThatCannotBeWrittenIsAFailure) {
  start.output_file = "/dev/full";
  EXPECT_EQ(kcd({"restore", "--list"}).exit_status, 5);
}

}  // namespace
}  // namespace importkcd::testing
