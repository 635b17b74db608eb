#include <functional>
#include <map>

#include "tests/cli/kcd_fixture.h"
#include "tests/importer/changed_text.h"

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr int changes_planned = 10;

class KcdPlan : public KcdTest {
 protected:
  ProcessResult plan(const std::string& text, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"plan", folder.write("document.kcd", text)});
    return kcd(std::move(arguments));
  }

  std::string catalogue() const { return "catalogue:" + folder.file("server.olap"); }

  static std::string bare_shop() { return bare_document(known_version, "Shop"); }

  /// Every file of a folder with a number for its bytes. Who reads a catalogue that is in use notes
  /// so in the file "-shm".
  static std::map<std::string, std::size_t> files_in(const std::filesystem::path& path) {
    std::map<std::string, std::size_t> files;
    if (std::filesystem::exists(path)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        const auto name = entry.path().string();
        files[name] = entry.is_regular_file() && !name.ends_with("-shm")
                          ? std::hash<std::string>()(read_file(entry.path()))
                          : 0;
      }
    }
    return files;
  }

  /// The cube 'Payroll' cannot be served by the OLAP engine.
  static std::string sales_with_a_damaged_cube() {
    auto text = sales();
    const std::string join = R"("payroll"."employee_id" = "employee"."employee_id")";
    for (auto at = text.find(join); at != std::string::npos; at = text.find(join, at)) {
      text.replace(at, join.size(), R"("payroll"."pay_period_id" = "pay_period"."pay_period_id")");
    }
    return text;
  }

  static std::string sales() { return read_file(std::string(EXAMPLES_FOLDER) + "/sales.kcd"); }
};

TEST_F(KcdPlan, TellsWhatANewDatabaseWouldHold) {
  const auto result = plan(whole_document(), {"--server", catalogue()});
  EXPECT_EQ(result.exit_status, changes_planned);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, "Shop on " + catalogue() + R"(
  + database 'Shop'
  + data source 'Warehouse'
  + dimension 'Time'                    2 levels
  + dimension 'Product'                 2 levels
  + dimension 'Region'                  1 level
  + dimension 'Colours'                 1 level
  + role 'Readers'
  + cube 'Sales'                        2 dimensions, 1 measure, 1 calculated member, 1 role, 2 partitions
  + cube 'Stock'                        1 dimension, 1 measure, 1 partition
  + cube 'Overview'                     1 dimension, 1 measure
10 to create, 0 to change, 0 kept although they differ, 0 to remove
)");
  EXPECT_FALSE(std::filesystem::exists(folder.file("server.olap")));
}

TEST_F(KcdPlan, EndsWithSuccessWhenNothingWouldChange) {
  import(whole_document(), {"--server", catalogue()});
  const auto result = plan(whole_document(), {"--server", catalogue()});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, "Shop on " + catalogue() + "\nNothing to change\n");
}

TEST_F(KcdPlan, TellsWhatDiffersInTheModeAskedFor) {
  import(whole_document(), {"--server", catalogue()});
  const auto other =
      changed(changed(without(whole_document(),
                              R"(<role name="Readers" description="The shop@#$%s readers" )"
                              R"(user_list="anna;bert"/>)"),
                      R"(fact_table="stock")", R"(fact_table="pieces")"),
              R"(<cube_role name="Readers" permissions="R"/>)", "");
  const auto incremental = plan(other, {"--server", catalogue()});
  EXPECT_EQ(incremental.exit_status, 0);
  EXPECT_EQ(incremental.output, "Shop on " + catalogue() + R"(
  = cube 'Sales'                        not changed: exists, mode is incremental; differs in 1 role
  = cube 'Stock'                        not changed: exists, mode is incremental; differs in 1 partition, fact_table
Nothing to change, 2 kept although they differ
)");
  const auto sync = plan(other, {"--server", catalogue(), "--mode", "sync"});
  EXPECT_EQ(sync.exit_status, changes_planned);
  EXPECT_EQ(sync.output, "Shop on " + catalogue() + R"(
  - role 'Readers'
  ~ cube 'Sales'                        role 'Readers' removed
  ~ cube 'Stock'                        fact_table stock -> pieces
                                        partition 'Stock': fact_table stock -> pieces
0 to create, 2 to change, 0 kept although they differ, 1 to remove
)");
}

