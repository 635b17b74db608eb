#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "importer/sections.h"
#include "tests/importer/changed_text.h"
#include "tests/importer/dimensions_fixture.h"

namespace importkcd::testing {

inline const std::string country =
    R"(<level name="Country" type="regular" column_size="50" column_type="130" description="The country" estimated_size="12" member_key_column="store.country" member_name_column="store.country_name" ordering="key" unique_items="true"/>)";

/// A dimension with these levels.
inline std::string dimension_text(const std::string& name, const std::string& levels) {
  return R"(<shared_dimension name=")" + name +
         R"(" description="Where it was sold" type="time" data_source="Warehouse" from_clause="store" join_clause="a=b" schema_layout="star"><levels>)" +
         levels + "</levels></shared_dimension>";
}

inline std::string collection(const std::string& dimensions) {
  return "<shared_dimensions>" + dimensions + "</shared_dimensions>";
}

inline std::vector<std::string> names_of(const NamedCollection<OlapLevel>& levels) {
  std::vector<std::string> names;
  for (const auto& level : levels) {
    names.push_back(level.name);
  }
  return names;
}

/// Runs the section on a database that has the data source "Warehouse".
class SharedDimensionsTest : public DimensionsTest {
 protected:
  void import(const std::string& dimensions) {
    given_data_source("Warehouse");
    ImportSharedDimensions(run(), &parse(collection(dimensions)));
  }

  void given_data_source(const std::string& name) {
    if (!database().data_sources().contains(name)) {
      OlapDataSource data_source;
      data_source.name = name;
      server().write_back_data_source(database(), database().data_sources().add(data_source));
    }
  }

  /// Puts a dimension with the level "Old level" on the server, as an earlier run would have.
  void given(const std::string& name) {
    given_data_source("Warehouse");
    OlapDimension dimension;
    dimension.name = name;
    dimension.description = "old description";
    dimension.data_source = "Warehouse";
    dimension.custom_properties.add(OlapProperty{"Other", "kept"});
    dimension.custom_properties.add(OlapProperty{"SchemaLayout", "old layout"});
    OlapLevel level;
    level.name = "Old level";
    dimension.levels.add(level);
    server().write_back_dimension(database(), database().dimensions().add(dimension));
    store_and_reopen();
  }

  /// Imports a new dimension "Store" of one level and gives that level as the server keeps it.
  OlapLevel imported_level(const std::string& level_text) {
    import(dimension_text("Store", level_text));
    expect_no_error();
    return only_level_of("Store");
  }

  void expect_unchanged(std::string_view name) {
    const auto found = stored(name);
    EXPECT_EQ(found.name, name);
    EXPECT_EQ(found.description, "old description");
    EXPECT_EQ(found.type, OlapDimensionType::regular);
    EXPECT_EQ(found.from_clause, "");
    ASSERT_EQ(found.custom_properties.size(), 2U);
    EXPECT_EQ(found.custom_properties[1].value, "old layout");
    EXPECT_FALSE(found.allow_siblings_with_same_name);
    EXPECT_THAT(names_of(found.levels), ::testing::ElementsAre("Old level"));
  }
};

}  // namespace importkcd::testing
