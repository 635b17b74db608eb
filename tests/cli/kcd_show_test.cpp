#include <filesystem>

#include "tests/cli/kcd_fixture.h"

namespace importkcd {
namespace {

using testing::bare_document;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::known_version;
using ::testing::Not;
using ::testing::StartsWith;
using testing::whole_document;

using KcdShow = testing::KcdTest;

TEST_F(KcdShow, AServerThatDoesNotExistYetIsEmptyAndIsNotMade) {
  const auto tree = kcd({"show"});
  EXPECT_EQ(tree.exit_status, 0);
  EXPECT_EQ(tree.output, "No databases on localhost.\n");
  EXPECT_EQ(tree.errors, "");
  const auto json = kcd({"show", "--json"});
  EXPECT_EQ(json.exit_status, 0);
  EXPECT_EQ(json.output, "{\n  \"databases\": []\n}\n");
  EXPECT_FALSE(std::filesystem::exists(folder.file("data")));
}

TEST_F(KcdShow, ACatalogueThatDoesNotExistIsAnErrorAndIsNotMade) {
  const auto file = folder.file("missing.olap");
  for (const auto& arguments : {std::vector<std::string>{"show", "catalogue:" + file},
                                std::vector<std::string>{"show", "catalogue:" + file, "--json"}}) {
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 5);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr(file));
    EXPECT_FALSE(std::filesystem::exists(file));
  }
}

TEST_F(KcdShow, AServerThatCannotBeReachedIsAnError) {
  const auto result = kcd({"show", "olap7"});
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errors, HasSubstr("catalogue:"));
}

