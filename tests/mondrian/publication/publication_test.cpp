#include <sys/stat.h>

#include "tests/mondrian/mapping/mapping_fixture.h"
#include "tests/mondrian/publication/publication_fixture.h"

namespace importkcd::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;

unsigned mode_of(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 0777U;
}

/// As it stands in an address; the temporary folder may have blanks in its path.
std::string address_of(const std::string& file) {
  auto address = fs::weakly_canonical(file).string();
  for (auto at = address.find(' '); at != std::string::npos; at = address.find(' ', at)) {
    address.replace(at, 1, "%20");
  }
  return address;
}

class Publications : public PublicationTest {};

TEST_F(Publications, ARunPublishesWhenItIsFinished) {
  const auto server = open();
  write_back(*server, "Retail");
  EXPECT_FALSE(fs::exists(path("datasources.xml")));
  server->finish();
  EXPECT_EQ(read_file(path("datasources.xml")),
            R"(<?xml version="1.0" encoding="UTF-8"?>
<DataSources>
  <DataSource>
    <DataSourceName>ImportKCD</DataSourceName>
    <DataSourceDescription>Imported cube definition documents</DataSourceDescription>
    <URL>http://localhost/xmla</URL>
    <DataSourceInfo>Provider=mondrian</DataSourceInfo>
    <ProviderName>Mondrian</ProviderName>
    <ProviderType>MDP</ProviderType>
    <AuthenticationMode>Unauthenticated</AuthenticationMode>
    <Catalogs>
      <Catalog name="Retail">
        <DataSourceInfo>Provider=mondrian;Jdbc='jdbc:postgresql:dw';JdbcDrivers=org.postgresql.Driver;Warehouse='DW';UseContentChecksum=true</DataSourceInfo>
        <Definition>file://)" +
                address_of(path("schemas/Retail.xml")) +
                R"(</Definition>
      </Catalog>
    </Catalogs>
  </DataSource>
</DataSources>
)");
  auto schema = read_file(path("schemas/Retail.xml"));
  const auto comment = schema.find("<!-- Published ");
  schema.erase(comment, schema.find('\n', comment) - comment + 1);
  EXPECT_EQ(schema, R"(<?xml version="1.0" encoding="UTF-8"?>
<Schema name="Retail">
  <Cube name="Sales">
    <Table name="sales"/>
    <Dimension name="Payment">
      <Hierarchy hasAll="false">
        <Level name="Method" column="method" type="String" uniqueMembers="true"/>
      </Hierarchy>
    </Dimension>
    <Measure name="Amount" column="amount" aggregator="sum"/>
  </Cube>
</Schema>
)");
}

TEST_F(Publications, OnlyTheOwnerReadsConnectionsAndDefinitions) {
  publish("Retail");
  EXPECT_EQ(mode_of(directory()), 0700U);
  EXPECT_EQ(mode_of(path("datasources.xml")), 0600U);
  EXPECT_EQ(mode_of(path("definitions.olap")), 0600U);
}

TEST_F(Publications, EveryPublicationChangesTheSchemasItIsAboutAndNoOther) {
  publish("Retail");
  publish("Stock");
  const auto before = served();
  const auto server = open();
  auto& database = server->open_database("retail");
  server->write_back_cube(database, *database.cubes().edit("Sales"));
  server->finish();
  const auto after = served();
  EXPECT_NE(after.at("schemas/Retail.xml"), before.at("schemas/Retail.xml"));
  EXPECT_EQ(after.at("schemas/Stock.xml"), before.at("schemas/Stock.xml"));
  EXPECT_EQ(after.at("datasources.xml"), before.at("datasources.xml"));
}

TEST_F(Publications, TheEnginePutsNothingInPlaceOfADollarAndABrace) {
  publish("${user.home}");
  const auto list = read_file(path("datasources.xml"));
  EXPECT_THAT(list, HasSubstr("name=\"&#36;{user.home}\""));
  EXPECT_THAT(list, Not(HasSubstr("${")));
}

