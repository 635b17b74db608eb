#include "exporter/kcd_export.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/database_text.h"
#include "tests/support/document_generator.h"
#include "tests/support/import_fixture.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_document.h"

namespace importkcd {
namespace {

using testing::bare_document;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::known_version;
using ::testing::Not;

ImportOptions with_partitions(std::int32_t type = import_type::replace) {
  ImportOptions options;
  options.ImportType = type;
  options.import_partitions = true;
  options.import_virtual_objects = true;
  return options;
}

/// A server in memory of a test's own.
struct Server {
  std::shared_ptr<MemoryStorage> storage = make_memory_store();

  testing::ImportResult import(const std::string& document,
                               std::int32_t type = import_type::replace) const {
    return testing::import_text(document, with_partitions(type), storage);
  }

  /// Changes a stored database and stores the result.
  template <class Change>
  void change(Change change) const {
    const auto server = testing::connected_server(storage);
    auto& database = server->open_database(server->stored_objects().front().name);
    change(*server, database);
    server->finish();
  }

  ExportedDocument exported(Passwords passwords = Passwords::written) const {
    const auto server = testing::connected_server(storage);
    return export_document(server->open_database(server->stored_objects().front().name), passwords);
  }

  std::string text() const {
    const auto server = testing::connected_server(storage);
    return testing::server_text(*server);
  }
};

/// Imports the document that a server exports into an empty server.
void expect_to_come_back_equal(const Server& original) {
  const auto document = original.exported().text;
  const Server again;
  const auto result = again.import(document);
  EXPECT_TRUE(result.succeeded) << result.last_error << '\n' << document;
  EXPECT_EQ(again.text(), original.text()) << document;
}

TEST(KcdExport, TheWholeDocumentComesBackEqual) {
  const Server server;
  ASSERT_TRUE(server.import(testing::whole_document()).succeeded);
  expect_to_come_back_equal(server);
}

TEST(KcdExport, EveryExampleComesBackEqual) {
  int imported = 0;
  for (const auto& entry : std::filesystem::directory_iterator(EXAMPLES_FOLDER)) {
    const Server server;
    if (entry.path().extension() != ".kcd" ||
        !server.import(testing::read_file(entry.path())).succeeded) {
      continue;
    }
    SCOPED_TRACE(entry.path().filename().string());
    ++imported;
    expect_to_come_back_equal(server);
  }
  EXPECT_GE(imported, 4);
}

/// The first of a hundred seeds.
class GeneratedDocuments : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(GeneratedDocuments, ComeBackEqual) {
  int imported = 0;
  for (auto seed = GetParam(); seed < GetParam() + 100; ++seed) {
    testing::GeneratorOptions options;
    options.seed = seed;
    options.cubes = 3;
    options.virtual_dimensions = 1;
    options.virtual_cubes = 1;
    options.odd_percentage = seed % 4 == 0 ? 1 : 0;
    const Server server;
    if (!server.import(testing::generate_document(options)).succeeded) {
      continue;
    }
    SCOPED_TRACE(seed);
    ++imported;
    expect_to_come_back_equal(server);
    if (HasFailure()) {
      return;
    }
  }
  EXPECT_GE(imported, 75);
}

INSTANTIATE_TEST_SUITE_P(Seeds, GeneratedDocuments, ::testing::Range(0U, 2000U, 100U));

TEST(KcdExport, WritesAttributesOnLinesThatFitAndQuotesThatNeedNoReferences) {
  const Server server;
  ASSERT_TRUE(server
                  .import(bare_document(known_version, "Shop",
                                        R"(<library><data_sources>
      <data_source name="W" description="" connection_string="Provider=P;Data Source=H"/>
      </data_sources><shared_dimensions>
      <shared_dimension name="It@#$%s" type="time" description="" data_source="W"
        from_clause='"calendar"' join_clause="" schema_layout="calendar:40,40">
      <levels/></shared_dimension></shared_dimensions></library><cubes/>)"))
                  .succeeded);
  EXPECT_EQ(server.exported().text, R"(<?xml version="1.0" encoding="UTF-8"?>
<database version="1.0.1073" name="Shop" description="">
  <library>
    <data_sources>
      <data_source name="W" description="" connection_string="Provider=P;Data Source=H"/>
    </data_sources>
    <shared_dimensions>
      <shared_dimension name="It's" type="time" description="" data_source="W"
          from_clause='"calendar"' join_clause="" schema_layout="calendar:40,40">
        <levels/>
      </shared_dimension>
    </shared_dimensions>
    <roles/>
  </library>
  <cubes/>
</database>
)");
}

/// A database whose only data source has this connection string.
Server server_with_connection(const std::string& connection_string) {
  Server server;
  EXPECT_TRUE(server
                  .import(bare_document(known_version, "Shop",
                                        "<library><data_sources><data_source name='A--B' "
                                        "connection_string='x'/></data_sources></library>"))
                  .succeeded);
  server.change([&](OlapServer& olap, OlapDatabase& database) {
    auto& source = *database.data_sources().edit("A--B");
    source.connection_string = connection_string;
    olap.write_back_data_source(database, source);
  });
  return server;
}

TEST(KcdExport, WritesNumbersOfRowsWithoutAnExponentAsLongAsThatIsReadable) {
  const Server server;
  ASSERT_TRUE(server.import(testing::whole_document()).succeeded);
  EXPECT_THAT(server.exported().text, HasSubstr("estimated_rows=\"1000000\""));
}

TEST(KcdExport, LeavesPasswordsOutAndSaysSoInAComment) {
  const auto server =
      server_with_connection(R"(Provider=P;Password="a;b";Data Source=H;PWD=geheim)");
  const auto document = server.exported(Passwords::left_out);
  EXPECT_THAT(document.text, HasSubstr("connection_string=\"Provider=P;Data Source=H\""));
  EXPECT_THAT(document.text, Not(HasSubstr("geheim")));
  EXPECT_THAT(
      document.text,
      HasSubstr("<!-- The passwords of these data sources are left out: 'A- - B' -->\n<database"));
  EXPECT_THAT(document.without_password, ::testing::ElementsAre("A--B"));
  const Server again;
  EXPECT_TRUE(again.import(document.text).succeeded);
}

TEST(KcdExport, WritesPasswordsWhenAsked) {
  const auto server = server_with_connection("Provider=P;Password=geheim");
  const auto document = server.exported(Passwords::written);
  EXPECT_THAT(document.text, HasSubstr("Password=geheim"));
  EXPECT_THAT(document.text, Not(HasSubstr("<!--")));
  EXPECT_THAT(document.without_password, IsEmpty());
}

TEST(KcdExport, KeepsLineEndsTabsMarkupAndAnyScript) {
  const auto server = server_with_connection("a\r\n\tb <&> \" ' \xE2\x82\xAC \xF0\x9F\x93\xA6 ]]>");
  expect_to_come_back_equal(server);
}

TEST(KcdExport, RefusesATextThatCannotStandInXml) {
  const std::vector<std::pair<std::string, std::string>> texts = {
      {"a\x01z", "a z"},
      {"a\xFFz", "a\xFFz"},
      {"a\xEF\xBF\xBEz", "a\xEF\xBF\xBEz"},
      {std::string("a\0z", 3), "a z"}};
  for (const auto& [text, shown] : texts) {
    const auto server = server_with_connection(text);
    EXPECT_THAT([&] { server.exported(); }, ::testing::ThrowsMessage<ImportError>(::testing::StrEq(
                                                "'" + shown + "' cannot stand in an XML file")));
  }
}

TEST(KcdExport, WritesOnlyTheLevelsInWhichACubeDiffersFromItsDimension) {
  const Server server;
  ASSERT_TRUE(server.import(testing::whole_document()).succeeded);
  const auto document = server.exported().text;
  EXPECT_THAT(document, HasSubstr("<cube_level_reference name=\"Month\" "
                                  "member_key_column=\"sales.m\" disabled=\"true\"/>"));
  EXPECT_THAT(document, HasSubstr(R"(        <cube_dimension_reference name="Product">
          <cube_levels_reference/>
)"));
}

TEST(KcdExport, WritesALevelThatOnlyTheCubeUses) {
  const Server server;
  ASSERT_TRUE(server.import(testing::whole_document()).succeeded);
  server.change([](OlapServer& at, OlapDatabase& database) {
    auto& dimension = *database.dimensions().edit("Product");
    dimension.levels.edit("Product")->disabled = true;
    at.write_back_dimension(database, dimension);
  });
  EXPECT_THAT(server.exported().text, HasSubstr("<cube_level_reference name=\"Product\""));
}

TEST(KcdExport, WritesVirtualDimensionsAndVirtualCubesAsTheirImportersReadThem) {
  const Server server;
  ASSERT_TRUE(server.import(testing::whole_document()).succeeded);
  server.change([](OlapServer& olap, OlapDatabase& database) {
    OlapDimension dimension;
    dimension.name = "Colour of goods";
    dimension.kind = OlapDimensionKind::is_virtual;
    OlapLevel all;
    all.name = "(All)";
    all.type = OlapLevelType::all;
    all.member_key_column = "All";
    dimension.levels.add(all);
    OlapLevel colour;
    colour.name = "Colour";
    colour.column_type = 130;
    colour.member_key_column = R"("product"."colour")";
    colour.member_name_column = R"("product"."colour_name")";
    colour.ordering = OlapOrdering::key;
    dimension.levels.add(colour);
    olap.write_back_dimension(database, database.dimensions().add(dimension));
    auto& cube = database.add_cube("Both kinds", OlapCubeKind::is_virtual);
    cube.measures.add_new("Amount").source_column = "[Sales].[Amount]";
    database.add_cube_dimension(cube, "Time");
    olap.write_back_database(database);
  });
  const auto document = server.exported().text;
  EXPECT_THAT(
      document,
      HasSubstr(R"x(      <virtual_dimension name="Colour of goods" type="regular" description="">
        <levels>
          <level name="(All)" member_key_column="All"/>
          <level name="Colour" column_type="130" description=""
              member_key_column='"product"."colour"' member_name_column='"product"."colour_name"'
              ordering="key"/>
        </levels>
      </virtual_dimension>
)x"));
  EXPECT_THAT(document, HasSubstr(R"(    <virtual_cube name="Both kinds">
      <measure_references>
        <measure_reference name="Amount" source_column="[Sales].[Amount]"/>
      </measure_references>
      <dimension_references>
        <dimension_reference name="Time"/>
      </dimension_references>
      <cube_roles/>
    </virtual_cube>
)"));
}

}  // namespace
}  // namespace importkcd