TEST_F(KcdPlan, SaysThatAReplacementBuildsTheDatabaseAnew) {
  import(whole_document());
  const auto result = plan(whole_document(), {"--mode", "replace"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, "Shop on localhost, deleted and built anew\nNothing to change\n");
}

TEST_F(KcdPlan, PrintsJsonForPrograms) {
  import(whole_document());
  const auto other = changed(whole_document(), R"(fact_table="stock")", R"(fact_table="pieces")");
  const auto result = plan(other, {"--mode", "sync", "--json"});
  EXPECT_EQ(result.exit_status, changes_planned);
  const auto json = nlohmann::json::parse(result.output);
  EXPECT_EQ(json, nlohmann::json::parse(R"json({
    "format": "kcd-plan", "version": 1, "server": "localhost", "database": "Shop",
    "mode": "sync", "built_anew": false, "would_succeed": true,
    "objects": [{"action": "change", "kind": "cube", "name": "Stock", "differences": [
      {"change": "changed", "path": [], "property": "fact_table", "before": "stock",
       "after": "pieces"},
      {"change": "changed", "path": [{"kind": "partition", "name": "Stock"}],
       "property": "fact_table", "before": "stock", "after": "pieces"}]}],
    "summary": {"create": 0, "change": 1, "keep": 0, "remove": 0}})json"));
}

TEST_F(KcdPlan, MasksPasswords) {
  const auto first = R"(connection_string="Provider=X;Password=first")";
  const auto second = R"(connection_string="Provider=X;Password=second")";
  auto text = whole_document();
  const auto from = text.find("connection_string=\"");
  const auto end = text.find('"', from + 19) + 1;
  text.replace(from, end - from, first);
  import(text);
  const auto other = changed(text, first, second);
  for (const auto& form : {std::vector<std::string>{}, std::vector<std::string>{"--json"}}) {
    auto arguments = form;
    arguments.insert(arguments.end(), {"--mode", "sync"});
    const auto result = plan(other, arguments);
    EXPECT_EQ(result.exit_status, changes_planned);
    EXPECT_THAT(result.output, AllOf(Not(HasSubstr("first")), Not(HasSubstr("second"))));
  }
  EXPECT_THAT(plan(other, {"--mode", "sync"}).output,
              HasSubstr("  ~ data source 'Warehouse'             connection_string password "
                        "changed\n"));
}

TEST_F(KcdPlan, AnImportThatWouldFailHasNoPlan) {
  const auto result = plan(bare_document("2.0", "Shop"));
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors,
              StartsWith("Expected kcd document version '1.0.1073', but found version '2.0'.\n"));
  EXPECT_THAT(files_in(folder.file("data")), IsEmpty());
}

TEST_F(KcdPlan, TouchesNothing) {
  import(sales(), {"--server", catalogue()});
  import(sales(), {"--server", "mondrian:" + folder.file("olap"), "--connect-string",
                   "jdbc:postgresql:warehouse"});
  const auto before = files_in(folder.path());
  for (const auto* mode : {"incremental", "replace", "update", "sync"}) {
    for (const auto& server : {catalogue(), "mondrian:" + folder.file("olap"),
                               "mondrian:" + folder.file("new"), std::string("localhost")}) {
      plan(sales(), {"--server", server, "--mode", mode});
      auto after = files_in(folder.path());
      after.erase(folder.file("document.kcd"));
      auto expected = before;
      expected.erase(folder.file("document.kcd"));
      EXPECT_EQ(after, expected) << server << ", " << mode;
    }
  }
}

