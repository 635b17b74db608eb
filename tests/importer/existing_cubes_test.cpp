#include "tests/importer/cubes_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using ExistingCubes = CubesTest;

// Existing cubes: incremental, and no mode at all.

TEST_F(ExistingCubes, ExistingCubeIsSkippedInIncrementalMode) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  import(with_attribute(cube_with("Sales", no_parts), "description", "new"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Skipping cube 'Sales'"));
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
}

TEST_F(ExistingCubes, SkippedCubesElementIsNotReadFurther) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  EXPECT_EQ(import_error(R"(<cube name="Sales"/>)"), "");
}

TEST_F(ExistingCubes, SkippedCubeLeavesNoCurrentCube) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  import(valid_cube("New") + valid_cube("Sales"));
  EXPECT_EQ(run().current_cube, nullptr);
}

TEST_F(ExistingCubes, SecondDefinitionOfACubeIsSkippedInIncrementalMode) {
  options.ImportType = import_type::incremental;
  import(valid_cube("Sales") + valid_cube("SALES"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'",
                          "Searching cube 'SALES'", "Skipping cube 'SALES'"));
}

TEST_F(ExistingCubes, ExistingVirtualCubeIsSkippedInIncrementalMode) {
  given_stored_virtual_cube("Sales");
  options.ImportType = import_type::incremental;
  import(valid_cube("Sales"));
  EXPECT_THAT(timeline,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Skipping cube 'Sales'"));
  EXPECT_EQ(stored_cube("Sales").kind, OlapCubeKind::is_virtual);
}

TEST_F(ExistingCubes, ExistingCubeGetsNothingAtAllWithoutAMode) {
  given_stored_cube();
  for (const auto mode : {0, 4, -1}) {
    options.ImportType = mode;
    import(with_attribute(cube_with("Sales", no_parts), "description", "new"));
    EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'")) << mode;
    EXPECT_EQ(cube("Sales").description, "All sales") << mode;
  }
}

TEST_F(ExistingCubes, CurrentCubeGetsNothingFromAnExistingOneWithoutAMode) {
  given_stored_cube();
  import(valid_cube("New") + with_attribute(cube_with("Sales", no_parts), "description", "new"));
  EXPECT_EQ(run().current_cube, &cube("New"));
  EXPECT_EQ(cube("New").description, "All sales");
}

TEST_F(ExistingCubes, NewCubeIsCreatedInEveryMode) {
  for (const auto mode : {0, 1, 2, 3, 4}) {
    options.ImportType = mode;
    const auto name = std::to_string(mode);
    import(valid_cube(name));
    EXPECT_THAT(sink.messages, ElementsAre("Creating cubes", "Searching cube '" + name + "'",
                                           "Creating cube '" + name + "'"));
  }
}

// Existing cubes: replace.

TEST_F(ExistingCubes, ExistingCubeGetsNothingInReplaceModeWithoutACurrentCube) {
  given_stored_cube();
  options.ImportType = import_type::replace;
  import(with_attribute(cube_with("Sales", no_parts), "description", "new"));
  EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'"));
  EXPECT_EQ(run().current_cube, nullptr);
  EXPECT_EQ(cube("Sales").description, "All sales");
}

TEST_F(ExistingCubes, ExistingCubesDefinitionGoesToTheCurrentCubeInReplaceMode) {
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

TEST_F(ExistingCubes, SecondDefinitionOfACubeIsWrittenOverItInReplaceMode) {
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

TEST_F(ExistingCubes, DimensionsOfASecondDefinitionMeetThoseOfTheFirstInReplaceMode) {
  options.ImportType = import_type::replace;
  EXPECT_EQ(import_error(valid_cube("Sales") + valid_cube("Sales")),
            "'Time' already exists in OLAP server");
}

TEST_F(ExistingCubes, InvalidCubeStillTakesAnExistingCubesDefinitionInReplaceMode) {
  given_stored_cube();
  options.ImportType = import_type::replace;
  import(cube_with("New", no_parts) + valid_cube("Sales"));
  EXPECT_THAT(names_of(stored_cube("New").dimensions), ElementsAre("Time"));
}

TEST_F(ExistingCubes, SkippedCubeLeavesNothingForAnExistingCubesDefinitionInReplaceMode) {
  given_stored_cube();
  options.ImportType = import_type::incremental;
  import(valid_cube("New") + valid_cube("Sales"));
  options.ImportType = import_type::replace;
  import(valid_cube("Sales"));
  EXPECT_THAT(timeline, ElementsAre("Creating cubes", "Searching cube 'Sales'"));
}

// Existing cubes: update.

TEST_F(ExistingCubes, ExistingCubeIsLockedEmptiedAndRewrittenInUpdateMode) {
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

TEST_F(ExistingCubes, RemovedPartitionsLeaveTheCubesOwnOneInUpdateMode) {
  given_stored_cube();
  options.ImportType = import_type::update;
  options.import_partitions = true;
  import(valid_cube("Sales"));
  const auto& stored = stored_cube("Sales");
  ASSERT_THAT(names_of(stored.partitions), ElementsAre("Sales"));
  EXPECT_EQ(stored.partitions[0].fact_table, "sales_fact");
  EXPECT_THAT(stored.partitions[0].slices, IsEmpty());
}

TEST_F(ExistingCubes, PartitionsSurviveAnUpdateWithoutPartitionsTogetherWithTheirSlices) {
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

TEST_F(ExistingCubes, UpdatedCubeBecomesTheCurrentOne) {
  given_stored_cube();
  options.ImportType = import_type::update;
  import(valid_cube("SALES"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'SALES'", "Updating cube 'SALES'"));
  EXPECT_EQ(run().current_cube, &cube("Sales"));
}

TEST_F(ExistingCubes, DocumentIsImportedAgainOverItsOwnResultInUpdateMode) {
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

TEST_F(ExistingCubes, PrivateDimensionLeavesWithAnUpdateThatDropsIt) {
  given_stored_cube();
  options.ImportType = import_type::update;
  import_as_run(valid_cube("Sales"));
  EXPECT_THAT(database().dimensions().names(), ElementsAre("Time", "Product"));
}

TEST_F(ExistingCubes, CubeDefinedTwiceIsUpdatedOverItselfInUpdateMode) {
  options.ImportType = import_type::update;
  import_as_run(cube_with("Sales", all_parts("Sales")) + cube_with("Sales", all_parts("Sales")));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating cubes", "Searching cube 'Sales'", "Creating cube 'Sales'",
                          "Creating cube role 'Analysts'", "Searching cube 'Sales'",
                          "Updating cube 'Sales'", "Creating cube role 'Analysts'"));
  EXPECT_THAT(names_of(cube("Sales").dimensions), ElementsAre("Promotion", "Time"));
  EXPECT_THAT(names_of(cube("Sales").measures), ElementsAre("Amount", "Units"));
}

TEST_F(ExistingCubes, ExistingVirtualCubeIsRebuiltAsARegularOneInUpdateMode) {
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

TEST_F(ExistingCubes, RegularCubeStandsInTheVirtualOnesPlaceWhenItIsTold) {
  given_stored_virtual_cube("Sales");
  options.ImportType = import_type::update;
  std::vector<std::string> seen;
  WatchingSink watching([&](const std::string& message) {
    const bool regular = cube("Sales").kind == OlapCubeKind::regular;
    seen.push_back(message + (regular ? ": regular" : ": virtual"));
  });
  options.progres_window = &watching;
  import(valid_cube("Sales"));
  EXPECT_THAT(seen, ElementsAre("Creating cubes: virtual", "Searching cube 'Sales': virtual",
                                "Creating new cube 'Sales': regular"));
}

// Canceled updates.

TEST_F(ExistingCubes, RefusedLockCancelsTheUpdateAndTheNextCubeFollows) {
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
  expect_no_error();
  const auto& stored = stored_cube("Sales");
  EXPECT_EQ(stored.description, "All sales");
  EXPECT_THAT(names_of(stored.measures), ElementsAre("Amount", "Units"));
}

TEST_F(ExistingCubes, FailingFourthStepEndsTheEmptyingAndTheNextCubeFollows) {
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
  expect_no_error();
}

TEST_F(ExistingCubes, AnyFailingStepCancelsTheUpdateAndNothingIsWritten) {
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

TEST_F(ExistingCubes, CanceledUpdateIsNotWrittenWithTheDatabaseEither) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "remove_first roles Sales";
  import(valid_cube("Sales"));
  server().write_back_database(database());
  EXPECT_THAT(names_of(stored_cube("Sales").measures), ElementsAre("Amount", "Units"));
}

TEST_F(ExistingCubes, CanceledUpdateLeavesTheCurrentCube) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "lock_cube Sales";
  import(valid_cube("Sales"));
  EXPECT_EQ(run().current_cube, &cube("Sales"));
}

TEST_F(ExistingCubes, CanceledUpdatesElementIsNotReadFurther) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "lock_cube Sales";
  EXPECT_EQ(import_error(R"(<cube name="Sales"/>)"), "");
}

TEST_F(ExistingCubes, AnErrorThatCanceledAnUpdateIsPassedOverWithItsReason) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "remove_first roles Sales";
  import(valid_cube("Sales"));
  expect_no_error();
  EXPECT_THAT(outcome.passed_over,
              ElementsAre("Cube 'Sales' was not updated: refused by the test"));
}

TEST_F(ExistingCubes, ARefusedLockIsNothingThatAPersonHasToHear) {
  given_stored_cube();
  options.ImportType = import_type::update;
  refused_operation = "lock_cube Sales";
  import(valid_cube("Sales"));
  EXPECT_THAT(outcome.passed_over, IsEmpty());
}

}  // namespace
}  // namespace importkcd::testing
