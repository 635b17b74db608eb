#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using SarifLog = nlohmann::json;
using namespace std::string_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using testing::imported_document;
using testing::lines_of;
using testing::read_file;
using ::testing::StartsWith;

class KcdCheck : public testing::KcdTest {
 protected:
  static std::string changed(const std::string& from, const std::string& to) {
    auto text = imported_document();
    const auto at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
  }

  std::string document(const std::string& text) { return folder.write("shop.kcd", text); }

  std::string misspelt = changed("source_column=\"sales.amount\"", "sourc_column=\"sales.amount\"");
  std::string failing = changed("user_list=", "userlist=");
};

constexpr const char* misspelt_finding =
    ":67:5: warning: cube 'Sales' > measure 'Amount': unknown attribute 'sourc_column' (did you "
    "mean 'source_column'?)";
constexpr const char* failing_finding =
    ":43:5: error: role 'Readers': unknown attribute 'userlist' (did you mean 'user_list'?)";

TEST_F(KcdCheck, OfADocumentWithoutFaultsSaysSo) {
  const auto result = kcd({"check", document(imported_document())});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.output, "0 errors, 0 warnings in " + folder.file("shop.kcd") + "\n");
  EXPECT_EQ(result.errors, "");
  EXPECT_FALSE(std::filesystem::exists(folder.file("data"))) << "it touched a server";
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("tmp")));
}

TEST_F(KcdCheck, WarningsAreNoFailureUnlessTheyAreTakenForErrors) {
  const auto file = document(misspelt);
  const auto lax = kcd({"check", file});
  EXPECT_EQ(lax.exit_status, 0);
  EXPECT_EQ(lax.output, file + misspelt_finding + "\n0 errors, 1 warning in " + file + "\n");
  const auto strict = kcd({"check", "--strict", file});
  EXPECT_EQ(strict.exit_status, 1);
  EXPECT_EQ(strict.output,
            file +
                ":67:5: error: cube 'Sales' > measure 'Amount': unknown attribute 'sourc_column' "
                "(did you mean 'source_column'?)\n1 error, 0 warnings in " +
                file + "\n");
}

TEST_F(KcdCheck, ErrorsOfSeveralFilesAreAFailure) {
  const auto good = folder.write("good.kcd", imported_document());
  const auto bad = document(failing);
  const auto result = kcd({"check", good, bad});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(lines_of(result.output),
              ElementsAre(bad + failing_finding, "1 error, 0 warnings in 2 files"));
}

TEST_F(KcdCheck, ADocumentThatCannotBeReadIsAnErrorAtItsPlace) {
  const auto broken = document("<database>\n  <library>\n</database>\n");
  EXPECT_THAT(lines_of(kcd({"check", broken}).output),
              ElementsAre(StartsWith(broken + ":3:12: error: Opening and ending tag mismatch"),
                          "1 error, 0 warnings in " + broken));
  const auto missing = kcd({"check", folder.file("missing.kcd")});
  EXPECT_EQ(missing.exit_status, 1);
  EXPECT_THAT(missing.output,
              StartsWith(folder.file("missing.kcd") + ": error: No such file or directory\n"));
}

TEST_F(KcdCheck, ADroppedFirstLineCounts) {
  const auto file = document("<!DOCTYPE database>\n" + failing.substr(failing.find('\n') + 1));
  EXPECT_THAT(kcd({"check", file}).output, StartsWith(file + failing_finding));
}