TEST_F(KcdPlan, HearsWhatTheOlapEngineCouldNotServe) {
  const auto text = sales_with_a_damaged_cube();
  const std::vector<std::string> arguments{"--server", "mondrian:" + folder.file("olap"),
                                           "--connect-string", "jdbc:postgresql:warehouse"};
  const auto planned = plan(text, arguments);
  EXPECT_EQ(planned.exit_status, 1);
  const auto imported = import(text, arguments);
  EXPECT_EQ(imported.exit_status, 1);
  EXPECT_THAT(planned.errors, StartsWith("The import would say: Cube 'Payroll'"));
  // The import goes on with the place.
  EXPECT_THAT("The import would say: " + imported.errors, StartsWith(planned.errors));
}

TEST_F(KcdPlan, MeetsAFileThatStandsInTheWay) {
  const std::vector<std::string> arguments{"--server",         "mondrian:" + folder.file("olap"),
                                           "--connect-string", "jdbc:postgresql:warehouse",
                                           "--mode",           "replace",
                                           "--on-error",       "keep"};
  import(sales(), arguments);
  for (const auto& file : std::filesystem::directory_iterator(folder.path() / "olap" / "schemas")) {
    folder.write("olap/schemas/" + file.path().filename().string(), "<Schema/>");
  }
  const auto in_the_way = plan(sales(), arguments);
  EXPECT_EQ(in_the_way.exit_status, 5);
  EXPECT_THAT(in_the_way.output, EndsWith("Nothing to change\n"));
  EXPECT_THAT(in_the_way.errors, HasSubstr("no import has written the file that is there"));
  EXPECT_EQ(in_the_way.errors, import(sales(), arguments).errors);
}

TEST_F(KcdPlan, RefusesWhatAnImportRefuses) {
  for (const auto& arguments : {std::vector<std::string>{"--keep"},
                                {"--prune"},
                                {"--keep-unknown", "--mode", "update"},
                                {"--prune", "--keep-unknown", "--mode", "sync"},
                                {"--mode", "sync", "--on-error", "keep"},
                                {"--mode", "sync", "--dont-update-levels"},
                                {"--mode", "replace", "--keep"}}) {
    const auto planned = plan(whole_document(), arguments);
    EXPECT_EQ(planned.exit_status, 2);
    EXPECT_THAT(planned.errors, EndsWith("Try 'kcd plan --help'.\n"));
    EXPECT_EQ(import(whole_document(), arguments).exit_status, 2);
  }
}

TEST_F(KcdPlan, AnOutputThatCannotBeWrittenIsAFailure) {
  import(whole_document());
  start.output_file = "/dev/full";
  EXPECT_EQ(plan(whole_document()).exit_status, 5);
}

class KcdSync : public KcdPlan {
 protected:
  static std::string renamed_cube() {
    return changed(sales(), R"(<cube name="Stock")", R"(<cube name="What is left")");
  }

  ProcessResult sync(const std::string& text, std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.end(), {"--mode", "sync"});
    return import(text, std::move(arguments));
  }
};

TEST_F(KcdSync, BringsEveryServerToItsDocument) {
  for (const auto& server : {catalogue(), "mondrian:" + folder.file("olap")}) {
    const std::vector<std::string> to{"--server", server, "--connect-string",
                                      "jdbc:postgresql:warehouse"};
    auto planning = to;
    planning.insert(planning.end(), {"--mode", "sync"});
    for (const auto& document : {sales(), renamed_cube(), sales()}) {
      EXPECT_EQ(plan(document, planning).exit_status, changes_planned) << server;
      const auto result = sync(document, to);
      EXPECT_EQ(result.exit_status, 0) << server << result.errors;
      EXPECT_EQ(plan(document, planning).exit_status, 0) << server;
      EXPECT_THAT(messages_of(sync(document, to).output),
                  ElementsAre("Nothing to change in database 'Harbour Retail'"));
    }
  }
}