TEST_F(Publications, AFailedRunIsKeptByNoServerThatPublishes) {
  EXPECT_FALSE(open()->keeps_failed_runs());
}

TEST_F(Publications, ARemovedDatabaseDisappears) {
  publish("Retail");
  publish("Stock");
  remove("Retail");
  EXPECT_THAT(databases(), ElementsAre("Stock"));
  EXPECT_THAT(served_files(), ElementsAre("datasources.xml", "schemas/Stock.xml"));
  EXPECT_THAT(catalogues(), ElementsAre(Pair("Stock", "Stock.xml")));
  remove("Stock");
  EXPECT_THAT(served_files(), ElementsAre("datasources.xml"));
  EXPECT_THAT(catalogues(), IsEmpty());
}

TEST_F(Publications, ADatabaseBuiltAnewTakesThePlaceOfTheOldOne) {
  publish("Retail", "jdbc:postgresql:dw", "Old");
  const auto server = open();
  server->remove_database("Retail");
  write_back(*server, "Retail", "jdbc:postgresql:elsewhere", "New");
  server->finish();
  EXPECT_THAT(served_files(), ElementsAre("datasources.xml", "schemas/Retail.xml"));
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"New\">"));
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), Not(HasSubstr("<Cube name=\"Old\">")));
  EXPECT_THAT(read_file(path("datasources.xml")), HasSubstr("'jdbc:postgresql:elsewhere'"));
}

TEST_F(Publications, TheListStaysTheSameFileUntilItChanges) {
  publish("Retail");
  publish("Stock");
  const auto list_file = [&] {
    struct stat status {};
    EXPECT_EQ(::stat(path("datasources.xml").c_str(), &status), 0);
    return status.st_ino;
  };
  // An open one keeps its number from being given away.
  const std::ifstream opened(path("datasources.xml"));
  const auto before = list_file();
  const auto server = open();
  server->remove_database("Retail");
  write_back(*server, "Retail", "jdbc:postgresql:dw", "New");
  server->finish();
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"New\">"));
  EXPECT_EQ(list_file(), before);
  fs::permissions(path("datasources.xml"), fs::perms::others_read, fs::perm_options::add);
  publish("Stores");
  remove("Stores");
  EXPECT_NE(list_file(), before);
  EXPECT_EQ(mode_of(path("datasources.xml")), 0600U);
}

TEST_F(Publications, SeveralDataSourcesAreACatalogueEach) {
  const auto server = open();
  write_back(*server, "Retail");
  auto& database = server->open_database("Retail");
  server->write_back_data_source(
      database, database.data_sources().add({"Personnel", "jdbc:mariadb://hr/staff", ""}));
  server->write_back_data_source(
      database, database.data_sources().add({"The same", "jdbc:postgresql:dw", ""}));
  add_cube(*server, database, "Staff", "Personnel");
  add_cube(*server, database, "More", "The same");
  server->finish();
  const auto published = catalogues();
  ASSERT_THAT(published, ElementsAre(Key("Retail - DW"), Key("Retail - Personnel")));
  const auto main = read_file(path("schemas/" + published.at("Retail - DW")));
  const auto staff = read_file(path("schemas/" + published.at("Retail - Personnel")));
  EXPECT_THAT(main, HasSubstr("<Cube name=\"Sales\">"));
  EXPECT_THAT(main, HasSubstr("<Cube name=\"More\">"));
  EXPECT_THAT(main, Not(HasSubstr("<Cube name=\"Staff\">")));
  EXPECT_THAT(staff, HasSubstr("<Cube name=\"Staff\">"));
  EXPECT_THAT(staff, Not(HasSubstr("<Cube name=\"Sales\">")));
}

