#include <filesystem>
#include <fstream>

#include "base/import_error.h"
#include "tests/olap/guarded_world.h"
#include "tests/olap/http_client.h"
#include "xmla/http_post.h"
#include "xmla/soap_envelope.h"

// Who may ask, and what of: logins, grants, and what is told about them.

namespace importkcd::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* ask_payroll = "SELECT {[Measures].[Gross Pay]} ON COLUMNS FROM [Payroll]";
constexpr const char* ask_sales = "SELECT {[Measures].[Revenue]} ON COLUMNS FROM [Sales]";
constexpr const char* hashes = "importkcd_password_hashes_total";

TEST(LoginAnswers, AMissingOrWrongLoginIsChallenged) {
  const auto answer = answer_to(guarded().service().address(),
                                http_request(xmla_question(sales_database, "SELECT FROM [Sales]")));
  EXPECT_THAT(answer, AllOf(StartsWith("HTTP/1.1 401 "),
                            HasSubstr("\r\nWWW-Authenticate: basic realm=\"ImportKCD\", "
                                      "charset=\"UTF-8\"\r\n"),
                            Not(HasSubstr("Envelope"))));
  EXPECT_THAT(guarded().status_with(basic("anna:geheim-anna")), StartsWith("HTTP/1.1 200"));
  for (const std::string& wrong :
       {basic("anna:geheim-chief"), basic("anna:"), basic(":"), basic("anna"),
        basic("Anna:geheim-anna"), basic("anna:geheim-anna\n"), basic("anna\n:geheim-anna"),
        basic("\xFF\xFE:\x80"), std::string("Basic"), std::string("Basic !!!!"),
        std::string("Bearer geheim-anna"), std::string("Digest username=\"anna\"")}) {
    EXPECT_THAT(guarded().status_with(wrong), StartsWith("HTTP/1.1 401")) << wrong;
  }
  EXPECT_THAT(guarded().status_with("Basic " + std::string(100'000, 'A')),
              StartsWith("HTTP/1.1 431"));
  std::string status;
  for (const auto* const path : {"/", "/health", "/metrics", "/xmla", "/nowhere"}) {
    EXPECT_EQ(fetched(guarded().service().address(), path, &status),
              "this server asks for a login\n");
    EXPECT_THAT(status, StartsWith("HTTP/1.1 401")) << path;
  }
}

TEST(LoginAnswers, AWrongNameCostsWhatAWrongPasswordDoes) {
  EXPECT_THAT(guarded().status_with(basic("anna:geheim-anna")), StartsWith("HTTP/1.1 200"));
  const auto before = guarded().metric(hashes);
  guarded().status_with(basic("there-is-none:x"));
  EXPECT_EQ(guarded().metric(hashes), before + 1);
  guarded().status_with(basic("anna:x"));
  EXPECT_EQ(guarded().metric(hashes), before + 2);
  // One that was right is known.
  EXPECT_THAT(guarded().status_with(basic("anna:geheim-anna")), StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(guarded().metric(hashes), before + 2);
}

TEST(LoginAnswers, ALoginSeesItsRolesCubesAndFigures) {
  EXPECT_THAT(guarded().client(logins::anna).cubes(sales_database),
              ElementsAre(Field(&XmlaCube::name, "Payroll")));
  EXPECT_EQ(difference(figures(guarded().client(logins::anna).execute(ask_payroll, sales_database)),
                       figures(world().postgres().run_sql(
                           sales_warehouse, "SELECT sum(gross_pay) FROM every_payment"))),
            "");
  EXPECT_THAT(guarded().refusal(logins::anna, ask_sales), HasSubstr("MDX cube 'Sales' not found"));
  EXPECT_THAT(guarded().client(logins::both).cubes(sales_database).size(), 3U);
  EXPECT_EQ(guarded().refusal(logins::both, ask_sales), "");
  EXPECT_EQ(guarded().refusal(logins::both, ask_payroll), "");
  EXPECT_EQ(guarded().refusal(logins::chief, ask_payroll), "");
}

TEST(LoginAnswers, ARoleHeaderNarrowsOnly) {
  EXPECT_EQ(guarded().refusal(logins::both, ask_payroll, "Personnel"), "");
  EXPECT_THAT(guarded().refusal(logins::both, ask_payroll, "Store Managers"),
              HasSubstr("MDX cube 'Payroll' not found"));
  EXPECT_THAT(guarded().refusal(logins::chief, ask_sales, "Personnel"),
              HasSubstr("MDX cube 'Sales' not found"));
  for (const std::string role : {"Head Office", "*", "Personnel,Head Office", "%", " "}) {
    EXPECT_EQ(guarded().refusal(logins::anna, ask_sales, role),
              "this login does not have the role '" + role + "'");
  }
}

TEST(LoginAnswers, ADatabaseWithoutAGrantIsNotThere) {
  EXPECT_THAT(guarded().client(logins::nobody).databases(), IsEmpty());
  EXPECT_THAT(guarded().client(logins::nobody).cubes(sales_database), IsEmpty());
  EXPECT_THAT(guarded().client(logins::nobody).unserved_cubes(sales_database), IsEmpty());
  const auto refusal = guarded().refusal(logins::nobody, ask_sales);
  EXPECT_EQ(refusal, "there is no such database for this login");
  try {
    guarded().client(logins::nobody).execute(ask_sales, "There Is None");
    ADD_FAILURE();
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(), refusal);
  }
  // What a request says twice is not understood in two ways.
  const auto twice = xmla_question(sales_database, ask_sales);
  const auto end = twice.find("</E:Body>");
  const auto answer = answer_to(
      guarded().service().address(),
      http_request(
          twice.substr(0, end) +
              twice.substr(twice.find("<Execute"), end - twice.find("<Execute")) +
              twice.substr(end),
          "127.0.0.1",
          "Content-Type: text/xml\r\nAuthorization: " + basic("nobody:geheim-nobody") + "\r\n"));
  EXPECT_THAT(answer, AllOf(StartsWith("HTTP/1.1 400 "), HasSubstr("more than one question")));
}

TEST(LoginAnswers, ProgramsLogIn) {
  const auto& address = guarded().service().address();
  const std::vector<std::string> as_anna{"--user", "anna", "--password-file", "-"};
  const auto with = [&](std::vector<std::string> arguments, const std::string& password) {
    arguments.insert(arguments.end(), as_anna.begin(), as_anna.end());
    return GuardedEngine::kcd(std::move(arguments), password);
  };
  const auto query = with({"query", address, ask_payroll}, "geheim-anna\n");
  EXPECT_EQ(query.exit_status, 0) << query.errors;
  EXPECT_THAT(query.output, StartsWith(" Gross Pay\n"));
  const auto tree = with({"show", address}, "geheim-anna");
  EXPECT_THAT(tree.output, AllOf(HasSubstr("Payroll"), Not(HasSubstr("Sales"))));
  const auto wrong = with({"show", address}, "geheim-wrong");
  EXPECT_EQ(wrong.exit_status, 1);
  EXPECT_EQ(wrong.errors, address + " refuses the login\n");
  const auto missing = GuardedEngine::kcd({"query", address, ask_payroll}, "");
  EXPECT_EQ(missing.errors, address + " asks for a login: --user names one\n");
  EXPECT_EQ(with({"query", address, "-"}, "geheim-anna").exit_status, 2);
  EXPECT_EQ(with({"refresh", address}, "geheim-anna").errors,
            "this login may not have figures forgotten\n");
  const auto refresh = GuardedEngine::kcd(
      {"refresh", address, "--user", "chief", "--password-file", "-"}, logins::chief.password);
  EXPECT_EQ(refresh.output, "Forgotten: the figures of " + address + "\n") << refresh.errors;
}

/// How an engine says that it knows its askers.
std::string authentication(const std::string& address, const Login& login,
                           const XmlaTexts& restrictions) {
  const auto answer =
      http_post({address,
                 {"Content-Type: text/xml"},
                 discover_envelope("DISCOVER_DATASOURCES", restrictions, {{"Content", "Data"}}),
                 {},
                 {.user = login.name, .password = login.password}});
  const auto envelope = read_xml(answer.body, "test");
  EXPECT_EQ(fault_text(envelope), "");
  const auto* const row = envelope.find("row");
  return row == nullptr ? "" : std::string(row->child_text("AuthenticationMode"));
}

TEST(LoginAnswers, TheDataSourceSaysThatALoginIsNeeded) {
  const auto& open = world().engine().address();
  const auto& closed = guarded().service().address();
  const XmlaTexts with{{"AuthenticationMode", "Authenticated"}};
  const XmlaTexts without{{"AuthenticationMode", "Unauthenticated"}};
  EXPECT_EQ(authentication(open, {}, {}), "Unauthenticated");
  EXPECT_EQ(authentication(closed, logins::anna, {}), "Authenticated");
  EXPECT_EQ(authentication(closed, logins::anna, with), "Authenticated");
  EXPECT_EQ(authentication(closed, logins::anna, without), "");
}

TEST(LoginAnswers, ChangedUsersAndGrantsCountAtOnce) {
  Login login{"passing", "geheim-1"};
  EXPECT_THAT(guarded().status_with(basic("passing:geheim-1")), StartsWith("HTTP/1.1 401"));
  add_user(guarded().users_file(), login);
  EXPECT_EQ(guarded().refusal(login, ask_sales), "there is no such database for this login");
  const auto grants = read_file(guarded().grants_file());
  auto more = grants;
  more.insert(1, R"("passing": {"*": ["Store Managers"]}, )");
  std::ofstream(guarded().grants_file()) << more;
  EXPECT_EQ(guarded().refusal(login, ask_sales), "");
  // A broken file counts as it was.
  std::ofstream(guarded().grants_file()) << more.substr(0, more.size() - 3);
  EXPECT_EQ(guarded().refusal(login, ask_sales), "");
  EXPECT_THAT(guarded().service().errors(),
              HasSubstr("grants.json is left as it was: it is no JSON"));
  std::ofstream(guarded().grants_file()) << grants;
  EXPECT_EQ(guarded().refusal(login, ask_sales), "there is no such database for this login");
  login.password = "geheim-2";
  add_user(guarded().users_file(), login);
  EXPECT_THAT(guarded().status_with(basic("passing:geheim-1")), StartsWith("HTTP/1.1 401"));
  EXPECT_THAT(guarded().status_with(basic("passing:geheim-2")), StartsWith("HTTP/1.1 200"));
  EXPECT_EQ(
      GuardedEngine::kcd({"user", "remove", guarded().users_file(), "passing"}, "").exit_status, 0);
  EXPECT_THAT(guarded().status_with(basic("passing:geheim-2")), StartsWith("HTTP/1.1 401"));
}

TEST(LoginAnswers, TheLogTellsQuestionsAndNoSecret) {
  EXPECT_EQ(guarded().refusal(logins::anna, "SELECT /* marked */ FROM [Payroll]"), "");
  guarded().status_with(basic("x\n{\"user\":\"chief\"}:geheim"));
  guarded().refusal(logins::anna, "SELECT /* missing */ FROM [Nothing]");
  const auto lines = guarded().log_with("missing");
  int found = 0;
  for (const auto& line : lines) {
    EXPECT_FALSE(line["user"] == "chief" && line["status"] == 401) << line;
    const auto mdx = line.value("mdx", "");
    if (mdx == "SELECT /* marked */ FROM [Payroll]") {
      ++found;
      EXPECT_EQ(line["user"], "anna");
      EXPECT_EQ(line["database"], sales_database);
      EXPECT_EQ(line["cells"], 1);
      EXPECT_EQ(line["status"], 200);
      EXPECT_EQ(line["failed"], false);
      EXPECT_TRUE(line["milliseconds"].is_number_integer());
      EXPECT_EQ(line["time"].get<std::string>().back(), 'Z');
    } else if (mdx.find("missing") != std::string::npos) {
      ++found;
      EXPECT_EQ(line["failed"], true);
    }
    EXPECT_THAT(line.dump(), Not(HasSubstr("geheim")));
  }
  EXPECT_EQ(found, 2);
  EXPECT_THAT(guarded().service().errors(), Not(HasSubstr("geheim")));
  const auto log = std::filesystem::path(guarded().users_file()).parent_path() / "access.log";
  EXPECT_EQ(std::filesystem::status(log).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST(LoginAnswers, HealthAndMetricsAreToldApart) {
  std::string status;
  const auto health =
      nlohmann::json::parse(fetched(guarded().service().administration(), "/health", &status));
  for (const auto& database : health["databases"]) {
    if (database["name"] == sales_database) {
      EXPECT_EQ(database["ready"], true);
      EXPECT_EQ(database["cubes"][0], (nlohmann::json{{"name", "Sales"}, {"ready", true}}));
    }
  }
  EXPECT_GT(guarded().metric("importkcd_question_seconds_count"), 0);
  for (const std::string path : {"/health/../xmla", "/health;x", "/%68ealth", "/xmla", "/"}) {
    fetched(guarded().service().administration(), path, &status);
    EXPECT_THAT(status, StartsWith("HTTP/1.1 404")) << path;
  }
  const auto rebound = answer_to(guarded().service().administration(),
                                 "GET /health HTTP/1.1\r\nHost: evil.example\r\n\r\n");
  EXPECT_THAT(rebound, StartsWith("HTTP/1.1 421"));
}

}  // namespace
}  // namespace importkcd::testing