TEST_F(KcdShow, ShowsTheWholeImportedDocumentAsATree) {
  import(whole_document(), {"--partitions"});
  const auto result = kcd({"show"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_EQ(result.output, R"(Shop: All of the shop
|- Data sources (1)
|  `- Warehouse: The shop's facts
|     `- Provider=SQLOLEDB;Data Source=dw1
|- Shared dimensions (3)
|  |- Time (time, from Warehouse): Calendar
|  |  `- Year > Month
|  |- Product (from Warehouse): Goods
|  |  `- (All) > Product [Colour]
|  `- Region (quantitative, from Warehouse): Unused
|     `- Region
|- Virtual dimensions (1)
|  `- Colours
|     `- All colours
|- Roles (1)
|  `- Readers: anna;bert (The shop's readers)
`- Cubes (3)
   |- Sales (ROLAP, 1000000 rows): What was sold
   |  |- Source: sales from Warehouse
   |  |- Dimensions (2)
   |  |  |- Time: Year > Month (disabled)
   |  |  `- Channel (private): Channel
   |  |- Measures (1)
   |  |  `- Amount: sum of sales.amount, format #,#
   |  |- Calculated members (1)
   |  |  `- Share: [Measures].[Share] AS [Measures].[Amount] / 2
   |  |- Roles (1)
   |  |  `- Readers: Access = R
   |  `- Partitions (2)
   |     |- Sales: sales_1999 from Warehouse, HOLAP, read-write
   |     |  `- Time, Year = 1999
   |     `- Rest: sales_rest from Warehouse, ROLAP
   |- Stock (MOLAP, 10 rows): What is left
   |  |- Source: stock from Warehouse
   |  |- Dimensions (1)
   |  |  `- Product: (All) > Product [Colour]
   |  |- Measures (1)
   |  |  `- Pieces: count of stock.pieces, internal
   |  `- Partitions (1)
   |     `- Stock: stock from Warehouse, MOLAP
   `- Overview (virtual)
      |- Dimensions (1)
      |  `- Time: Year > Month
      `- Measures (1)
         `- Amount: sum of Sales.Amount
)");
}

TEST_F(KcdShow, DrawsWithBoxDrawingCharactersWhereTheLocaleHasThem) {
  import(whole_document());
  start.environment.back().second = "C.UTF-8";
  EXPECT_THAT(kcd({"show"}).output,
              StartsWith("Shop: All of the shop\n├─ Data sources (1)\n│  └─ Warehouse: "));
}

TEST_F(KcdShow, DrawsWithAsciiInALocaleThatIsNotKnown) {
  import(whole_document());
  start.environment.back().second = "xx_YY.nowhere";
  EXPECT_THAT(kcd({"show"}).output,
              StartsWith("Shop: All of the shop\n|- Data sources (1)\n|  `- Warehouse: "));
}

TEST_F(KcdShow, ShowsTheImportedPartsAsJson) {
  import(whole_document(), {"--partitions"});
  const auto shop = shown().at("databases").at(0);
  EXPECT_EQ(shop.at("dimensions").at(0).at("custom_properties").dump(),
            R"({"SchemaLayout":"star"})");
  EXPECT_EQ(shop.at("dimensions").at(3).at("kind"), "private");
  const auto sales = shop.at("cubes").at(0);
  EXPECT_EQ(sales.at("estimated_rows").dump(), "1000000");
  EXPECT_EQ(sales.at("roles").dump(), R"([{"name":"Readers","permissions":{"Access":"R"}}])");
  const auto time = sales.at("partitions").at(0).at("dimensions").at(0);
  EXPECT_EQ(time.at("levels").at(0).at("member_key_column"), "sales_1999.y");
  EXPECT_EQ(time.at("levels").at(0).at("slice_value"), "1999");
  EXPECT_EQ(time.at("levels").at(1).at("member_key_column"), "sales.m");
  EXPECT_EQ(time.at("levels").at(1).at("disabled"), true);
}

TEST_F(KcdShow, HidesPasswordsInTheTreeOnly) {
  start.input = "Provider=P;Password=\"sec;ret\";Data Source=S";
  import(whole_document(), {"--connect-string-file", "-"});
  const auto tree = kcd({"show"}).output;
  EXPECT_THAT(tree, HasSubstr("Provider=P;Password=***;Data Source=S\n"));
  EXPECT_THAT(tree, Not(HasSubstr("ret")));
  EXPECT_EQ(shown().at("databases").at(0).at("data_sources").at(0).at("connection_string"),
            start.input);
}

TEST_F(KcdShow, ShowsOneDatabaseWhateverTheLetterCaseOfItsName) {
  import(bare_document(known_version, "Butik Ærø"));
  import(bare_document(known_version, "Office"));
  EXPECT_THAT(databases(), ElementsAre("Butik Ærø", "Office"));
  EXPECT_EQ(kcd({"show"}).output, "Butik Ærø\n\nOffice\n");
  EXPECT_EQ(kcd({"show", "localhost", "BUTIK æRØ"}).output, "Butik Ærø\n");
  const auto json = shown({"LOCALHOST", "oFFICE"});
  ASSERT_EQ(json.at("databases").size(), 1U);
  EXPECT_EQ(json.at("databases").at(0).at("name"), "Office");
}

TEST_F(KcdShow, ADatabaseThatDoesNotExistIsAnError) {
  import(bare_document(known_version, "Shop"));
  for (const std::string name : {"Offi\nce", ""}) {
    const auto shown_name = name.empty() ? name : "Offi ce";
    const auto result = kcd({"show", ".", name, "--json"});
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "database '" + shown_name + "' not found\n");
  }
}

TEST_F(KcdShow, AnOutputThatCannotBeWrittenIsAFailure) {
  import(whole_document());
  start.output_file = "/dev/full";
  for (const auto& arguments :
       {std::vector<std::string>{"show"}, std::vector<std::string>{"show", "--json"}}) {
    const auto result = kcd(arguments);
    EXPECT_EQ(result.exit_status, 5);
    EXPECT_EQ(result.errors, "Cannot write to standard output\n");
  }
}

}  // namespace
}  // namespace importkcd
