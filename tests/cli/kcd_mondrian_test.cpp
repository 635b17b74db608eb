#include <fstream>

#include "tests/cli/kcd_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// The sales example in a directory of the OLAP engine, or a damaged one.
class KcdMondrian : public KcdTest {
 protected:
  KcdMondrian() : example_(read_file(std::string(EXAMPLES_FOLDER) + "/sales.kcd")) {}

  static void replace_all(std::string& text, const std::string& from, const std::string& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
      text.replace(at, from.size(), to);
    }
  }

  void damage_payroll() {
    replace_all(example_, R"("payroll"."employee_id" = "employee"."employee_id")",
                R"("payroll"."pay_period_id" = "pay_period"."pay_period_id")");
  }

  ProcessResult import_example(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"--server", server(), "--connect-string",
                                         "jdbc:postgresql:warehouse", "--partitions"});
    return import(example_, std::move(arguments));
  }

  std::string server() const { return "mondrian:" + folder.file("olap"); }

  std::string schema() const {
    std::string text;
    for (const auto& file :
         std::filesystem::directory_iterator(folder.path() / "olap" / "schemas")) {
      text += read_file(file.path());
    }
    text.erase(0, text.find("<Schema"));
    return text;
  }

  static constexpr const char* unused_brand =
      "Virtual dimension 'Brand' is not published: no cube has it, and the engine knows dimensions "
      "by their cubes\n";

  std::string example_;
};

TEST_F(KcdMondrian, AnImportIsPublishedWithoutAWordButForAnUnusedVirtualDimension) {
  const auto result = import_example();
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.errors, unused_brand);
  EXPECT_THAT(schema(), HasSubstr("<VirtualCube name=\"Trade\""));
  for (const auto* cube : {"Sales", "Stock", "Payroll"}) {
    EXPECT_THAT(schema(), HasSubstr(std::string("<Cube name=\"") + cube + "\""));
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
}

TEST_F(KcdMondrian, WithoutVirtualObjectsNothingIsSaid) {
  const auto result = import_example({"--no-virtual"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(schema(), Not(HasSubstr("<VirtualCube")));
}

TEST_F(KcdMondrian, AVirtualCubeWithADimensionThatItsCubesLackIsLeftOutAndToldSo) {
  replace_all(example_, R"(<dimension_reference name="Product"/>)",
              R"(<dimension_reference name="Product"/><dimension_reference name="Brand"/>)");
  const auto result = import_example();
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_THAT(lines_of(result.errors),
              ::testing::Contains("Virtual cube 'Trade' cannot be published: no cube that its "
                                  "measures come from has the dimension 'Brand'"));
  EXPECT_THAT(schema(), Not(HasSubstr("<VirtualCube")));
}

TEST_F(KcdMondrian, EveryModePublishesTheSame) {
  import_example();
  const auto first = schema();
  for (const std::string mode : {"incremental", "update", "replace"}) {
    EXPECT_EQ(import_example({"--mode", mode}).exit_status, 0) << mode;
    EXPECT_EQ(schema(), first) << mode;
  }
}

TEST_F(KcdMondrian, TheReasonOfACubeThatCannotBeExpressedIsAnErrorLine) {
  damage_payroll();
  const auto result = import_example({"--on-error", "keep"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(
      lines_of(result.errors),
      ElementsAre("Cube 'Payroll' cannot be published: dimension 'Employee': no equality ties "
                  "its tables \"employee\", \"department\" to the fact table in the cube's "
                  "join clause",
                  "Cube 'Payroll' is stored although it is not complete; an import in incremental "
                  "mode skips it, in update or replace mode it builds it anew",
                  "New Cube structure is not valid",
                  ::testing::EndsWith(
                      ".kcd:456:5: error: cube 'Payroll': New Cube structure is not valid")));
  EXPECT_THAT(schema(), HasSubstr("<Cube name=\"Sales\""));
  EXPECT_THAT(schema(), Not(HasSubstr("<Cube name=\"Payroll\"")));
}

TEST_F(KcdMondrian, AFailedImportChangesNothingOfWhatIsServed) {
  import_example();
  const auto before = schema();
  const auto stored = shown({server()});
  damage_payroll();
  for (const auto* mode : {"update", "replace"}) {
    EXPECT_EQ(import_example({"--mode", mode}).exit_status, 1) << mode;
    EXPECT_EQ(schema(), before) << mode;
    EXPECT_EQ(shown({server()}), stored) << mode;
  }
}

TEST_F(KcdMondrian, ARestoredDatabaseIsPublished) {
  import_example();
  const auto before = schema();
  ASSERT_EQ(import(bare_document("1.0.1073", "Harbour Retail"),
                   {"--server", server(), "--mode", "replace"})
                .exit_status,
            0);
  ASSERT_FALSE(schema().find("<Cube") != std::string::npos);
  const auto result = kcd({"restore", server(), "Harbour Retail"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.errors, unused_brand);
  EXPECT_EQ(schema(), before);
}

TEST_F(KcdMondrian, LookingAtAMissingDirectoryCreatesNothing) {
  const auto result = kcd({"show", server()});
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_EQ(result.errors,
            "catalogue '" + folder.file("olap") + "/definitions.olap': no such file\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("olap")));
}

}  // namespace
}  // namespace importkcd::testing
