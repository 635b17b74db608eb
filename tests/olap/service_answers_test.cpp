#include <filesystem>

#include "base/import_error.h"
#include "tests/olap/guarded_world.h"
#include "tests/olap/http_client.h"
#include "tests/olap/small_document.h"
#include "xmla/http_post.h"
#include "xmla/soap_envelope.h"

// What a service has beside answers to questions: cubes that are broken, other engines over the
// same directory, and lists that spreadsheets ask for first.

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* by_store =
    "SELECT {[Measures].[Figure]} ON COLUMNS, NON EMPTY [Store].[Store].Members ON ROWS FROM ";

/// Imports cubes over a copy of the sales, or over the sales themselves.
void import_cubes(const std::string& database, const std::vector<SmallCube>& cubes,
                  const std::string& mode = "replace") {
  const auto text =
      small_document(database, world().postgres().connection_string(sales_warehouse), cubes);
  const auto result =
      world().import(world().folder().write(database + ".kcd", text), {"--mode", mode});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
}

FigureTable summed(const std::string& column, const std::string& table = "sales") {
  return figures(world().postgres().run_sql(
      sales_warehouse, "SELECT store_name, sum(" + column + ") FROM " + table +
                           " JOIN store USING (store_id) GROUP BY store_id, store_name ORDER BY "
                           "store_id"));
}

/// How an engine's answer differs, or what it says.
std::string fault(const XmlaClient& client, const std::string& database, const std::string& cube,
                  const FigureTable& expected) {
  try {
    return difference(figures(client.execute(by_store + ("[" + cube + "]"), database)), expected);
  } catch (const ImportError& error) {
    return error.description();
  }
}

nlohmann::json health_of(const std::string& name) {
  std::string status;
  const auto health =
      nlohmann::json::parse(fetched(guarded().service().administration(), "/health", &status));
  EXPECT_EQ(status, health["ready"] ? "HTTP/1.1 200 OK" : "HTTP/1.1 503 Service Unavailable");
  for (const auto& database : health["databases"]) {
    if (database["name"] == name) {
      return database;
    }
  }
  return {};
}

TEST(ServiceAnswers, ABrokenCubeSilencesOnlyItself) {
  const std::string database = "Half Broken";
  import_cubes(database, {{.name = "Sound", .measure_column = R"("sales"."amount")"},
                          {.name = "Wrong Types",
                           .calculation = "CREATE MEMBER CURRENTCUBE.[Measures].[Rate] AS "
                                          "'Rank([Measures].[Figure])'"},
                          {.name = "No Column", .measure_column = R"("sales"."gone")"}});
  const auto client = guarded().client(logins::chief);
  wait_for_database(database);
  EXPECT_TRUE(comes_true([&] {
    return fault(client, database, "Sound", summed("amount")).empty();
  })) << fault(client, database, "Sound", summed("amount"));
  EXPECT_THAT(client.cubes(database),
              ElementsAre(Field(&XmlaCube::name, "No Column"), Field(&XmlaCube::name, "Sound")));
  EXPECT_THAT(
      client.unserved_cubes(database),
      ElementsAre(
          AllOf(Field(&UnservedCube::name, "Wrong Types"),
                Field(&UnservedCube::reason, "No function matches signature 'Rank(<Member>)'")),
          AllOf(Field(&UnservedCube::name, "No Column"),
                Field(&UnservedCube::reason, HasSubstr("column sales.gone does not exist")))));
  const auto health = health_of(database);
  EXPECT_EQ(health["ready"], false);
  EXPECT_EQ(health["cubes"][0], (nlohmann::json{{"name", "Sound"}, {"ready", true}}));
  EXPECT_EQ(health["cubes"][1]["reason"], "No function matches signature 'Rank(<Member>)'");
  const auto shown = GuardedEngine::kcd(
      {"show", guarded().service().address(), database, "--user", "chief", "--password-file", "-"},
      logins::chief.password);
  EXPECT_EQ(shown.output.substr(0, shown.output.find("No Column")),
            "Half Broken\n"
            "|- Cubes (1)\n"
            "|  `- Sound\n"
            "`- Cubes that cannot be asked (2)\n"
            "   |- Wrong Types: No function matches signature 'Rank(<Member>)'\n"
            "   `- ");
  // Who does not see a database hears nothing of it.
  EXPECT_THAT(guarded().client(logins::anna).unserved_cubes(database), ElementsAre());

  import_cubes(database, {{.name = "Sound"}, {.name = "Wrong Types"}});
  EXPECT_TRUE(
      comes_true([&] { return fault(client, database, "Wrong Types", summed("amount")).empty(); }));
  EXPECT_EQ(health_of(database)["ready"], true);
}

