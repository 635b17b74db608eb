#include "tests/cli/kcd_fixture.h"
#include "tests/support/http_server.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::http_answer;
using testing::HttpServer;
using testing::rowset_answer;
using testing::soap_answer;

/// An answer of one cell.
std::string data_set_with(const std::string& cell) {
  return soap_answer(
      "<ExecuteResponse><return><root><OlapInfo><CubeInfo><Cube><CubeName>Sales</CubeName></Cube>"
      "</CubeInfo><AxesInfo><AxisInfo name=\"Axis0\"><HierarchyInfo name=\"Measures\"/></AxisInfo>"
      "</AxesInfo></OlapInfo><Axes><Axis name=\"Axis0\"><Tuples><Tuple><Member "
      "Hierarchy=\"Measures\"><UName>[Measures].[Revenue]</UName><Caption>Revenue</Caption>"
      "</Member></Tuple></Tuples></Axis></Axes><CellData><Cell CellOrdinal=\"0\">" +
      cell + "</Cell></CellData></root></return></ExecuteResponse>");
}

const std::string data_set =
    data_set_with("<Value xsi:type=\"xsd:double\">674.2</Value><FmtValue>674.20</FmtValue>");

std::string offer_of(const std::vector<std::string>& names) {
  std::vector<std::string> rows;
  rows.reserve(names.size());
  for (const auto& name : names) {
    rows.push_back("<CATALOG_NAME>" + name + "</CATALOG_NAME>");
  }
  return rowset_answer(rows);
}

/// Offers these databases and answers every question with the data set above.
HttpServer::Script offering(const std::vector<std::string>& names) {
  return [names](const std::string& request) {
    if (request.find("DBSCHEMA_CATALOGS") != std::string::npos) {
      return offer_of(names);
    }
    if (request.find("MDSCHEMA_CUBES") != std::string::npos) {
      const auto* const name = request.find("<Catalog>Läden<") == std::string::npos ? "A" : "Läden";
      return rowset_answer({std::string("<CATALOG_NAME>") + name +
                                "</CATALOG_NAME><CUBE_NAME>Sales</CUBE_NAME><DESCRIPTION>Every "
                                "line</DESCRIPTION>",
                            std::string("<CATALOG_NAME>") + name +
                                "</CATALOG_NAME><CUBE_NAME>Trade</CUBE_NAME>"
                                "<CUBE_TYPE>VIRTUAL CUBE</CUBE_TYPE>"});
    }
    return data_set;
  };
}

using KcdQuery = testing::KcdTest;

