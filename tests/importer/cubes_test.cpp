#include <functional>

#include "tests/importer/cubes_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Cubes = CubesTest;

// The section and its elements.

TEST_F(Cubes, AbsentCollectionYieldsOnlyTheHeading) {
  import_cubes(run(), nullptr);
  EXPECT_THAT(timeline, ElementsAre("Creating cubes"));
  EXPECT_TRUE(outcome.succeeded);
}

TEST_F(Cubes, EmptyCollectionYieldsOnlyTheHeading) {
  import("<!-- none -->");
  EXPECT_THAT(timeline, ElementsAre("Creating cubes"));
}

TEST_F(Cubes, ChildElementsOfAnyTagAreCubesInDocumentOrder) {
  auto other = valid_cube("B");
  other.replace(other.find("<cube"), 5, "<other");
  other.replace(other.rfind("</cube>"), 7, "</other>");
  import(other + "<!-- a comment --><?hint?>" + valid_cube("A"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'B'", "Creating cube 'B'",
                          "Searching cube 'A'", "Creating cube 'A'"));
  EXPECT_THAT(database().cubes().names(), ElementsAre("B", "A"));
}

// New cubes.

TEST_F(Cubes, NewCubeGetsEveryProperty) {
  import(valid_cube("Sales"));
  const auto& made = cube("Sales");
  EXPECT_EQ(made.name, "Sales");
  EXPECT_EQ(made.kind, OlapCubeKind::regular);
  EXPECT_EQ(made.description, "All sales");
  EXPECT_EQ(made.data_source, "Sales DW");
  EXPECT_EQ(made.fact_table, "sales_fact");
  EXPECT_EQ(made.aggregation_prefix, "S_");
  EXPECT_EQ(made.from_clause, "from s");
  EXPECT_EQ(made.join_clause, "s = t");
  ASSERT_THAT(names_of(made.custom_properties), ElementsAre("SchemaLayout"));
  EXPECT_EQ(made.custom_properties[0].value, "layout");
  EXPECT_EQ(made.olap_mode, OlapMode::hybrid);
  EXPECT_EQ(made.estimated_rows, 1500.0);
}

TEST_F(Cubes, NewCubeReachesTheServer) {
  import(cube_with("Sales", all_parts("Sales")));
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Promotion", "Time"));
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
  EXPECT_THAT(names_of(stored.calculated_members), ElementsAre("Profit"));
  EXPECT_THAT(names_of(stored.roles), ElementsAre("Analysts"));
}