TEST_F(KcdCheck, ReadsStandardInput) {
  start.input = failing;
  const auto result = kcd({"check", "-"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.output,
            std::string("<stdin>") + failing_finding + "\n1 error, 0 warnings in <stdin>\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("tmp")));
}

TEST_F(KcdCheck, ACommandLineThatMakesNoSenseIsRefused) {
  for (const auto& arguments : {std::vector<std::string>{"check"},
                                {"check", "-", "-"},
                                {"check", "x.kcd", "--format", "xml"},
                                {"check", "x.kcd", "--labels-server", ""},
                                {"check", "x.kcd", "--language", "l"}}) {
    EXPECT_EQ(kcd(arguments).exit_status, 2) << ::testing::PrintToString(arguments);
  }
}

/// The parts that SARIF 2.1.0 requires, and those that its readers show.
void expect_sarif(const SarifLog& log) {
  EXPECT_EQ(log.at("version"), "2.1.0");
  EXPECT_THAT(log.at("$schema").get<std::string>(), HasSubstr("sarif-2.1.0"));
  ASSERT_EQ(log.at("runs").size(), 1U);
  const auto& run = log.at("runs").at(0);
  const auto& driver = run.at("tool").at("driver");
  EXPECT_TRUE(driver.at("name").is_string());
  EXPECT_EQ(run.at("columnKind"), "unicodeCodePoints");
  const auto& rules = driver.at("rules");
  for (const auto& rule : rules) {
    EXPECT_TRUE(rule.at("id").is_string());
    EXPECT_TRUE(rule.at("shortDescription").at("text").is_string());
  }
  for (const auto& result : run.at("results")) {
    EXPECT_EQ(result.at("ruleId"), rules.at(result.at("ruleIndex").get<std::size_t>()).at("id"));
    EXPECT_TRUE(result.at("level") == "error" || result.at("level") == "warning");
    EXPECT_TRUE(result.at("message").at("text").is_string());
    ASSERT_EQ(result.at("locations").size(), 1U);
    const auto& place = result.at("locations").at(0).at("physicalLocation");
    EXPECT_TRUE(place.at("artifactLocation").at("uri").is_string());
    if (place.contains("region")) {
      EXPECT_GE(place.at("region").at("startLine").get<int>(), 1);
      EXPECT_GE(place.at("region").value("startColumn", 1), 1);
    }
  }
}

TEST_F(KcdCheck, SarifHasEveryFindingAtItsPlace) {
  const auto odd = folder.write("odd name.kcd", failing);
  const auto result = kcd({"check", "--format", "sarif", odd, document(misspelt)});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.errors, "1 error, 1 warning in 2 files\n");
  const auto log = SarifLog::parse(result.output);
  expect_sarif(log);
  const auto& results = log.at("runs").at(0).at("results");
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results.at(0).at("ruleId"), "unknown-attribute");
  EXPECT_EQ(results.at(0).at("level"), "error");
  EXPECT_EQ(results.at(0).at("message").at("text"),
            "role 'Readers': unknown attribute 'userlist' (did you mean 'user_list'?)");
  auto place = results.at(0).at("locations").at(0);
  const std::string uri = place.at("physicalLocation").at("artifactLocation").at("uri");
  EXPECT_THAT(uri, EndsWith("/odd%20name.kcd"));
  place.at("physicalLocation").erase("artifactLocation");
  EXPECT_EQ(place,
            SarifLog::parse(R"({"physicalLocation": {"region": {"startLine": 43, "startColumn": 5}},
                            "logicalLocations": [{"fullyQualifiedName": "role 'Readers'"}]})"));
  EXPECT_EQ(results.at(1).at("level"), "warning");
}

TEST_F(KcdCheck, SarifOfNoFindingsAndOfAMissingFileIsWhole) {
  expect_sarif(
      SarifLog::parse(kcd({"check", "--format", "sarif", document(imported_document())}).output));
  expect_sarif(
      SarifLog::parse(kcd({"check", "--format", "sarif", folder.file("missing.kcd")}).output));
}

TEST_F(KcdCheck, ForTheOlapEngineTellsWhatThatCannotServe) {
  const auto file = document(imported_document());
  EXPECT_EQ(kcd({"check", file}).exit_status, 0);
  for (const auto& option :
       {std::vector<std::string>{"--for-mdx"}, {"--server", "mondrian:" + folder.file("served")}}) {
    auto arguments = option;
    arguments.insert(arguments.begin(), {"check", file});
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.output,
                HasSubstr(file + ":47:1: warning: cube 'Sales': cannot be published"))
        << result.errors;
    EXPECT_FALSE(std::filesystem::exists(folder.file("served")));
    EXPECT_TRUE(std::filesystem::is_empty(folder.file("tmp")));
  }
  EXPECT_THAT(kcd({"check", "--for-mdx", document(failing)}).errors,
              HasSubstr("not checked for the OLAP engine, because an import would fail"));
}

