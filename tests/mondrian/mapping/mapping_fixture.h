#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "base/xml_element.h"
#include "model/olap_database.h"
#include "mondrian/mapping/cube_mapping.h"

namespace importkcd::testing {

/// What is different about a level; the rest is that of a new level.
inline OlapLevel level(const std::string& name, const std::string& key,
                       const std::string& member_name = {}) {
  OlapLevel result;
  result.name = name;
  result.member_key_column = key;
  result.member_name_column = member_name;
  result.column_type = 130;
  result.ordering = OlapOrdering::key;
  return result;
}

inline OlapLevel all_level(const std::string& member = "All") {
  auto result = level("(All)", member);
  result.type = OlapLevelType::all;
  return result;
}

inline OlapMeasure measure(const std::string& name, const std::string& source_column,
                           OlapAggregateFunction function = OlapAggregateFunction::sum) {
  OlapMeasure result;
  result.name = name;
  result.source_column = source_column;
  result.aggregate_function = function;
  return result;
}

/// Calls `step` and gives the description of the ImportError that it throws; the text "nothing was
/// thrown" when it throws none.
template <class Step>
std::string reason_of(const Step& step) {
  try {
    step();
  } catch (const ImportError& error) {
    return error.description();
  }
  return "nothing was thrown";
}

/// The dimensions of a database that cannot be read just now.
class UnreadableDimensions : public ObjectSource<OlapDimension> {
 public:
  bool contains(std::string_view /*name*/) override { return true; }
  std::optional<OlapDimension> load(std::string_view /*name*/) override {
    throw ImportError("disk I/O error", error_source::olap_server);
  }
  std::vector<std::string> names() override { return {"Store"}; }
};

/// A database that could be served, with the cube "Sales", if its dimensions could be read.
inline std::unique_ptr<OlapDatabase> unreadable_database() {
  DatabaseSources sources;
  sources.dimensions = std::make_unique<UnreadableDimensions>();
  auto database = std::make_unique<OlapDatabase>("Shops", "", std::move(sources));
  database->data_sources().add_new("DW").connection_string = "jdbc:postgresql://host/dw";
  auto& cube = database->add_cube("Sales", OlapCubeKind::regular);
  cube.data_source = "DW";
  cube.fact_table = "sales";
  cube.from_clause = "sales";
  cube.dimensions.add({"Store", {}});
  cube.measures.add(measure("Amount", "amount"));
  return database;
}

/// A fixture with an empty database that has the data source "DW", a PostgreSQL. Tests define
/// dimensions and cubes, and look at their elements.
class MappingTest : public ::testing::Test {
 protected:
  MappingTest() {
    database.data_sources().add_new("DW").connection_string = "jdbc:postgresql://host/dw";
  }

  OlapDimension& add_dimension(const std::string& name, const std::string& from_clause,
                               std::vector<OlapLevel> levels, const std::string& join_clause = {}) {
    auto& dimension = database.dimensions().add_new(name);
    dimension.data_source = "DW";
    dimension.from_clause = from_clause;
    dimension.join_clause = join_clause;
    for (auto& one : levels) {
      dimension.levels.add(std::move(one));
    }
    return dimension;
  }

  /// A cube of dimensions that were added before, with one measure.
  OlapCube& add_cube(const std::string& name, const std::string& fact_table,
                     const std::string& from_clause, const std::string& join_clause,
                     const std::vector<std::string>& dimensions) {
    auto& cube = database.add_cube(name, OlapCubeKind::regular);
    cube.data_source = "DW";
    cube.fact_table = fact_table;
    cube.from_clause = from_clause;
    cube.join_clause = join_clause;
    for (const auto& dimension : dimensions) {
      database.add_cube_dimension(cube, dimension);
    }
    cube.measures.add(measure("Amount", fact_table + ".\"amount\""));
    restore_own_partition(cube);
    return cube;
  }

  /// The star that most tests start from: facts with a store and a column of their own.
  OlapCube& add_sales() {
    add_dimension("Store", R"("store")", {level("City", R"("store"."city")")});
    return add_cube("Sales", R"("sales")", R"("sales", "store")",
                    R"("sales"."store_id" = "store"."store_id")", {"Store"});
  }

  MappedCube map(const OlapCube& cube) {
    DataSourceConnections connections(database);
    RelationAliases aliases;
    remarks.clear();
    return map_cube(database, cube, connections, aliases, remarks);
  }

  /// The XML of a cube's first dimension.
  std::string dimension_xml(const OlapCube& cube) {
    return xml_text(map(cube).dimensions.at(0).mapped.element);
  }
  std::string fact_xml(const OlapCube& cube) { return xml_text(map(cube).fact); }
  /// Why a cube cannot be expressed.
  std::string fault_of(const OlapCube& cube) {
    return reason_of([&] { map(cube); });
  }

  OlapDatabase database{"Shops", "", {}};
  std::vector<std::string> remarks;
};

}  // namespace importkcd::testing