TEST_F(Cubes, NameIsSearchedCreatedAndReportedWithItsApostrophes) {
  import(valid_cube("Bob@#$%s"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Bob's'", "Creating cube 'Bob's'"));
  options.ImportType = import_type::incremental;
  import(valid_cube("Bob@#$%s"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Bob's'", "Skipping cube 'Bob's'"));
}

TEST_F(Cubes, DescriptionDataSourceAndPrefixAreDecoded) {
  OlapDataSource named;
  named.name = "Bob's DW";
  database().data_sources().add(named);
  auto xml = with_attribute(valid_cube("Sales"), "description", "it@#$%s");
  xml = with_attribute(xml, "data_source", "Bob@#$%s DW");
  import(with_attribute(xml, "aggregation_prefix", "@#$%_"));
  EXPECT_EQ(cube("Sales").description, "it's");
  EXPECT_EQ(cube("Sales").data_source, "Bob's DW");
  EXPECT_EQ(cube("Sales").aggregation_prefix, "'_");
}

TEST_F(Cubes, FactTableClausesAndLayoutAreTakenAsTheyStand) {
  auto xml = valid_cube("Sales");
  for (const auto* attribute : {"fact_table", "from_clause", "join_clause", "schema_layout"}) {
    xml = with_attribute(xml, attribute, "x@#$%y");
  }
  import(xml);
  EXPECT_EQ(cube("Sales").fact_table, "x@#$%y");
  EXPECT_EQ(cube("Sales").from_clause, "x@#$%y");
  EXPECT_EQ(cube("Sales").join_clause, "x@#$%y");
  EXPECT_EQ(cube("Sales").custom_properties.find("SchemaLayout")->value, "x@#$%y");
}

TEST_F(Cubes, OlapModeIsComparedExactly) {
  import(with_attribute(valid_cube("A"), "olap_mode", "OlapModeRolap") +
         with_attribute(valid_cube("B"), "olap_mode", "olapmodeRolap"));
  EXPECT_EQ(cube("A").olap_mode, OlapMode::molap);
  EXPECT_EQ(cube("B").olap_mode, OlapMode::rolap);
}

TEST_F(Cubes, EstimatedRowsThatAreNoNumberAreAnError) {
  EXPECT_EQ(import_error(with_attribute(valid_cube("Sales"), "estimated_rows", "many")),
            "Type mismatch in KCD document");
  EXPECT_EQ(cube("Sales").olap_mode, OlapMode::hybrid);
}

TEST_F(Cubes, DataSourceIsFoundWhateverItsLetterCase) {
  import(with_attribute(valid_cube("Sales"), "data_source", "sales dw"));
  EXPECT_EQ(cube("Sales").data_source, "Sales DW");
}

TEST_F(Cubes, UnknownDataSourceIsAnErrorAndTheNextCubeIsNotReached) {
  EXPECT_EQ(import_error(with_attribute(valid_cube("Sales"), "data_source", "Elsewhere") +
                         valid_cube("Next")),
            "data source 'Elsewhere' not found in OLAP server");
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'"));
}

TEST_F(Cubes, AbsentNameIsAnErrorBeforeTheSearch) {
  EXPECT_EQ(import_error(without_attribute(valid_cube("Sales"), "name").replace(0, 5, "<cube")),
            "Invalid use of Null in KCD document");
  EXPECT_THAT(timeline, ElementsAre("Creating cubes"));
}

TEST_F(Cubes, EmptyNameIsAnErrorBeforeTheCreatingMessage) {
  EXPECT_EQ(import_error(valid_cube("")), "an object must have a name in OLAP server");
  EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube ''"));
}

TEST_F(Cubes, EveryAttributeIsRequired) {
  for (const auto* attribute :
       {"description", "data_source", "fact_table", "aggregation_prefix", "from_clause",
        "join_clause", "schema_layout", "olap_mode", "estimated_rows"}) {
    const std::string name = std::string("Without ") + attribute;
    const auto attributes =
        without_attribute(with_attribute(sales_attributes, "name", name), attribute);
    EXPECT_EQ(import_error(attributes + valid_parts() + "</cube>"),
              "Invalid use of Null in KCD document")
        << attribute;
    EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube '" + name + "'",
                                      "Creating cube '" + name + "'"));
  }
}

/// What a cube has got when the attribute after it is absent, in the order of setting.
struct PropertyStep {
  const char* absent_attribute;
  std::function<bool(const OlapCube&)> was_set_before;
  std::function<bool(const OlapCube&)> is_set_after;
};

const std::vector<PropertyStep>& property_steps() {
  static const std::vector<PropertyStep> steps = {
      {"data_source", [](const auto& cube) { return cube.description == "All sales"; },
       [](const auto& cube) { return !cube.fact_table.empty(); }},
      {"fact_table", [](const auto& cube) { return cube.data_source == "Sales DW"; },
       [](const auto& cube) { return !cube.aggregation_prefix.empty(); }},
      {"aggregation_prefix", [](const auto& cube) { return cube.fact_table == "sales_fact"; },
       [](const auto& cube) { return !cube.from_clause.empty(); }},
      {"from_clause", [](const auto& cube) { return cube.aggregation_prefix == "S_"; },
       [](const auto& cube) { return !cube.join_clause.empty(); }},
      {"join_clause", [](const auto& cube) { return cube.from_clause == "from s"; },
       [](const auto& cube) { return !cube.custom_properties.empty(); }},
      {"schema_layout", [](const auto& cube) { return cube.join_clause == "s = t"; },
       [](const auto& cube) { return cube.olap_mode == OlapMode::hybrid; }},
      {"olap_mode", [](const auto& cube) { return cube.custom_properties.size() == 1; },
       [](const auto& cube) { return cube.estimated_rows != 0; }},
      {"estimated_rows", [](const auto& cube) { return cube.olap_mode == OlapMode::hybrid; },
       [](const auto& cube) { return cube.estimated_rows != 0; }},
  };
  return steps;
}

TEST_F(Cubes, PropertiesAreSetInOrderUntilTheFirstError) {
  for (const auto& step : property_steps()) {
    const std::string name = std::string("Without ") + step.absent_attribute;
    const auto attributes =
        without_attribute(with_attribute(sales_attributes, "name", name), step.absent_attribute);
    EXPECT_NE(import_error(attributes + valid_parts() + "</cube>"), "");
    EXPECT_TRUE(step.was_set_before(cube(name))) << name;
    EXPECT_FALSE(step.is_set_after(cube(name))) << name;
  }
}

// The order of the parts.

TEST_F(Cubes, PartsAreBuiltInOrderBetweenTwoSavesAndThenChecked) {
  options.import_partitions = true;
  import(cube_with("Sales", all_parts("Sales")));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'",
                          "write_back_cube Sales", "write_back_dimension Promotion",
                          "write_back_dimension Promotion", "write_back_cube Sales",
                          "Creating cube partitions", "write_back_partition Sales",
                          "write_back_partition 1998", "Creating cube role 'Analysts'",
                          "write_back_cube Sales", "structure_is_valid Sales"));
  EXPECT_TRUE(outcome.succeeded);
}

