#pragma once

#include <string>
#include <utility>
#include <vector>

#include "importer/sections.h"
#include "tests/importer/cube_fixture.h"

namespace importkcd::testing {

using ::testing::IsEmpty;

inline const std::string no_parts =
    "<cube_dimensions/><cube_measures/><cube_calculated_members/><cube_roles/>";

inline const std::string sales_attributes =
    R"(<cube name="Sales" description="All sales" data_source="Sales DW" fact_table="sales_fact")"
    R"( aggregation_prefix="S_" from_clause="from s" join_clause="s = t" schema_layout="layout")"
    R"( olap_mode="olapmodeHybridIndex" estimated_rows="1.5E3">)";

inline std::string reference(const std::string& dimension) {
  return "<cube_dimension_reference name=\"" + dimension +
         "\"><cube_levels_reference/></cube_dimension_reference>";
}

inline std::string measure(const std::string& name) {
  return "<cube_measure name=\"" + name +
         "\" description='' format='' source_column='' internal='false'"
         " aggregate_function='sum'/>";
}

/// A cube element with these child elements.
inline std::string cube_with(const std::string& name, const std::string& parts) {
  return with_attribute(sales_attributes, "name", name) + parts + "</cube>";
}

/// The parts of a valid cube with the shared dimension "Time" and the measure "Amount".
inline std::string valid_parts(const std::string& dimension = "Time") {
  return "<cube_dimensions>" + reference(dimension) + "</cube_dimensions><cube_measures>" +
         measure("Amount") + "</cube_measures><cube_calculated_members/><cube_roles/>";
}

inline std::string valid_cube(const std::string& name) { return cube_with(name, valid_parts()); }

/// A partition with a slice on the level "Year" of "Time".
inline std::string partition(const std::string& name, const std::string& year) {
  return "<cube_partition name=\"" + name +
         "\" fact_table='part' aggregation_prefix='' from_clause='' join_clause=''"
         " datasource='Sales DW' olap_mode='' readwrite=''><partition_dimensions>"
         "<partition_dimension name='Time'><partition_levels><partition_level name='Year'"
         " member_key_column='y' slice_value=\"" +
         year +
         "\"/></partition_levels></partition_dimension></partition_dimensions></cube_partition>";
}

/// Parts of every kind: a private and a shared dimension, two measures, a calculated member, a role
/// and two partitions, one of which is the cube's own.
inline std::string all_parts(const std::string& cube) {
  return R"(<cube_dimensions><cube_dimension name="Promotion" description="" type="regular")"
         R"( data_source="Sales DW" from_clause="" join_clause=""><cube_levels><cube_level)"
         R"( name="Media" type="regular" column_size="1" column_type="2" description="")"
         R"( estimated_size="3" member_key_column="k" member_name_column="n" ordering="key")"
         R"( unique_items="true"/></cube_levels></cube_dimension>)" +
         reference("Time") + "</cube_dimensions><cube_measures>" + measure("Amount") +
         measure("Units") +
         "</cube_measures><cube_calculated_members><member name='Profit'"
         " statement='[Profit] AS 1'/></cube_calculated_members><cube_roles>"
         "<cube_role name='Analysts' permissions='R'/></cube_roles><cube_partitions>" +
         partition(cube, "1997") + partition("1998", "1998") + "</cube_partitions>";
}

/// Runs the whole section.
class CubesTest : public CubeTest {
 protected:
  /// Imports cube elements and records from there on.
  void import(const std::string& cubes) {
    timeline.clear();
    sink.messages.clear();
    import_cubes(run(), &parse("<cubes>" + cubes + "</cubes>"));
  }

  /// The same as a run of its own: its result is stored and the database opened again.
  void import_as_run(const std::string& cubes) {
    import(cubes);
    const auto messages = sink.messages;
    store_and_reopen();
    sink.messages = messages;
  }

  std::string import_error(const std::string& cubes) {
    return error_of([&] { import(cubes); });
  }

  /// A cube that a former run left on the server, with parts of every kind.
  void given_stored_cube(const std::string& name = "Sales") {
    const auto import_type = std::exchange(options.ImportType, import_type::incremental);
    const auto partitions = std::exchange(options.import_partitions, true);
    import_as_run(cube_with(name, all_parts(name)));
    options.ImportType = import_type;
    options.import_partitions = partitions;
    timeline.clear();
    sink.messages.clear();
    ASSERT_TRUE(outcome.succeeded) << outcome.last_error;
  }

  /// A virtual cube that a former run left on the server.
  void given_stored_virtual_cube(const std::string& name) {
    database().add_cube(name, OlapCubeKind::is_virtual).description = "virtual";
    server().write_back_database(database());
    store_and_reopen();
    timeline.clear();
  }

  const OlapCube& cube(const std::string& name) {
    static const OlapCube none;
    const auto* found = database().cubes().find(name);
    EXPECT_NE(found, nullptr) << name;
    return found == nullptr ? none : *found;
  }

  /// The operations and messages from the start of the update of a fully stored "Sales" up to and
  /// with its removal of content.
  static std::vector<std::string> emptying_of_sales(std::size_t steps) {
    std::vector<std::string> all = {"Creating cubes",
                                    "Searching cube 'Sales'",
                                    "Updating cube 'Sales'",
                                    "lock_cube Sales",
                                    "remove_first dimensions Sales",
                                    "remove_first dimensions Sales",
                                    "remove_first measures Sales",
                                    "remove_first measures Sales",
                                    "remove_first calculated_members Sales",
                                    "remove_first roles Sales",
                                    "remove_first data_sources Sales",
                                    "remove_first partitions Sales",
                                    "remove_first partitions Sales"};
    all.resize(steps);
    return all;
  }
};

}  // namespace importkcd::testing
