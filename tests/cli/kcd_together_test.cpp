#include <random>
#include <string>

#include "tests/cli/kcd_fixture.h"
#include "tests/support/document_generator.h"

namespace importkcd::testing {
namespace {

/// Several programs at one catalogue, and programs that are killed.
class KcdTogether : public KcdTest {
 protected:
  /// A document with so much to say that its import waits in the middle when nobody reads.
  std::string large_document() {
    GeneratorOptions options;
    options.cubes = 300;
    return folder.write("large.kcd", generate_document(options));
  }

  ProcessStart importing(const std::string& document, std::vector<std::string> arguments = {}) {
    auto result = start;
    result.arguments = {"import", document};
    result.arguments.insert(result.arguments.end(), arguments.begin(), arguments.end());
    return result;
  }
};

TEST_F(KcdTogether, ASecondImportIntoTheSameDatabaseEndsBeforeItChangesAnything) {
  const auto document = large_document();
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  const auto before = shown();

  RunningProcess first(importing(document, {"--database", "shared"}));
  first.read_until("Creating cubes");
  for (const auto* mode : {"incremental", "replace", "update"}) {
    const auto second = run_process(importing(document, {"--database", "SHARED", "--mode", mode}));
    EXPECT_EQ(second.exit_status, 1);
    EXPECT_EQ(second.errors,
              "Cannot create DSS database because of database 'SHARED' is in use by another import"
              " in OLAP server\n");
    EXPECT_EQ(shown(), before) << "readers see the state before the first import";
  }
  EXPECT_EQ(first.finish(), 0);
  EXPECT_EQ(databases(), (std::vector<std::string>{"Shop", "shared"}));
}

TEST_F(KcdTogether, ImportsIntoDifferentDatabasesOfOneCatalogueBothSucceed) {
  const auto document = large_document();
  RunningProcess first(importing(document, {"--database", "One"}));
  first.read_until("Creating cubes");
  EXPECT_EQ(run_process(importing(document, {"--database", "Two"})).exit_status, 0);
  EXPECT_EQ(databases(), (std::vector<std::string>{"Two"}));
  EXPECT_EQ(first.finish(), 0);
  auto json = shown();
  ASSERT_EQ(json.at("databases").size(), 2U);
  json["databases"][0].erase("name");
  json["databases"][1].erase("name");
  EXPECT_EQ(json["databases"][0], json["databases"][1]);
}

TEST_F(KcdTogether, AKilledImportLeavesTheCatalogueAsItWasAndHoldsNothing) {
  const auto document = large_document();
  ASSERT_EQ(import(whole_document(), {"--database", "Generated"}).exit_status, 0);
  const auto before = shown();
  auto expected = start;
  expected.environment[0].second = folder.file("undisturbed");
  expected.arguments = {"import", folder.file("document.kcd"), "--database", "Generated"};
  ASSERT_EQ(run_process(expected).exit_status, 0);

  std::mt19937 random(20261121);
  for (int round = 0; round < 12; ++round) {
    RunningProcess run(importing(document, {"--mode", "replace"}));
    // Anywhere between the first message and the middle of the cubes.
    run.read_until("Opening DSO server");
    for (auto messages = random() % 20; messages > 0; --messages) {
      run.read_until("Searching cube 'Cube " + std::to_string(random() % 200) + "'");
    }
    run.kill();
    ASSERT_EQ(shown(), before) << "round " << round;
  }

  ASSERT_EQ(run_process(importing(document, {"--mode", "replace"})).exit_status, 0);
  expected.arguments = {"import", document, "--mode", "replace"};
  ASSERT_EQ(run_process(expected).exit_status, 0);
  const auto after = shown();
  start.environment[0].second = folder.file("undisturbed");
  EXPECT_EQ(after, shown());
}

/// Mode and whether partitions are imported.
class KcdRepeated : public KcdTest,
                    public ::testing::WithParamInterface<std::tuple<std::string, bool>> {};

TEST_P(KcdRepeated, ASecondImportOfTheExampleLeavesAnEqualServer) {
  const auto& [mode, partitions] = GetParam();
  std::vector<std::string> arguments{"import", EXAMPLES_FOLDER "/sales.kcd", "--mode", mode};
  if (partitions) {
    arguments.emplace_back("--partitions");
  }
  if (mode == "update") {
    arguments.emplace_back("--dont-update-levels");
  }
  auto first = arguments;
  if (mode == "update") {
    first.pop_back();  // the first time the levels are needed
  }
  ASSERT_EQ(kcd(first).exit_status, 0);
  const auto before = shown();
  EXPECT_EQ(kcd(arguments).exit_status, 0);
  EXPECT_EQ(shown(), before);
}

INSTANTIATE_TEST_SUITE_P(Modes, KcdRepeated,
                         ::testing::Combine(::testing::Values("incremental", "replace", "update"),
                                            ::testing::Bool()),
                         [](const auto& tested) {
                           return std::get<0>(tested.param) +
                                  (std::get<1>(tested.param) ? "WithPartitions" : "");
                         });

}  // namespace
}  // namespace importkcd::testing
