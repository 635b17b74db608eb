#include "mondrian/publication/catalogues.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Catalogues : public testing::MappingTest {
 protected:
  /// Name, address and cubes of the catalogues.
  std::vector<std::string> catalogues() {
    remarks.clear();
    std::vector<std::string> result;
    for (const auto& catalogue : catalogues_of(database, remarks)) {
      auto text = catalogue.name + " at " + catalogue.connection.url + ":";
      for (const auto* cubes : {&catalogue.cubes, &catalogue.virtual_cubes}) {
        for (const auto& cube : *cubes) {
          text += " " + cube;
        }
      }
      result.push_back(text);
    }
    return result;
  }

  void add_data_source(const std::string& name, const std::string& connection_string) {
    database.data_sources().add_new(name).connection_string = connection_string;
  }
  void add(const std::string& cube, const std::string& data_source) {
    database.add_cube(cube, OlapCubeKind::regular).data_source = data_source;
  }
};

TEST_F(Catalogues, ADatabaseOfOneDataSourceIsOneOfItsName) {
  add("A", "DW");
  add("B", "dw");
  EXPECT_THAT(catalogues(), ElementsAre("Shops at jdbc:postgresql://host/dw: A B"));
}

TEST_F(Catalogues, ADatabaseOfSeveralIsOneForEachOfThem) {
  add_data_source("HR's", "jdbc:postgresql://host/hr");
  add("A", "DW");
  add("P", "hr's");
  add("B", "DW");
  EXPECT_THAT(catalogues(), ElementsAre("Shops - DW at jdbc:postgresql://host/dw: A B",
                                        "Shops - HR's at jdbc:postgresql://host/hr: P"));
}

TEST_F(Catalogues, DataSourcesThatMeanTheSameAreOne) {
  add_data_source("Again", "jdbc:postgresql://host/dw");
  add("A", "DW");
  add("B", "Again");
  EXPECT_THAT(catalogues(), ElementsAre("Shops at jdbc:postgresql://host/dw: A B"));
}

TEST_F(Catalogues, AVirtualCubeIsWhereItsFirstMeasureIs) {
  add_data_source("HR", "jdbc:postgresql://host/hr");
  add("A", "DW");
  add("P", "HR");
  database.add_cube("V", OlapCubeKind::is_virtual).measures.add(testing::measure("M", "[p].[M]"));
  EXPECT_THAT(catalogues(), ElementsAre("Shops - DW at jdbc:postgresql://host/dw: A",
                                        "Shops - HR at jdbc:postgresql://host/hr: P V"));
}

TEST_F(Catalogues, CubesWhoseDataSourceMeansNoDatabaseAreInNone) {
  add_data_source("File", "Provider=Microsoft.Jet.OLEDB.4.0;Password=secret");
  add("A", "File");
  add("B", "");
  EXPECT_THAT(catalogues(), IsEmpty());
  EXPECT_THAT(remarks,
              ElementsAre("Cube 'A' cannot be published: data source 'File': the connection text "
                          "names no kind of database that the engine can reach: SQL Server, "
                          "PostgreSQL, MariaDB, or an address that begins with 'jdbc:'",
                          "Cube 'B' cannot be published: it has no data source"));
}

TEST_F(Catalogues, ADatabaseWithoutCubesIsNone) { EXPECT_THAT(catalogues(), IsEmpty()); }

TEST(SchemaFileName, IsTheNameWhenThatIsPlain) {
  EXPECT_EQ(schema_file_name("Retail_2025-A", ""), "Retail_2025-A.xml");
}

TEST(SchemaFileName, HoldsNothingThatAFileSystemWouldTakeForItsOwn) {
  for (const auto* name : {"../../etc/passwd", "a/b", ".", "..", "a\\b", "a:b", "a b", "", "-rf ~",
                           "売上", "a\nb", "con.xml"}) {
    const auto file = schema_file_name(name, "");
    EXPECT_EQ(
        file.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                               "-_"),
        file.size() - 4)
        << file;
    EXPECT_TRUE(file.ends_with(".xml"));
  }
}

TEST(SchemaFileName, DifferentNamesHaveDifferentFiles) {
  const std::string long_name(300, 'x');
  std::set<std::string> files;
  const std::vector<std::string> names{
      "a b", "a/b", "a_b", "a.b", "売上", "売下", long_name, long_name + "y", std::string(80, 'x')};
  for (const auto& name : names) {
    const auto file = schema_file_name(name, "");
    files.insert(file);
    EXPECT_LT(file.size(), 120U);
  }
  EXPECT_EQ(files.size(), names.size());
  const auto taken = schema_file_name("a b", "");
  EXPECT_NE(schema_file_name(taken.substr(0, taken.size() - 4), ""), taken);
  EXPECT_NE(schema_file_name("a", "b"), schema_file_name("a", "c"));
  EXPECT_NE(schema_file_name("a", "b"), schema_file_name("a b", ""));
}

}  // namespace
}  // namespace importkcd