TEST_F(Cubes, MeasuresAreBuiltAfterTheDimensions) {
  EXPECT_NE(import_error(cube_with("Sales", "<cube_dimensions>" + reference("Elsewhere") +
                                                "</cube_dimensions><cube_measures>" +
                                                measure("Amount") + "</cube_measures>")),
            "");
  EXPECT_THAT(cube("Sales").measures, IsEmpty());
}

TEST_F(Cubes, CalculatedMembersAreBuiltAfterTheMeasures) {
  EXPECT_EQ(import_error(cube_with("Sales",
                                   "<cube_dimensions/><cube_calculated_members>"
                                   "<member name='P' statement='P AS 1'/>"
                                   "</cube_calculated_members><cube_roles/>")),
            "element 'cube_measures' is missing in KCD document");
  EXPECT_THAT(cube("Sales").calculated_members, IsEmpty());
}

TEST_F(Cubes, PartitionsAreBuiltAfterTheCalculatedMembers) {
  options.import_partitions = true;
  EXPECT_EQ(import_error(cube_with("Sales",
                                   "<cube_dimensions/><cube_measures/>"
                                   "<cube_partitions/><cube_roles/>")),
            "element 'cube_calculated_members' is missing in KCD document");
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'"));
}

TEST_F(Cubes, PartsThatMustBeThereAreErrorsWhenAbsent) {
  for (const std::string part :
       {"cube_dimensions", "cube_measures", "cube_calculated_members", "cube_roles"}) {
    auto parts = no_parts;
    const auto element = "<" + part + "/>";
    parts.erase(parts.find(element), element.size());
    EXPECT_EQ(import_error(cube_with("Without " + part, parts)),
              "element '" + part + "' is missing in KCD document");
    EXPECT_EQ(timeline.back(), "write_back_cube Without " + part);
  }
}

TEST_F(Cubes, AbsentPartitionsYieldOnlyTheirHeading) {
  options.import_partitions = true;
  import(valid_cube("Sales"));
  EXPECT_THAT(sink.messages, ElementsAre("Creating cubes", "Searching cube 'Sales'",
                                         "Creating cube 'Sales'", "Creating cube partitions"));
  EXPECT_THAT(names_of(cube("Sales").partitions), ElementsAre("Sales"));
}