TEST_F(Publications, NamesOfAnyScriptHaveSafeFilesOfTheirOwn) {
  const std::vector<std::string> names{"../../etc/passwd", "A/B",  "A_B",
                                       R"(Åre "<&>')",     "日本", "中国"};
  for (const auto& name : names) {
    publish(name);
  }
  EXPECT_THAT(served_files(), SizeIs(names.size() + 1));
  for (const auto& file : served_files()) {
    EXPECT_EQ(
        file.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                               "-_./"),
        std::string::npos)
        << file;
  }
  EXPECT_THAT(databases(), ::testing::UnorderedElementsAreArray(names));
}

TEST_F(Publications, CataloguesOfOneNameKeepTheirFilesApart) {
  publish("Retail - DW", "jdbc:postgresql:other", "Other");
  const auto server = open();
  write_back(*server, "Retail");
  auto& database = server->open_database("Retail");
  server->write_back_data_source(
      database, database.data_sources().add({"Personnel", "jdbc:mariadb://hr/staff", ""}));
  add_cube(*server, database, "Staff", "Personnel");
  server->finish();
  ASSERT_THAT(catalogues(), UnorderedElementsAre(Key("Retail - DW"), Key("Retail - DW (2)"),
                                                 Key("Retail - Personnel")));
  remove("Retail - DW");
  const auto published = catalogues();
  ASSERT_THAT(published, UnorderedElementsAre(Key("Retail - DW"), Key("Retail - Personnel")));
  EXPECT_THAT(read_file(path("schemas/" + published.at("Retail - DW"))),
              HasSubstr("<Cube name=\"Sales\">"));
}

TEST_F(Publications, TwoRunsIntoDifferentDatabasesBothSucceed) {
  const auto first = open();
  const auto second = open();
  write_back(*first, "Retail");
  write_back(*second, "Stock");
  second->finish();
  first->finish();
  EXPECT_THAT(catalogues(), UnorderedElementsAre(Key("Retail"), Key("Stock")));
}

TEST_F(Publications, AFailedPublicationChangesNothing) {
  publish("Retail");
  const auto before = served();
  fs::create_directories(path("schemas/Stock.xml"));
  EXPECT_EQ(error_of([&] {
              const auto server = open();
              server->remove_database("Retail");
              write_back(*server, "Retail", "jdbc:postgresql:elsewhere");
              write_back(*server, "Stock");
              server->finish();
            }),
            "cannot write '" + fs::weakly_canonical(path("schemas/Stock.xml")).string() +
                "': Is a directory");
  EXPECT_EQ(served(), before);
  EXPECT_THAT(databases(), ElementsAre("Retail"));
}

TEST_F(Publications, TheListThatCannotBeWrittenFailsTheRun) {
  fs::create_directories(path("datasources.xml"));
  const auto canonical = fs::weakly_canonical(directory()).string();
  EXPECT_EQ(error_of([&] { publish("Retail"); }),
            "cannot write '" + canonical + "/datasources.xml': Is a directory");
  EXPECT_THAT(databases(), IsEmpty());
  EXPECT_THAT(served_files(), IsEmpty());
}

TEST_F(Publications, AFileInThePlaceOfTheFolderOfSchemasFailsTheRun) {
  open();
  std::ofstream(path("schemas")) << "no folder";
  EXPECT_THAT(error_of([&] { publish("Retail"); }), StartsWith("cannot write '"));
  EXPECT_THAT(databases(), IsEmpty());
}

TEST_F(Publications, AFileInThePlaceOfTheDirectoryIsAnError) {
  std::ofstream(directory()) << "no folder";
  EXPECT_THAT(error_of([&] { open(); }), StartsWith("cannot make the folder '"));
}

TEST_F(Publications, WhatWasLeftBesideIsMendedByTheNextOpening) {
  publish("Retail");
  publish("Stock");
  const auto before = served_files();
  std::ofstream(path("schemas/Retail.xml.new")) << "<?xml version=\"1.0\" enc";
  std::ofstream(path("datasources.xml")) << "older";
  open(ServerAccess::read_only);
  EXPECT_THAT(served_files(), SizeIs(before.size() + 1));
  open();
  EXPECT_EQ(served_files(), before);
  EXPECT_THAT(catalogues(), UnorderedElementsAre(Key("Retail"), Key("Stock")));
}

