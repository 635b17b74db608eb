#include <map>
#include <optional>

#include "base/xml_element.h"
#include "tests/olap/olap_world.h"
#include "tests/olap/small_document.h"
#include "xmla/http_post.h"
#include "xmla/soap_envelope.h"
#include "xmla/xmla_client.h"

// Where the engine has words of its own in place of a description or a value.

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;

/// The databases that the engine lists, with their descriptions; nothing for one without.
std::map<std::string, std::optional<std::string>> described_databases() {
  const auto answer = http_post(
      {world().engine().address(),
       {"Content-Type: text/xml"},
       discover_envelope("DBSCHEMA_CATALOGS", {}, {{"Format", "Tabular"}, {"Content", "Data"}}),
       {}});
  const auto envelope = read_xml(answer.body, "test");
  const auto* const root = envelope.find("root");
  std::map<std::string, std::optional<std::string>> databases;
  if (root == nullptr) {
    ADD_FAILURE() << answer.body;
    return databases;
  }
  for (const auto& row : root->children) {
    if (row.name == "row") {
      const auto* const description = row.child("DESCRIPTION");
      databases[std::string(row.child_text("CATALOG_NAME"))] =
          description == nullptr ? std::nullopt : std::optional(description->text);
    }
  }
  return databases;
}

/// Imports a small document whose database has this description, as XML.
void import_described(const std::string& database, const std::string& description) {
  auto text = small_document(database, world().postgres().connection_string(sales_warehouse),
                             {{.name = "Sales"}});
  const std::string none = R"(description="")";
  text.replace(text.find(none), none.size(), R"(description=")" + description + "\"");
  const auto result = world().import(world().folder().write("described.kcd", text), {});
  EXPECT_EQ(result.exit_status, 0) << result.errors;
  wait_for_database(database);
}

TEST(EngineWords, DatabasesHaveTheDescriptionOfTheirDocumentOrNone) {
  import_described("Described", "Shops &amp; Søn, &lt;d@#$%été&gt;");
  import_described("Not Described", "");
  const auto databases = described_databases();
  EXPECT_EQ(databases.at(sales_database), "The shops' sales, stock and payroll");
  EXPECT_EQ(databases.at("Described"), "Shops & Søn, <d'été>");
  EXPECT_EQ(databases.at("Not Described"), std::nullopt);
}

TEST(EngineWords, CubesHaveTheDescriptionOfTheirDocumentOrNone) {
  EXPECT_THAT(
      XmlaClient(world().engine().address()).cubes(sales_database),
      ElementsAre(Field(&XmlaCube::description, "Hours and wages"),
                  Field(&XmlaCube::description, "Every line of every receipt"),
                  Field(&XmlaCube::description, "What lies in the warehouses at each month's end"),
                  AllOf(Field(&XmlaCube::name, "Trade"), Field(&XmlaCube::is_virtual, true),
                        Field(&XmlaCube::description, ""))));
}

TEST(EngineWords, ACellThatCannotBeComputedIsAnErrorAndAnEmptyOneIsNot) {
  const auto dataset = world().engine().ask(
      sales_database,
      R"(WITH MEMBER [Measures].[Empty] AS 'NULL' MEMBER [Measures].[Wrong] AS 'CInt("abc")' )"
      R"(MEMBER [Measures].[Text] AS '"#ERR: no"' SELECT {[Measures].[Empty], )"
      R"([Measures].[Wrong], [Measures].[Text]} ON COLUMNS FROM [Sales])");
  EXPECT_FALSE(dataset.cells.at(0).has_value);
  EXPECT_EQ(dataset.cells.at(0).error, "");
  EXPECT_FALSE(dataset.cells.at(1).has_value);
  EXPECT_THAT(dataset.cells.at(1).error, HasSubstr("abc"));
  EXPECT_EQ(dataset.cells.at(2).value, "#ERR: no");
  EXPECT_EQ(dataset.cells.at(2).error, "");
}

}  // namespace
}  // namespace importkcd::testing