TEST(ServiceAnswers, TwoEnginesOverOneDirectoryAnswerAlike) {
  const std::string database = "Shared";
  world().postgres().run_sql(sales_warehouse, "CREATE TABLE shared AS SELECT * FROM sales");
  const auto cube = [](const std::string& column) {
    return SmallCube{.name = "Money",
                     .measure_column = R"("sales".")" + column + "\"",
                     .from_clause = R"("shared" AS "sales", "store")"};
  };
  const XmlaClient open(world().engine().address());
  const auto closed = guarded().client(logins::chief);
  const auto both_follow = [&](const std::string& column) {
    const auto expected = summed(column, "shared");
    EXPECT_TRUE(comes_true([&] {
      return fault(open, database, "Money", expected).empty() &&
             fault(closed, database, "Money", expected).empty();
    })) << fault(open, database, "Money", expected)
        << fault(closed, database, "Money", expected);
  };
  import_cubes(database, {cube("amount")});
  both_follow("amount");
  import_cubes(database, {cube("cost")});
  both_follow("cost");

  world().postgres().run_sql(sales_warehouse, "UPDATE shared SET cost = cost + 1000");
  // Each of them remembers, until it is told.
  EXPECT_NE(fault(open, database, "Money", summed("cost", "shared")), "");
  open.forget_figures(database);
  EXPECT_EQ(fault(open, database, "Money", summed("cost", "shared")), "");
  EXPECT_NE(fault(closed, database, "Money", summed("cost", "shared")), "");
  closed.forget_figures("");
  EXPECT_EQ(fault(closed, database, "Money", summed("cost", "shared")), "");

  world().postgres().run_sql(sales_warehouse, "UPDATE shared SET cost = cost + 1000");
  const auto refresh = GuardedEngine::kcd({"refresh", "mondrian:" + world().directory()}, "");
  EXPECT_EQ(refresh.exit_status, 0) << refresh.errors;
  both_follow("cost");
}

TEST(ServiceAnswers, LinesOfTheServiceControlNoTerminal) {
  // What is published names the schemas by their own places.
  const auto directory = world().folder().path() / "cubes\x1B[2J\n\u202E\u2028\u0085 f\u00FCr";
  std::filesystem::create_directory(directory);
  std::filesystem::copy(world().directory() + "/datasources.xml", directory);
  RunningProcess service(
      {"/usr/bin/setpriv",
       {"--pdeathsig", "KILL", KCD_PROGRAM, "serve", directory.string(), "--port", "0"}});
  service.read_until("/xmla\n");
  EXPECT_THAT(
      service.output(),
      StartsWith("Serving " + world().folder().file("cubes [2J     f\u00FCr") + " at http://"));
}

/// The rows of a list, each as the texts of some columns.
FigureTable listed_rows(const std::string& list, const XmlaTexts& restrictions,
                        const XmlaTexts& properties, const std::vector<std::string>& columns) {
  auto all = properties;
  all.emplace_back("Content", "Data");
  const auto answer = http_post({world().engine().address(),
                                 {"Content-Type: text/xml"},
                                 discover_envelope(list, restrictions, all),
                                 {}});
  const auto envelope = read_xml(answer.body, "test");
  EXPECT_EQ(fault_text(envelope), "");
  FigureTable table;
  const auto* const root = envelope.find("root");
  for (const auto& row : root == nullptr ? std::vector<XmlElement>{} : root->children) {
    std::vector<std::string> line;
    line.reserve(columns.size());
    for (const auto& column : columns) {
      line.emplace_back(row.child_text(column));
    }
    table.push_back(line);
  }
  return table;
}

TEST(ServiceAnswers, WhatSpreadsheetsAskFirstIsAnswered) {
  const XmlaTexts sales{{"CATALOG_NAME", sales_database}};
  const std::vector<std::string> name{"PropertyName"};
  EXPECT_EQ(listed_rows("DISCOVER_PROPERTIES", {{"PropertyName", "Catalog"}}, {}, name).size(), 1U);
  EXPECT_EQ(
      listed_rows("DISCOVER_PROPERTIES", {{"PropertyName", "DbpropMsmdSubqueries"}}, {}, name),
      FigureTable());
  EXPECT_EQ(listed_rows("DISCOVER_PROPERTIES", {{"Unknown", "x"}}, {}, name), FigureTable());
  const FigureTable cubes{{"Payroll"}, {"Sales"}, {"Stock"}, {"Trade"}};
  auto further = sales;
  further.emplace_back("CUBE_SOURCE", "1");
  EXPECT_EQ(listed_rows("MDSCHEMA_CUBES", further, {{"DbpropMsmdActivityID", "7"}}, {"CUBE_NAME"}),
            cubes);
  EXPECT_EQ(listed_rows("MDSCHEMA_MEASUREGROUPS", sales, {}, {"MEASUREGROUP_NAME"}), cubes);
  EXPECT_EQ(listed_rows("MDSCHEMA_KPIS", sales, {}, {"KPI_NAME"}), FigureTable());
  further = sales;
  further.emplace_back("CUBE_NAME", "Payroll");
  EXPECT_EQ(listed_rows("MDSCHEMA_MEASUREGROUP_DIMENSIONS", further, {},
                        {"MEASUREGROUP_NAME", "DIMENSION_UNIQUE_NAME"}),
            (FigureTable{{"Payroll", "[Employee]"}, {"Payroll", "[Pay Month]"}}));
}

}  // namespace
}  // namespace importkcd::testing
