#include "engine/cubes.h"

#include <functional>

#include "tests/engine/cube_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string no_parts =
    "<cube_dimensions/><cube_measures/><cube_calculated_members/><cube_roles/>";

const std::string sales_attributes =
    R"(<cube name="Sales" description="All sales" data_source="Sales DW" fact_table="sales_fact")"
    R"( aggregation_prefix="S_" from_clause="from s" join_clause="s = t" schema_layout="layout")"
    R"( olap_mode="olapmodeHybridIndex" estimated_rows="1.5E3">)";

std::string reference(const std::string& dimension) {
  return "<cube_dimension_reference name=\"" + dimension +
         "\"><cube_levels_reference/></cube_dimension_reference>";
}

std::string measure(const std::string& name) {
  return "<cube_measure name=\"" + name +
         "\" description='' format='' source_column='' internal='false'"
         " aggregate_function='sum'/>";
}

/// A cube element with these child elements.
std::string cube_with(const std::string& name, const std::string& parts) {
  return with_attribute(sales_attributes, "name", name) + parts + "</cube>";
}

/// The parts of a valid cube with the shared dimension "Time" and the measure "Amount".
std::string valid_parts(const std::string& dimension = "Time") {
  return "<cube_dimensions>" + reference(dimension) + "</cube_dimensions><cube_measures>" +
         measure("Amount") + "</cube_measures><cube_calculated_members/><cube_roles/>";
}

std::string valid_cube(const std::string& name) { return cube_with(name, valid_parts()); }