TEST_F(Publications, AMissingListIsPublishedAgain) {
  publish("Retail");
  const auto before = served_files();
  fs::remove(path("datasources.xml"));
  fs::remove_all(path("schemas"));
  open();
  EXPECT_EQ(served_files(), before);
}

TEST_F(Publications, AMissingSchemaIsPublishedAlongWithTheNextDatabase) {
  publish("Retail");
  fs::remove(path("schemas/Retail.xml"));
  publish("Stock");
  EXPECT_THAT(served_files(),
              ElementsAre("datasources.xml", "schemas/Retail.xml", "schemas/Stock.xml"));
}

TEST_F(Publications, LookingCreatesNothing) {
  EXPECT_NE(error_of([&] { open(ServerAccess::read_only); }), "none");
  EXPECT_FALSE(fs::exists(directory()));
}

TEST_F(Publications, ACubeThatCannotBeExpressedIsLeftOutWithItsReason) {
  const auto server = open();
  write_back(*server, "Retail");
  auto& database = server->open_database("Retail");
  auto& dimension = database.dimensions().add_new("Region");
  dimension.from_clause = R"("region")";
  dimension.levels.add_new("Country").member_key_column = R"("region"."country")";
  server->write_back_dimension(database, dimension);
  add_cube(*server, database, "Torn", "DW");
  auto& torn = *database.cubes().edit("Torn");
  database.add_cube_dimension(torn, "Region");
  server->write_back_cube(database, torn);
  EXPECT_FALSE(server->structure_is_valid(database, torn));
  EXPECT_TRUE(server->structure_is_valid(database, *database.cubes().find("Sales")));
  EXPECT_THAT(
      server->take_messages(),
      ElementsAre("Cube 'Torn' cannot be published: dimension 'Region': no equality ties its "
                  "tables \"region\" to the fact table in the cube's join clause"));
  server->finish();
  EXPECT_THAT(server->take_messages(), IsEmpty());
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"Sales\">"));
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), Not(HasSubstr("<Cube name=\"Torn\">")));
}

TEST_F(Publications, ACubeThatCannotBeReadIsNeitherValidNorInvalid) {
  const auto server = open();
  const auto unreadable = unreadable_database();
  EXPECT_EQ(error_of([&] {
              server->structure_is_valid(*unreadable, *unreadable->cubes().find("Sales"));
            }),
            "disk I/O error");
  EXPECT_THAT(server->take_messages(), IsEmpty());
}

/// Takes away what ties a cube to what can be served.
void spoil(OlapServer& server, OlapDatabase& database, const std::string& cube) {
  auto& spoilt = *database.cubes().edit(cube);
  spoilt.measures.remove("Amount");
  server.write_back_cube(database, spoilt);
}

TEST_F(Publications, ADatabaseWithoutAServableCubeIsNoCatalogue) {
  publish("Retail");
  publish("Stock");
  const auto server = open();
  spoil(*server, server->open_database("Retail"), "Sales");
  server->finish();
  EXPECT_THAT(server->take_messages(),
              ElementsAre("Cube 'Sales' cannot be published: it has no measure"));
  EXPECT_THAT(catalogues(), ElementsAre(Pair("Stock", "Stock.xml")));
  EXPECT_THAT(served_files(), ElementsAre("datasources.xml", "schemas/Stock.xml"));
  EXPECT_THAT(databases(), UnorderedElementsAre("Retail", "Stock"));
  const auto next = open();
  write_back(*next, "Payroll");
  next->finish();
  EXPECT_THAT(next->take_messages(), IsEmpty());
  EXPECT_THAT(catalogues(), UnorderedElementsAre(Key("Payroll"), Key("Stock")));
}