TEST_F(Cubes, PartitionsAreNotReadUnlessTheyAreImported) {
  import(cube_with("Sales", valid_parts() + "<cube_partitions><broken/></cube_partitions>"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'"));
  EXPECT_TRUE(outcome.succeeded);
}

TEST_F(Cubes, PartitionsAndSlicesReachTheServerWithTheLastSave) {
  options.import_partitions = true;
  import(cube_with("Sales", all_parts("Sales")));
  const auto& stored = stored_cube("Sales");
  ASSERT_THAT(names_of(stored.partitions), ElementsAre("Sales", "1998"));
  EXPECT_EQ(stored.partitions[0].slices.find("Time")->levels.find("Year")->slice_value, "1997");
  EXPECT_EQ(stored.partitions[1].slices.find("Time")->levels.find("Year")->slice_value, "1998");
}

// Errors leave the section.

TEST_F(Cubes, RefusedFirstSaveIsAnErrorBeforeAnyPart) {
  refused_operation = "write_back_cube Sales";
  EXPECT_EQ(import_error(valid_cube("Sales") + valid_cube("Next")),
            "refused by the test in OLAP server");
  EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'",
                                    "Creating cube 'Sales'", "write_back_cube Sales"));
  EXPECT_THAT(cube("Sales").dimensions, IsEmpty());
  EXPECT_TRUE(outcome.succeeded);
}

TEST_F(Cubes, FailingStructureCheckIsAnError) {
  refused_operation = "structure_is_valid Sales";
  EXPECT_EQ(import_error(valid_cube("Sales")), "refused by the test in OLAP server");
}

TEST_F(Cubes, ErrorInsideAPartLeavesTheCubeAsItWasLastSaved) {
  EXPECT_EQ(import_error(cube_with("Sales", "<cube_dimensions>" + reference("Time") +
                                                "</cube_dimensions><cube_measures>" +
                                                measure("Amount") + "</cube_measures>")),
            "element 'cube_calculated_members' is missing in KCD document");
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Time"));
  EXPECT_THAT(stored.measures, IsEmpty());
}

// An invalid structure.

TEST_F(Cubes, InvalidStructureEndsTheSuccessAndYetTheNextCubesAreBuilt) {
  import(cube_with("Sales", no_parts) + valid_cube("Next"));
  expect_failed("New Cube structure is not valid");
  EXPECT_THAT(
      timeline,
      ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'",
                  "write_back_cube Sales", "write_back_cube Sales", "structure_is_valid Sales",
                  "Searching cube 'Next'", "Creating cube 'Next'", "write_back_cube Next",
                  "write_back_cube Next", "write_back_cube Next", "structure_is_valid Next"));
}

TEST_F(Cubes, InvalidCubeStaysOnTheServerAsSaved) {
  import(cube_with("Sales", no_parts));
  EXPECT_EQ(stored_cube("Sales").fact_table, "sales_fact");
}

TEST_F(Cubes, InvalidStructureLeavesTheCurrentCube) {
  import(cube_with("Sales", no_parts));
  EXPECT_EQ(run().current_cube, &cube("Sales"));
}

TEST_F(Cubes, CubeWithoutMeasuresIsInvalid) {
  import(cube_with("Sales", "<cube_dimensions>" + reference("Time") +
                                "</cube_dimensions><cube_measures/><cube_calculated_members/>"
                                "<cube_roles/>"));
  EXPECT_EQ(outcome.last_error, "New Cube structure is not valid");
}

TEST_F(Cubes, CubeWithoutDimensionsIsInvalid) {
  import(cube_with("Sales", "<cube_dimensions/><cube_measures>" + measure("Amount") +
                                "</cube_measures><cube_calculated_members/><cube_roles/>"));
  EXPECT_EQ(outcome.last_error, "New Cube structure is not valid");
}

TEST_F(Cubes, CubeWithoutFactTableIsInvalid) {
  import(with_attribute(valid_cube("Sales"), "fact_table", ""));
  EXPECT_EQ(outcome.last_error, "New Cube structure is not valid");
}

}  // namespace
}  // namespace importkcd::testing