/// A partition with a slice on the level "Year" of "Time".
std::string partition(const std::string& name, const std::string& year) {
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
std::string all_parts(const std::string& cube) {
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

class Cubes : public CubeTest {
 protected:
  /// Imports cube elements and records from there on.
  void import(const std::string& cubes) {
    timeline.clear();
    sink.messages.clear();
    ImportCubes(run(), &parse("<cubes>" + cubes + "</cubes>"));
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

// The section and its elements.

TEST_F(Cubes, AbsentCollectionYieldsOnlyTheHeading) {
  ImportCubes(run(), nullptr);
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
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_EQ(outcome.last_error, "New Cube structure is not valid");
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

// Existing cubes: incremental, and no mode at all.

TEST_F(Cubes, ExistingCubeIsSkippedInIncrementalMode) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  import(with_attribute(cube_with("Sales", no_parts), "description", "new"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Skipping cube 'Sales'"));
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
}

TEST_F(Cubes, SkippedCubesElementIsNotReadFurther) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  EXPECT_EQ(import_error(R"(<cube name="Sales"/>)"), "");
}

TEST_F(Cubes, SkippedCubeLeavesNoCurrentCube) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  import(valid_cube("New") + valid_cube("Sales"));
  EXPECT_EQ(run().current_cube, nullptr);
}

TEST_F(Cubes, SecondDefinitionOfACubeIsSkippedInIncrementalMode) {
  options.ImportType = import_type::incremental;
  import(valid_cube("Sales") + valid_cube("SALES"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'",
                          "Searching cube 'SALES'", "Skipping cube 'SALES'"));
}

TEST_F(Cubes, ExistingVirtualCubeIsSkippedInIncrementalMode) {
  given_stored_virtual_cube("Sales");
  options.ImportType = import_type::incremental;
  import(valid_cube("Sales"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Skipping cube 'Sales'"));
  EXPECT_EQ(stored_cube("Sales").kind, OlapCubeKind::is_virtual);
}

TEST_F(Cubes, ExistingCubeGetsNothingAtAllWithoutAMode) {
  given_stored_cube();
  for (const auto mode : {0, 4, -1}) {
    options.ImportType = mode;
    import(with_attribute(cube_with("Sales", no_parts), "description", "new"));
    EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'")) << mode;
    EXPECT_EQ(cube("Sales").description, "All sales") << mode;
  }
}

TEST_F(Cubes, CurrentCubeGetsNothingFromAnExistingOneWithoutAMode) {
  given_stored_cube();
  import(valid_cube("New") + with_attribute(cube_with("Sales", no_parts), "description", "new"));
  EXPECT_EQ(run().current_cube, &cube("New"));
  EXPECT_EQ(cube("New").description, "All sales");
}

TEST_F(Cubes, NewCubeIsCreatedInEveryMode) {
  for (const auto mode : {0, 1, 2, 3, 4}) {
    options.ImportType = mode;
    const auto name = std::to_string(mode);
    import(valid_cube(name));
    EXPECT_THAT(sink.messages, ElementsAre("Creating cubes", "Searching cube '" + name + "'",
                                           "Creating cube '" + name + "'"));
  }
}

// Existing cubes: replace.

TEST_F(Cubes, ExistingCubeGetsNothingInReplaceModeWithoutACurrentCube) {
  given_stored_cube();
  options.ImportType = import_type::replace;
  import(with_attribute(cube_with("Sales", no_parts), "description", "new"));
  EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'"));
  EXPECT_EQ(run().current_cube, nullptr);
  EXPECT_EQ(cube("Sales").description, "All sales");
}

TEST_F(Cubes, ExistingCubesDefinitionGoesToTheCurrentCubeInReplaceMode) {
  given_stored_cube();
  options.ImportType = import_type::replace;
  import(valid_cube("New") +
         with_attribute(
             with_attribute(cube_with("Sales", valid_parts("Product")), "description", "second"),
             "schema_layout", "second layout"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'New'", "Creating cube 'New'",
                          "write_back_cube New", "write_back_cube New", "write_back_cube New",
                          "structure_is_valid New", "Searching cube 'Sales'", "write_back_cube New",
                          "write_back_cube New", "write_back_cube New", "structure_is_valid New"));
  EXPECT_EQ(run().current_cube, &cube("New"));
  const auto& stored = stored_cube("New");
  EXPECT_EQ(stored.description, "second");
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Time", "Product"));
  ASSERT_THAT(names_of(stored.custom_properties), ElementsAre("SchemaLayout"));
  EXPECT_EQ(stored.custom_properties[0].value, "second layout");
  EXPECT_EQ(cube("Sales").description, "All sales");
  EXPECT_THAT(names_of(cube("Sales").dimensions), ElementsAre("Promotion", "Time"));
}

TEST_F(Cubes, SecondDefinitionOfACubeIsWrittenOverItInReplaceMode) {
  options.ImportType = import_type::replace;
  import(valid_cube("Sales") +
         with_attribute(cube_with("Sales", valid_parts("Product")), "fact_table", "second"));
  EXPECT_THAT(sink.messages, ElementsAre("Creating cubes", "Searching cube 'Sales'",
                                         "Creating cube 'Sales'", "Searching cube 'Sales'"));
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.fact_table, "second");
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Time", "Product"));
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount"));
}

TEST_F(Cubes, DimensionsOfASecondDefinitionMeetThoseOfTheFirstInReplaceMode) {
  options.ImportType = import_type::replace;
  EXPECT_EQ(import_error(valid_cube("Sales") + valid_cube("Sales")),
            "'Time' already exists in OLAP server");
}

TEST_F(Cubes, InvalidCubeStillTakesAnExistingCubesDefinitionInReplaceMode) {
  given_stored_cube();
  options.ImportType = import_type::replace;
  import(cube_with("New", no_parts) + valid_cube("Sales"));
  EXPECT_THAT(names_of(stored_cube("New").dimensions), ElementsAre("Time"));
}

TEST_F(Cubes, SkippedCubeLeavesNothingForAnExistingCubesDefinitionInReplaceMode) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  import(valid_cube("New") + valid_cube("Sales"));
  options.ImportType = import_type::replace;
  import(valid_cube("Sales"));
  EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'"));
}

// Existing cubes: update.

TEST_F(Cubes, ExistingCubeIsLockedEmptiedAndRewrittenInUpdateMode) {
  given_stored_cube();
  options.ImportType = import_type::update;
  options.import_partitions = true;
  import(with_attribute(valid_cube("Sales"), "description", "new"));
  auto expected = emptying_of_sales(13);
  for (const auto* step :
       {"write_back_cube Sales", "write_back_cube Sales", "Creating cube partitions",
        "write_back_cube Sales", "structure_is_valid Sales"}) {
    expected.emplace_back(step);
  }
  EXPECT_EQ(timeline, expected);
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "new");
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Time"));
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount"));
  EXPECT_THAT(stored.calculated_members, IsEmpty());
  EXPECT_THAT(stored.roles, IsEmpty());
}

TEST_F(Cubes, RemovedPartitionsLeaveTheCubesOwnOneInUpdateMode) {
  given_stored_cube();
  options.ImportType = import_type::update;
  options.import_partitions = true;
  import(valid_cube("Sales"));
  const auto& stored = stored_cube("Sales");
  ASSERT_THAT(names_of(stored.partitions), ElementsAre("Sales"));
  EXPECT_EQ(stored.partitions[0].fact_table, "sales_fact");
  EXPECT_THAT(stored.partitions[0].slices, IsEmpty());
}

TEST_F(Cubes, PartitionsSurviveAnUpdateWithoutPartitionsTogetherWithTheirSlices) {
  given_stored_cube();
  options.ImportType = import_type::update;
  import(cube_with("Sales", valid_parts() + "<cube_partitions><broken/></cube_partitions>"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Updating cube 'Sales'",
                          "lock_cube Sales", "remove_first dimensions Sales",
                          "remove_first dimensions Sales", "remove_first measures Sales",
                          "remove_first measures Sales", "remove_first calculated_members Sales",
                          "remove_first roles Sales", "remove_first data_sources Sales",
                          "write_back_cube Sales", "write_back_cube Sales", "write_back_cube Sales",
                          "structure_is_valid Sales"));
  const auto& stored = stored_cube("Sales");
  ASSERT_THAT(names_of(stored.partitions), ElementsAre("Sales", "1998"));
  EXPECT_EQ(stored.partitions[0].slices.find("Time")->levels.find("Year")->slice_value, "1997");
  EXPECT_EQ(stored.partitions[1].fact_table, "part");
  EXPECT_EQ(stored.partitions[1].slices.find("Time")->levels.find("Year")->slice_value, "1998");
}

TEST_F(Cubes, UpdatedCubeBecomesTheCurrentOne) {
  given_stored_cube();
  options.ImportType = import_type::update;
  import(valid_cube("SALES"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'SALES'", "Updating cube 'SALES'"));
  EXPECT_EQ(run().current_cube, &cube("Sales"));
}

TEST_F(Cubes, DocumentIsImportedAgainOverItsOwnResultInUpdateMode) {
  given_stored_cube();
  options.ImportType = import_type::update;
  options.import_partitions = true;
  for (int round = 0; round < 2; ++round) {
    import_as_run(cube_with("Sales", all_parts("Sales")));
    EXPECT_THAT(sink.messages,
                ElementsAre("Creating cubes", "Searching cube 'Sales'", "Updating cube 'Sales'",
                            "Creating cube partitions", "Creating cube role 'Analysts'"));
    EXPECT_TRUE(outcome.succeeded) << outcome.last_error;
    const auto& stored = cube("Sales");
    EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Promotion", "Time"));
    EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
    EXPECT_THAT(names_of(stored.calculated_members), ElementsAre("Profit"));
    EXPECT_THAT(names_of(stored.roles), ElementsAre("Analysts"));
    EXPECT_THAT(names_of(stored.partitions), ElementsAre("Sales", "1998"));
    EXPECT_THAT(database().dimensions().names(), ElementsAre("Time", "Product", "Promotion"));
    const auto* own = database().dimensions().find("Promotion");
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(own->owner_cube, "Sales");
    EXPECT_THAT(names_of(own->levels), ElementsAre("Media"));
  }
}

TEST_F(Cubes, PrivateDimensionLeavesWithAnUpdateThatDropsIt) {
  given_stored_cube();
  options.ImportType = import_type::update;
  import_as_run(valid_cube("Sales"));
  EXPECT_THAT(database().dimensions().names(), ElementsAre("Time", "Product"));
}

TEST_F(Cubes, CubeDefinedTwiceIsUpdatedOverItselfInUpdateMode) {
  options.ImportType = import_type::update;
  import_as_run(cube_with("Sales", all_parts("Sales")) + cube_with("Sales", all_parts("Sales")));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'",
                          "Creating cube role 'Analysts'", "Searching cube 'Sales'",
                          "Updating cube 'Sales'", "Creating cube role 'Analysts'"));
  EXPECT_THAT(names_of(cube("Sales").dimensions), ElementsAre("Promotion", "Time"));
  EXPECT_THAT(names_of(cube("Sales").measures), ElementsAre("Amount", "Units"));
}

TEST_F(Cubes, ExistingVirtualCubeIsRebuiltAsARegularOneInUpdateMode) {
  given_stored_virtual_cube("Sales");
  options.ImportType = import_type::update;
  import(valid_cube("Sales"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating new cube 'Sales'",
                          "write_back_cube Sales", "write_back_cube Sales", "write_back_cube Sales",
                          "structure_is_valid Sales"));
  EXPECT_EQ(run().current_cube, &cube("Sales"));
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.kind, OlapCubeKind::regular);
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Time"));
}

// Canceled updates.

TEST_F(Cubes, RefusedLockCancelsTheUpdateAndTheNextCubeFollows) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "lock_cube Sales";
  import(with_attribute(valid_cube("Sales"), "description", "new") + valid_cube("Next"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Updating cube 'Sales'",
                          "lock_cube Sales", "Error : Can't update Cube 'Sales'",
                          "           Updating cube 'Sales' canceled", "Searching cube 'Next'",
                          "Creating cube 'Next'", "write_back_cube Next", "write_back_cube Next",
                          "write_back_cube Next", "structure_is_valid Next"));
  EXPECT_TRUE(outcome.succeeded);
  EXPECT_EQ(outcome.last_error, "");
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
}

TEST_F(Cubes, FailingFourthStepEndsTheEmptyingAndTheNextCubeFollows) {
  given_stored_cube();
  options.ImportType = import_type::update;
  options.import_partitions = true;
  refused_operation = "remove_first roles Sales";
  import(with_attribute(valid_cube("Sales"), "description", "new") + valid_cube("Next"));
  auto expected = emptying_of_sales(10);
  for (const auto* step :
       {"           Updating cube 'Sales' canceled", "Searching cube 'Next'",
        "Creating cube 'Next'", "write_back_cube Next", "write_back_cube Next",
        "Creating cube partitions", "write_back_cube Next", "structure_is_valid Next"}) {
    expected.emplace_back(step);
  }
  EXPECT_EQ(timeline, expected);
  EXPECT_TRUE(outcome.succeeded);
  EXPECT_EQ(outcome.last_error, "");
}

TEST_F(Cubes, AnyFailingStepCancelsTheUpdateAndNothingIsWritten) {
  const std::vector<std::pair<std::string, std::size_t>> steps = {
      {"dimensions", 5}, {"measures", 7},      {"calculated_members", 9},
      {"roles", 10},     {"data_sources", 11}, {"partitions", 12}};
  given_stored_cube();
  for (const auto& [content, length] : steps) {
    options.ImportType = import_type::update;
    options.import_partitions = true;
    refused_operation = "remove_first " + content + " Sales";
    import(valid_cube("Sales"));
    auto expected = emptying_of_sales(length);
    expected.emplace_back("           Updating cube 'Sales' canceled");
    EXPECT_EQ(timeline, expected);
    const auto& stored = stored_cube("Sales");
    EXPECT_EQ(stored.data_source, "Sales DW");
    EXPECT_THAT(names_of(stored.dimensions), ElementsAre("Promotion", "Time"));
    EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
    EXPECT_THAT(names_of(stored.partitions), ElementsAre("Sales", "1998"));
    EXPECT_TRUE(database().dimensions().contains("Promotion"));
  }
}

TEST_F(Cubes, CanceledUpdateIsNotWrittenWithTheDatabaseEither) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "remove_first roles Sales";
  import(valid_cube("Sales"));
  server().write_back_database(database());
  EXPECT_THAT(names_of(stored_cube("Sales").measures), ElementsAre("Amount", "Units"));
}

TEST_F(Cubes, CanceledUpdateLeavesTheCurrentCube) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "lock_cube Sales";
  import(valid_cube("Sales"));
  EXPECT_EQ(run().current_cube, &cube("Sales"));
}

TEST_F(Cubes, CanceledUpdatesElementIsNotReadFurther) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "lock_cube Sales";
  EXPECT_EQ(import_error(R"(<cube name="Sales"/>)"), "");
}

}  // namespace
}  // namespace importkcd::testing
