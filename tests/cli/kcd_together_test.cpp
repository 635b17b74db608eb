#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

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

  /// What an import says that meets another one's database.
  static std::string in_use(const std::string& database) {
    return "Cannot create DSS database because of database '" + database +
           "' is in use by another import in OLAP server\n";
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
  ASSERT_EQ(import(whole_document(), {"--database", "shared"}).exit_status, 0);
  ASSERT_EQ(import(whole_document()).exit_status, 0);
  const auto before = shown();

  RunningProcess first(importing(document, {"--database", "Shared", "--mode", "replace"}));
  first.read_until("Creating cubes");
  for (const auto* mode : {"incremental", "replace", "update"}) {
    const auto second = run_process(importing(document, {"--database", "SHARED", "--mode", mode}));
    EXPECT_EQ(second.exit_status, 4);
    EXPECT_EQ(second.errors, in_use("SHARED"));
    EXPECT_EQ(shown(), before) << "readers see the state before the first import";
    EXPECT_EQ(kcd({"restore", "--list"}).output, "No kept copies on localhost.\n");
  }
  EXPECT_EQ(first.finish(), 0) << first.errors();
  EXPECT_EQ(databases(), (std::vector<std::string>{"Shop", "Shared"}));
  EXPECT_EQ(kcd({"restore", "shared"}).exit_status, 0);
  EXPECT_EQ(shown(), before) << "what the first import replaced was kept";
}

TEST_F(KcdTogether, ARestoreOfADatabaseThatAnImportHoldsEndsBeforeItChangesAnything) {
  const auto document = large_document();
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(import(whole_document(), {"--mode", "replace"}).exit_status, 0);
  }
  const auto before = shown();
  RunningProcess run(importing(document, {"--database", "SHOP", "--mode", "update"}));
  run.read_until("Creating cubes");
  const auto restore = kcd({"restore", "Shop"});
  EXPECT_EQ(restore.exit_status, 4);
  EXPECT_EQ(restore.output, "");
  EXPECT_EQ(restore.errors, "database 'Shop' is in use by another import\n");
  EXPECT_EQ(shown(), before);
  run.kill();
  EXPECT_EQ(kcd({"restore", "Shop"}).exit_status, 0) << "a run that died holds nothing";
  EXPECT_EQ(shown(), before) << "both copies came from one document";
}

TEST_F(KcdTogether, ImportsAtOnceIntoDifferentDatabasesOfANewCatalogueAllSucceed) {
  const auto document = folder.write("document.kcd", whole_document());
  std::vector<std::unique_ptr<RunningProcess>> runs;
  for (const auto* name : {"One", "Two", "Three", "Four"}) {
    runs.push_back(std::make_unique<RunningProcess>(importing(document, {"--database", name})));
  }
  for (const auto& run : runs) {
    EXPECT_EQ(run->finish(), 0);
    EXPECT_EQ(run->errors(), "");
  }
  auto json = shown();
  ASSERT_EQ(json.at("databases").size(), runs.size());
  for (auto& database : json["databases"]) {
    database.erase("name");
    EXPECT_EQ(database, json["databases"][0]);
  }
}

TEST_F(KcdTogether, OfImportsAtOnceIntoOneDatabaseEachSucceedsOrIsRefused) {
  const auto document = folder.write("document.kcd", whole_document());
  for (const std::string database : {"incremental", "replace"}) {
    std::vector<std::unique_ptr<RunningProcess>> runs;
    runs.reserve(4);
    while (runs.size() < 4) {
      runs.push_back(std::make_unique<RunningProcess>(
          importing(document, {"--database", database, "--mode", database})));
    }
    int succeeded = 0;
    for (const auto& run : runs) {
      const bool success = run->finish() == 0;
      succeeded += success ? 1 : 0;
      EXPECT_EQ(run->errors(), success ? "" : in_use(database));
    }
    EXPECT_GE(succeeded, 1) << database;
  }
  auto json = shown();
  ASSERT_EQ(json.at("databases").size(), 2U);
  for (auto& database : json["databases"]) {
    database.erase("name");
    EXPECT_EQ(database, json["databases"][0]);
  }
}

TEST_F(KcdTogether, ReadersSeeWholeStatesWhileImportsReplaceADatabase) {
  GeneratorOptions options;
  options.cubes = 40;
  const std::vector<std::string> documents{
      folder.write("generated.kcd", generate_document(options)),
      folder.write("whole.kcd", whole_document())};
  const auto start_of = [&](std::size_t document) {
    return importing(documents.at(document), {"--database", "Shared", "--mode", "replace"});
  };
  const auto look = [this] { return kcd({"show", "--json"}).output; };
  std::vector<std::string> states;
  std::vector<std::string> errors;
  for (const std::size_t document : {0U, 1U}) {
    const auto result = run_process(start_of(document));
    ASSERT_EQ(result.exit_status, 0);
    errors.push_back(result.errors);
    states.push_back(look());
  }
  for (std::size_t round = 0; round < 12; ++round) {
    RunningProcess run(start_of(round % 2));
    run.read_until("Processing document");
    std::thread reading([&run] { run.finish(); });
    for (int i = 0; i < 4; ++i) {
      const auto state = look();
      EXPECT_TRUE(state == states[0] || state == states[1]) << state;
    }
    reading.join();
    EXPECT_EQ(run.errors(), errors.at(round % 2));
    EXPECT_EQ(look(), states[round % 2]);
  }
}

TEST_F(KcdTogether, AnImportThatDiedHoldsNothing) {
  const auto document = large_document();
  ASSERT_EQ(import(older_document()).exit_status, 0);
  for (const auto* mode : {"incremental", "replace", "update"}) {
    RunningProcess died(importing(document, {"--database", "Shop", "--mode", mode}));
    died.read_until("Creating cubes");
    const auto held = import(older_document(), {"--mode", mode});
    EXPECT_EQ(held.errors, in_use("Shop"));
    died.kill();
    const auto next = import(older_document(), {"--mode", mode});
    EXPECT_EQ(next.exit_status, 0);
    EXPECT_EQ(next.errors, "");
    EXPECT_EQ(databases(), (std::vector<std::string>{"Shop"}));
  }
}

TEST_F(KcdTogether, ImportsIntoDifferentDatabasesOfOneCatalogueBothSucceed) {
  const auto document = large_document();
  RunningProcess first(importing(document, {"--database", "One"}));
  first.read_until("Creating cubes");
  EXPECT_EQ(run_process(importing(document, {"--database", "Two"})).exit_status, 0);
  EXPECT_EQ(databases(), (std::vector<std::string>{"Two"}));
  EXPECT_EQ(first.finish(), 0) << first.errors();
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
  if (!partitions) {
    arguments.emplace_back("--no-partitions");
  }
  if (mode == "update") {
    arguments.emplace_back("--dont-update-levels");
  }
  auto first = arguments;
  if (mode == "update") {
    first.pop_back();  // the first time the levels are needed
  }
  // An update makes the cubes' own dimensions anew, which then stand behind all others.
  const auto sorted = [&] {
    auto server = shown();
    auto& dimensions = server["databases"][0]["dimensions"];
    std::sort(dimensions.begin(), dimensions.end(),
              [](const auto& left, const auto& right) { return left["name"] < right["name"]; });
    return server;
  };
  ASSERT_EQ(kcd(first).exit_status, 0);
  const auto before = sorted();
  EXPECT_EQ(kcd(arguments).exit_status, 0);
  EXPECT_EQ(sorted(), before);
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