TEST_F(KcdQuery, PrintsATable) {
  const HttpServer server(offering({}));
  const auto result = kcd({"query", server.address(), "--database", "A", "select"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, "Revenue\n-------\n 674.20\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(server.requests(), ElementsAre(HasSubstr("<Catalog>A</Catalog>")));
}

TEST_F(KcdQuery, PrintsJson) {
  const HttpServer server(offering({}));
  const auto result = kcd({"query", server.address(), "--database", "A", "--json", "select"});
  EXPECT_EQ(result.exit_status, 0);
  const auto json = nlohmann::json::parse(result.output);
  EXPECT_EQ(json["cube"], "Sales");
  EXPECT_EQ(json["cells"][0]["value"], 674.2);
  EXPECT_EQ(result.output.back(), '\n');
}

TEST_F(KcdQuery, CellsThatCouldNotBeComputedAreToldAndHaveAnExitStatus) {
  const HttpServer server([](const std::string&) {
    return data_set_with(
        "<Value xsi:type=\"xsd:string\">too\ndeep</Value><FmtValue>#ERR: too\ndeep</FmtValue>");
  });
  const std::vector<std::string> question{"query", server.address(), "--database", "A", "select"};
  const auto table = kcd(question);
  EXPECT_EQ(table.exit_status, 3);
  EXPECT_EQ(table.output, "Revenue\n-------\n   #ERR\n");
  EXPECT_EQ(table.errors, "1 cell could not be computed: too deep\n");
  auto as_json = question;
  as_json.emplace_back("--json");
  const auto json = kcd(as_json);
  EXPECT_EQ(json.exit_status, 3);
  EXPECT_EQ(nlohmann::json::parse(json.output)["cells"][0]["error"], "too\ndeep");
  EXPECT_EQ(json.errors, table.errors);
}

TEST_F(KcdQuery, AsksTheOnlyDatabaseUnlessToldOtherwise) {
  const HttpServer server(offering({"Läden"}));
  EXPECT_EQ(kcd({"query", server.address(), "select"}).exit_status, 0);
  EXPECT_THAT(server.requests(),
              ElementsAre(HasSubstr("DBSCHEMA_CATALOGS"), HasSubstr("<Catalog>Läden</Catalog>")));
}

TEST_F(KcdQuery, SeveralDatabasesWantAChoice) {
  const HttpServer server(offering({"A", "Läden"}));
  const auto result = kcd({"query", server.address(), "select"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors,
            "the server offers several databases; --database names one of 'A', 'Läden'\n");
  const HttpServer none(offering({}));
  EXPECT_EQ(kcd({"query", none.address(), "select"}).errors, "the server offers no database\n");
}

TEST_F(KcdQuery, ReadsTheQuestionFromStandardInput) {
  const HttpServer server(offering({}));
  start.input = "select\nfrom [Läden]\n";
  EXPECT_EQ(kcd({"query", server.address(), "--database", "A", "-"}).exit_status, 0);
  EXPECT_THAT(server.requests().at(0), HasSubstr("<Statement>select\nfrom [Läden]\n</Statement>"));
}

TEST_F(KcdQuery, AsksInARolesView) {
  const HttpServer server(offering({}));
  kcd({"query", server.address(), "--database", "A", "--role", "Head Office", "select"});
  EXPECT_THAT(server.requests().at(0), HasSubstr("\r\nOlap-Role: Head%20Office\r\n"));
}

TEST_F(KcdQuery, AFaultIsPrintedInTheServersWords) {
  const HttpServer server([](const std::string&) {
    return soap_answer(
        "<Fault><faultstring>no</faultstring><detail><e><desc>Mondrian "
        "Error:MDX cube &#39;Sales&#39; not\nfound</desc></e></detail></Fault>");
  });
  const auto result = kcd({"query", server.address(), "--database", "A", "select"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "Mondrian Error:MDX cube 'Sales' not found\n");
}

TEST_F(KcdQuery, AServerThatSaysNothingIsGivenUpInTime) {
  const HttpServer server([](const std::string&) { return std::nullopt; });
  const auto result =
      kcd({"query", server.address(), "--database", "A", "--timeout", "1", "select"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, server.address() + ": no whole answer within 1 seconds\n");
}

TEST_F(KcdQuery, APasswordInTheAddressIsSentAndNotShown) {
  const HttpServer server([](const std::string&) { return http_answer("", "401 Who?"); });
  auto address = server.address();
  address.insert(std::string("http://").size(), "anna:secret@");
  const auto result = kcd({"query", address, "select"});
  EXPECT_EQ(result.errors, server.address() + " refuses the login\n");
  EXPECT_THAT(server.requests().at(0), HasSubstr("Authorization: Basic YW5uYTpzZWNyZXQ="));
}

TEST_F(KcdQuery, AProxyIsNotAskedForThisComputersOwnAddresses) {
  const HttpServer server(offering({}));
  start.environment.emplace_back("http_proxy", "http://127.0.0.1:1/");
  EXPECT_EQ(kcd({"query", server.address(), "--database", "A", "select"}).exit_status, 0);
}

TEST_F(KcdQuery, ADirectoryThatHoldsNothingToServeIsAnError) {
  EXPECT_EQ(kcd({"query", folder.file("nix"), "select"}).errors,
            "there is no directory '" + folder.file("nix") + "'\n");
  const auto result = kcd({"query", "mondrian:" + folder.path().string(), "select"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, "'" + folder.path().string() +
                               "' holds no datasources.xml: nothing was imported into 'mondrian:" +
                               folder.path().string() + "' yet\n");
}

TEST_F(KcdQuery, TheCommandLineIsChecked) {
  for (const auto& arguments :
       {std::vector<std::string>{"query"}, std::vector<std::string>{"query", "http://x/"},
        std::vector<std::string>{"query", "http://x/", "select", "from"},
        std::vector<std::string>{"query", "http://x/", "select", "--timeout", "0"}}) {
    EXPECT_EQ(kcd(arguments).exit_status, 2) << ::testing::PrintToString(arguments);
  }
}

TEST_F(KcdQuery, ShowPrintsWhatAServerOffersAsATree) {
  const HttpServer server(offering({"A", "Läden"}));
  const auto result = kcd({"show", server.address()});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_EQ(result.output,
            "A\n`- Cubes (2)\n   |- Sales: Every line\n   `- Trade (virtual)\n\n"
            "Läden\n`- Cubes (2)\n   |- Sales: Every line\n   `- Trade (virtual)\n");
}

TEST_F(KcdQuery, ShowPrintsWhatAServerOffersAsJson) {
  const HttpServer server(offering({"A", "Läden"}));
  const auto result = kcd({"show", server.address(), "läden", "--json"});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  EXPECT_EQ(nlohmann::json::parse(result.output), nlohmann::json::parse(R"({"databases": [
    {"name": "Läden", "cubes": [
      {"name": "Sales", "virtual": false, "description": "Every line"},
      {"name": "Trade", "virtual": true, "description": ""}]}]})"));
}

TEST_F(KcdQuery, ShowNamesADatabaseThatTheServerDoesNotOffer) {
  const HttpServer server(offering({"A"}));
  EXPECT_EQ(kcd({"show", server.address(), "B"}).errors, "database 'B' not found\n");
  const HttpServer none(offering({}));
  EXPECT_EQ(kcd({"show", none.address()}).output, "No databases on " + none.address() + ".\n");
}

TEST_F(KcdQuery, ServeSaysWhatIsMissing) {
  const auto serve = [&] { return kcd({"serve", folder.path().string(), "--port", "0"}); };
  EXPECT_EQ(kcd({"serve", folder.file("nix")}).errors,
            "there is no directory '" + folder.file("nix") + "'\n");
  EXPECT_THAT(serve().errors, HasSubstr("holds no datasources.xml"));
  folder.write("datasources.xml", "<DataSources/>");
  start.environment.emplace_back("IMPORTKCD_OLAP_SERVER", folder.file("host"));
  start.environment.emplace_back("PATH", "/nowhere");
  start.environment.emplace_back("JAVA_HOME", "");
  EXPECT_EQ(serve().errors,
            "the OLAP engine needs Java 17 or newer, and there is no 'java' on the search path "
            "(Debian package default-jre-headless)\n");
  std::filesystem::create_directories(folder.path() / "java" / "bin");
  const auto java = folder.write("java/bin/java", "#!/bin/sh\n");
  std::filesystem::permissions(java, std::filesystem::perms::owner_all);
  start.environment.back().second = folder.file("java");
  EXPECT_EQ(serve().errors, "the OLAP engine's host is not there: " +
                                folder.file("host/importkcd-olap-server.jar") + "\n");
  std::filesystem::create_directory(folder.file("host"));
  folder.write("host/importkcd-olap-server.jar", "");
  folder.write("host/libraries.txt", "# jar package\nnix.jar libnix-java\nno.jar libno-java\n");
  const auto result = serve();
  EXPECT_EQ(result.errors,
            "libraries of the OLAP engine are missing: /usr/share/java/nix.jar (Debian package "
            "libnix-java), /usr/share/java/no.jar (Debian package libno-java)\n");
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output, "");
}

}  // namespace
}  // namespace importkcd