TEST_F(KcdCheck, LabelReferencesAreCheckedForTheirForm) {
  auto text = changed("name=\"Shop\"", R"(guid="{1}" name="$##1%")");
  text.replace(text.find("description=\"Calendar\""), 22, "description=\"$##12, $##1.2.3%\"");
  text.replace(text.find("description=\"Goods\""), 19, "description=\"$##99999%\"");
  const auto file = folder.write("shop.kci", text);
  EXPECT_THAT(
      lines_of(kcd({"check", file}).output),
      ElementsAre(file + ":9:5: warning: dimension 'Time': attribute 'description': '$##12' begins "
                         "no label reference ($##ID%)",
                  file + ":9:5: warning: dimension 'Time': attribute 'description': '$##1.2.3' "
                         "begins no label reference ($##ID%)",
                  file + ":18:5: error: dimension 'Product': attribute 'description': label number "
                         "'99999' is out of range (-32768 to 32767)",
                  "1 error, 2 warnings in " + file));
}

TEST_F(KcdCheck, TheSchemaIsPrinted) {
  const auto result = kcd({"schema"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_THAT(result.output, AllOf(StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"),
                                   HasSubstr("<xs:complexType name=\"cube_measure\""),
                                   EndsWith("</xs:schema>\n")));
}

TEST_F(KcdCheck, AStrictImportImportsNothingOfADocumentWithFindings) {
  const auto result = import(misspelt, {"--strict"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(testing::messages_of(result.output), ::testing::IsEmpty());
  EXPECT_THAT(result.errors, AllOf(HasSubstr(":67:5: error: cube 'Sales' > measure 'Amount': "),
                                   HasSubstr("Nothing was imported: 1 error, 0 warnings in ")));
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
  EXPECT_EQ(import(imported_document(), {"--strict"}).exit_status, 0);
}

TEST_F(KcdCheck, AStrictImportChecksWhatThePatternMakesOfTheDocument) {
  const auto text = "<!DOC\n" + changed("name=\"Readers\" description", "name=\"@R@\" description")
                                    .substr(imported_document().find('\n') + 1);
  const auto result = import(text, {"--strict"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_THAT(result.errors, HasSubstr("document.kcd:92:5: error: cube 'Sales' > role 'Readers'"));
  const std::vector<std::string> pattern{"--strict", "--pattern-from", "@R@", "--pattern-to",
                                         "Readers"};
  EXPECT_EQ(import(text, pattern).exit_status, 0);
  auto other = pattern;
  other.back() = "Writers";
  EXPECT_THAT(import(text, other).errors,
              HasSubstr("document.kcd:92: error: cube 'Sales' > role 'Readers'"));
}

/// What is changed, the described error, and what stands behind it.
struct FailedImport {
  std::string from;
  std::string to;
  std::string error;
  std::string place;
};

TEST_F(KcdCheck, AFailedImportTellsThePlaceAfterItsError) {
  const std::string driver = "Cannot create DSS database because of ";
  const std::vector<FailedImport> failures{
      {"version=\"1.0.1073\"", "version=\"3\"",
       "Expected kcd document version '1.0.1073', but found version '3'.",
       "2:1: error: version '3' is not known; it is one of 1.0.1073, 1.0.1051"},
      {"description=\"All of the shop\"", "", driver + "Invalid use of Null in KCD document",
       "2:1: error: attribute 'description' is missing"},
      {"connection_string=\"Provider=SQLOLEDB;Data Source=dw1\"", "", "Invalid use of Null",
       "5:5: error: data source 'Warehouse': attribute 'connection_string' is missing"},
      {"schema_layout=\"star\">\n      <levels>\n        <level name=\"Year\"",
       ">\n      <levels>\n        <level name=\"Year\"", "Invalid use of Null",
       "9:5: error: dimension 'Time': attribute 'schema_layout' is missing"},
      {"column_size=\"4\"", "column_size=\"many\"", "Type mismatch",
       "12:9: error: dimension 'Time' > level 'Year': attribute 'column_size': 'many' is no whole "
       "number"},
      {"column_size=\"4\"", "column_size=\"40000\"", "Overflow",
       "12:9: error: dimension 'Time' > level 'Year': attribute 'column_size': '40000' is out of "
       "range (-32768 to 32767)"},
      {"name=\"Month\" type", "name=\"YEAR\" type", "'YEAR' already exists",
       "14:9: error: dimension 'Time' > level 'YEAR': 'YEAR' is already defined in line 12"},
      {"caption=\"Colour\"", "", "Invalid use of Null",
       "27:13: error: dimension 'Product' > level 'Product' > member property 'Colour': attribute "
       "'caption' is missing"},
      {"user_list=", "userlist=", driver + "Invalid use of Null in KCD document",
       "43:5: error: role 'Readers': unknown attribute 'userlist' (did you mean 'user_list'?)"},
      {"estimated_rows=\"1e6\"", "estimated_rows=\"\"", driver + "Type mismatch in KCD document",
       "47:1: error: cube 'Sales': attribute 'estimated_rows': '' is no number"},
      {"<cube_roles/>\n</cube>", "</cube>",
       driver + "element 'cube_roles' is missing in KCD document",
       "95:1: error: cube 'Stock': element 'cube_roles' is missing"},
      {"<cube_dimension_reference name=\"Time\">", "<cube_dimension_reference name=\"Tim\">",
       driver + "dimension 'Tim' not found in OLAP server",
       "51:5: error: cube 'Sales' > dimension 'Tim': dimension 'Tim' is not in the document (did "
       "you mean 'Time'?)"},
      {"<cube_level_reference name=\"Year\"", "<cube_level_reference name=\"Week\"",
       driver + "level 'Week' not found in OLAP server",
       "53:9: error: cube 'Sales' > dimension 'Time' > level 'Week': the dimension has no level "
       "'Week'"},
      {"<cube_dimension name=\"Channel\"", "<cube_dimension name=\"Region\"",
       driver + "'Region' already exists in OLAP server",
       "57:5: error: cube 'Sales' > dimension 'Region': the name of this cube's own dimension is "
       "taken by the dimension in line 32"},
      {"column_size=\"8\"", "column_size=\"99999\"", driver + "Overflow in KCD document",
       "60:9: error: cube 'Sales' > dimension 'Channel' > level 'Channel': attribute "
       "'column_size': "
       "'99999' is out of range (-32768 to 32767)"},
      {"readwrite=\"true\"", "", driver + "Invalid use of Null in KCD document",
       "74:5: error: cube 'Sales' > partition 'Sales': attribute 'readwrite' is missing"},
      {"<partition_dimension name=\"Time\">", "<partition_dimension name=\"X\">",
       driver + "dimension 'X' not found in OLAP server",
       "78:9: error: cube 'Sales' > partition 'Sales' > dimension 'X': the cube has no dimension "
       "'X'"},
      {"slice_value=\"1999\"", "", driver + "Invalid use of Null in KCD document",
       "80:13: error: cube 'Sales' > partition 'Sales' > dimension 'Time' > level 'Year': "
       "attribute "
       "'slice_value' is missing"},
      {"permissions=\"R\"", "", driver + "Invalid use of Null in KCD document",
       "92:5: error: cube 'Sales' > role 'Readers': attribute 'permissions' is missing"},
      {"fact_table=\"stock\"", "fact_table=\"\"", "New Cube structure is not valid",
       "95:1: error: cube 'Stock': the cube has no fact table"},
  };
  for (const auto& [from, to, error, place] : failures) {
    const auto result = import(changed(from, to), {"--server", "memory:"});
    EXPECT_EQ(result.exit_status, 1) << to;
    EXPECT_THAT(lines_of(result.errors), ElementsAre(error, folder.file("document.kcd:") + place));
  }
}

TEST_F(KcdCheck, AFailedImportOfADocumentThatIsNotWellFormedTellsThePlaceInThePersonsFile) {
  const auto result = import("<!DOC\n<a>\n<b>\n</a>\n", {"--server", "memory:"});
  EXPECT_THAT(lines_of(result.errors),
              ElementsAre(StartsWith("Cannot open kcd document file "),
                          StartsWith(folder.file("document.kcd:4:5: error: Opening and ending"))));
}

TEST_F(KcdCheck, ThePlaceOfAFailureCountsADroppedFirstLineAndLeavesOutColumnsThatAPatternMoved) {
  const auto text = "<!DOC\n" + failing.substr(failing.find('\n') + 1);
  EXPECT_THAT(import(text, {"--server", "memory:"}).errors, EndsWith(failing_finding + "\n"s));
  EXPECT_THAT(
      import(text, {"--server", "memory:", "--pattern-from", "Shop", "--pattern-to", "X"}).errors,
      HasSubstr("document.kcd:43: error: role 'Readers'"));
}

TEST_F(KcdCheck, AFailureThatIsNotTheDocumentsHasNoPlace) {
  const auto result = import(imported_document(), {"--server", "nowhere"});
  EXPECT_THAT(lines_of(result.errors), ::testing::SizeIs(1));
}

}  // namespace
}  // namespace importkcd