TEST_F(KcdSync, TellsEachChangedObjectAndIsTakenBackByRestore) {
  import(whole_document());
  const auto before = shown();
  const auto result = sync(changed(whole_document(), R"(<level name="Region" )",
                                   R"(<level name="Country" type="regular" column_size="2"
               column_type="129" description="" estimated_size="9" member_key_column="c"
               member_name_column="c" ordering="name" unique_items="true"/><level name="Region" )"));
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_THAT(messages_of(result.output), ElementsAre("Updating dimension 'Region'"));
  EXPECT_EQ(result.errors, "");
  EXPECT_NE(shown(), before);
  EXPECT_EQ(kcd({"restore", "Shop"}).exit_status, 0);
  EXPECT_EQ(shown(), before);
}

TEST_F(KcdSync, KeepsUnknownObjectsWhenAskedTo) {
  import(whole_document());
  const auto before = shown();
  EXPECT_EQ(sync(bare_shop(), {"--keep-unknown"}).exit_status, 0);
  EXPECT_EQ(shown().at("databases").at(0).at("cubes"), before.at("databases").at(0).at("cubes"));
  EXPECT_EQ(sync(bare_shop(), {"--prune"}).exit_status, 0);
  EXPECT_THAT(shown().at("databases").at(0).at("cubes"), IsEmpty());
}

TEST_F(KcdSync, ADocumentThatFailsStoresNothingAndMakesNothing) {
  const auto result = sync(bare_document("2.0", "Shop"), {"--server", catalogue()});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.errors,
              StartsWith("Expected kcd document version '1.0.1073', but found version '2.0'.\n"));
  EXPECT_FALSE(std::filesystem::exists(folder.file("server.olap")));
}

TEST_F(KcdSync, TellsWhyACubeCouldNotBeServed) {
  const auto result =
      sync(sales_with_a_damaged_cube(), {"--server", "mondrian:" + folder.file("olap"),
                                         "--connect-string", "jdbc:postgresql:warehouse"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.errors, AllOf(StartsWith("Cube 'Payroll'"),
                                   HasSubstr("\nNew Cube structure is not valid\n")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("olap")));
}

TEST_F(KcdSync, PublishesOnlyWhatChanged) {
  const std::vector<std::string> to{"--server", "mondrian:" + folder.file("olap"),
                                    "--connect-string", "jdbc:postgresql:warehouse"};
  auto other_name = to;
  other_name.insert(other_name.end(), {"--database", "Other"});
  sync(sales(), to);
  sync(sales(), other_name);
  const auto schemas = folder.path() / "olap" / "schemas";
  const auto first = files_in(schemas);
  ASSERT_EQ(first.size(), 2U);
  EXPECT_THAT(messages_of(sync(sales(), to).output),
              ElementsAre("Nothing to change in database 'Harbour Retail'"));
  EXPECT_EQ(files_in(schemas), first);
  sync(changed(sales(), R"(<cube name="Sales" description=")",
               R"(<cube name="Sales" description="All )"),
       to);
  std::size_t changed_files = 0;
  for (const auto& [path, bytes] : files_in(schemas)) {
    const bool is_changed = first.at(path) != bytes;
    changed_files += is_changed ? 1 : 0;
    EXPECT_EQ(is_changed, path.find("Harbour") != std::string::npos) << path;
  }
  EXPECT_EQ(changed_files, 1U);
}

TEST_F(KcdSync, AnUpdateIsTakenBackWhenItKeptWhatWasThere) {
  import(whole_document());
  const auto before = shown();
  const auto other = changed(whole_document(), R"(fact_table="stock")", R"(fact_table="pieces")");
  EXPECT_EQ(import(other, {"--mode", "update", "--dont-update-levels", "--keep"}).exit_status, 0);
  EXPECT_NE(shown(), before);
  EXPECT_THAT(kcd({"restore", "--list"}).output, EndsWith("  Shop\n"));
  EXPECT_EQ(kcd({"restore", "Shop"}).exit_status, 0);
  EXPECT_EQ(shown(), before);
}

TEST_F(KcdSync, AServerWithoutCopiesRefusesToKeepOne) {
  const auto result =
      import(whole_document(), {"--server", "memory:", "--mode", "update", "--keep"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors,
            "Cannot open DSO server on machine 'memory:' because: 'memory:' keeps no copies of "
            "databases\n");
}

}  // namespace
}  // namespace importkcd::testing