TEST_F(Publications, ADataSourceWithoutAServableCubeLeavesTheOthersAsTheyAre) {
  const auto server = open();
  write_back(*server, "Retail");
  auto& database = server->open_database("Retail");
  server->write_back_data_source(
      database, database.data_sources().add({"Personnel", "jdbc:mariadb://hr/staff", ""}));
  add_cube(*server, database, "Staff", "Personnel");
  spoil(*server, database, "Staff");
  server->finish();
  const auto published = catalogues();
  ASSERT_THAT(published, ElementsAre(Key("Retail - DW")));
  const auto file = "schemas/" + published.at("Retail - DW");
  const auto before = served().at(file);
  publish("Stock");
  EXPECT_THAT(catalogues(), UnorderedElementsAre(Key("Retail - DW"), Key("Stock")));
  EXPECT_EQ(served().at(file), before);
}

TEST_F(Publications, DescriptionsOfDatabaseAndCubeReachTheSchema) {
  const auto server = open();
  write_back(*server, "Retail");
  auto& database = server->open_database("Retail");
  database.description = "Shops & stock";
  server->write_back_database(database);
  auto& cube = *database.cubes().edit("Sales");
  cube.description = "What's sold";
  server->write_back_cube(database, cube);
  server->finish();
  const auto schema = read_file(path("schemas/Retail.xml"));
  EXPECT_THAT(schema, HasSubstr("<Schema name=\"Retail\" description=\"Shops &amp; stock\">"));
  EXPECT_THAT(schema, HasSubstr("<Cube name=\"Sales\" description=\"What's sold\">"));
}

TEST_F(Publications, AVirtualDimensionWithoutACubeIsNotPublishedAndToldSo) {
  const auto server = open();
  write_back(*server, "Retail");
  auto& database = server->open_database("Retail");
  for (const std::string name : {"Brand", "Colour"}) {
    auto& dimension = database.dimensions().add_new(name);
    dimension.kind = OlapDimensionKind::is_virtual;
    dimension.levels.add_new("Level").member_key_column = R"("sales"."maker")";
    server->write_back_dimension(database, dimension);
  }
  database.dimensions().add_new("Unused");
  auto& cube = *database.cubes().edit("Sales");
  database.add_cube_dimension(cube, "Colour");
  server->write_back_cube(database, cube);
  server->finish();
  EXPECT_THAT(server->take_messages(),
              ElementsAre("Virtual dimension 'Brand' is not published: no cube has it, and the "
                          "engine knows dimensions by their cubes"));
  const auto schema = read_file(path("schemas/Retail.xml"));
  EXPECT_THAT(schema, HasSubstr("<Dimension name=\"Colour\""));
  EXPECT_THAT(schema, Not(HasSubstr("Brand")));
}

TEST_F(Publications, AKeptCopyIsPublishedWhenItIsRestored) {
  publish("Retail", "jdbc:postgresql:dw", "Old");
  remove("Retail");
  const auto restored = restore("retail");
  EXPECT_EQ(restored.copy.name, "Retail");
  EXPECT_THAT(databases(), ElementsAre("Retail"));
  EXPECT_THAT(catalogues(), ElementsAre(Pair("Retail", "Retail.xml")));
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"Old\">"));
}

TEST_F(Publications, ACopyThatCannotBePublishedIsNotRestored) {
  publish("Retail");
  remove("Retail");
  const auto before = served();
  fs::create_directories(path("schemas/Retail.xml"));
  EXPECT_THAT(error_of([&] { restore("Retail"); }), StartsWith("cannot write '"));
  fs::remove(path("schemas/Retail.xml"));
  EXPECT_THAT(databases(), IsEmpty());
  EXPECT_EQ(served(), before);
  restore("Retail");
  EXPECT_THAT(databases(), ElementsAre("Retail"));
}

TEST_F(Publications, CopiesOfNoDirectoryCreateNothing) {
  EXPECT_THAT(error_of([&] { restore("Retail"); }), ::testing::EndsWith("no such file"));
  EXPECT_FALSE(fs::exists(directory()));
}

}  // namespace
}  // namespace importkcd::testing
