#include "tests/importer/shared_dimensions_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using SharedDimensionsUpdate = SharedDimensionsTest;

TEST_F(SharedDimensionsUpdate, ExistingOneIsSkippedInIncrementalMode) {
  given("Store");
  options.ImportType = import_type::incremental;
  import(dimension_text("Store", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Skipping shared dimension 'Store'"));
  expect_no_error();
  expect_unchanged("Store");
}

TEST_F(SharedDimensionsUpdate, ExistingOneGetsNothingAtAllInOtherModes) {
  given("Store");
  for (const std::int32_t type : {import_type::none, import_type::replace, 4, -1}) {
    options.ImportType = type;
    sink.messages.clear();
    import(dimension_text("Store", country));
    EXPECT_THAT(sink.messages,
                ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'"));
    expect_no_error();
    expect_unchanged("Store");
  }
}

TEST_F(SharedDimensionsUpdate, ExistingOneIsRewrittenInUpdateMode) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Updating shared dimension 'Store'"));
  expect_no_error();
  const auto updated = stored("Store");
  EXPECT_EQ(updated.description, "Where it was sold");
  EXPECT_EQ(updated.type, OlapDimensionType::time);
  EXPECT_EQ(updated.data_source, "Warehouse");
  EXPECT_EQ(updated.from_clause, "store");
  EXPECT_EQ(updated.join_clause, "a=b");
  EXPECT_TRUE(updated.allow_siblings_with_same_name);
}

TEST_F(SharedDimensionsUpdate, UpdateReplacesTheSchemaLayoutAndKeepsOtherCustomProperties) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", country));
  const auto properties = stored("Store").custom_properties;
  ASSERT_EQ(properties.size(), 2U);
  EXPECT_EQ(properties[0].name, "Other");
  EXPECT_EQ(properties[0].value, "kept");
  EXPECT_EQ(properties[1].name, "SchemaLayout");
  EXPECT_EQ(properties[1].value, "star");
}

TEST_F(SharedDimensionsUpdate, UpdateAddsLevelsBehindTheExistingOnes) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", country + changed(country, "Country", "City")));
  expect_no_error();
  EXPECT_THAT(names_of(stored("Store").levels), ElementsAre("Old level", "Country", "City"));
}

TEST_F(SharedDimensionsUpdate, UpdateFailsOnALevelThatExists) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", changed(country, "Country", "Old level")));
  expect_failed("'Old level' already exists");
  expect_unchanged("Store");
}

TEST_F(SharedDimensionsUpdate, UpdateLeavesLevelsAloneWhenToldSo) {
  given("Store");
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(dimension_text("Store", changed(country, "Country", "Old level") + country));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
  EXPECT_THAT(names_of(stored("Store").levels), ElementsAre("Old level"));
}

TEST_F(SharedDimensionsUpdate, NewOneStaysWithoutLevelsWhenToldToLeaveLevelsAlone) {
  options.DontUpdateLevels = true;
  import(dimension_text("Store", country));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
  EXPECT_THAT(names_of(stored("Store").levels), IsEmpty());
}

TEST_F(SharedDimensionsUpdate, LevelsElementIsNotAskedForWhenLevelsAreLeftAlone) {
  options.DontUpdateLevels = true;
  import(without(dimension_text("Store", ""), "<levels></levels>"));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
}

TEST_F(SharedDimensionsUpdate, ExistingOneIsFoundWhateverTheLetterCaseAndKeepsItsName) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("STORE", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'STORE'",
                          "Updating shared dimension 'STORE'"));
  EXPECT_EQ(stored("store").name, "Store");
  EXPECT_EQ(stored("store").description, "Where it was sold");
}

TEST_F(SharedDimensionsUpdate, UpdateOfOneThatACubeUsesIsCanceledAndTheNextOnesFollow) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::regular);
  options.ImportType = import_type::update;
  import(dimension_text("Store", country) + dimension_text("Time", country));
  EXPECT_THAT(
      sink.messages,
      ElementsAre(
          "Creating shared dimensions", "Searching shared dimension 'Store'",
          "Updating shared dimension 'Store'",
          "Error : Can't update Shared Dimension 'Store' proberly locked due to use in Cube.",
          "           Updating shared dimension 'Store' canceled",
          "Searching shared dimension 'Time'", "Creating shared dimension 'Time'"));
  expect_no_error();
  expect_unchanged("Store");
  EXPECT_EQ(stored("Time").description, "Where it was sold");
}

TEST_F(SharedDimensionsUpdate, UpdateOfOneThatACubeUsesIsCanceledAlsoWhenLevelsAreLeftAlone) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::regular);
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(dimension_text("Store", country));
  EXPECT_EQ(sink.messages.back(), "           Updating shared dimension 'Store' canceled");
  expect_no_error();
  expect_unchanged("Store");
}

TEST_F(SharedDimensionsUpdate, UpdateOfLevelsIsCanceledWhenAVirtualCubeUsesTheDimension) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::is_virtual);
  options.ImportType = import_type::update;
  import(dimension_text("Store", country));
  EXPECT_THAT(
      sink.messages,
      ElementsAre(
          "Creating shared dimensions", "Searching shared dimension 'Store'",
          "Updating shared dimension 'Store'",
          "Error : Can't update Shared Dimension 'Store' proberly locked due to use in Cube.",
          "           Updating shared dimension 'Store' canceled"));
  expect_no_error();
  expect_unchanged("Store");
}

TEST_F(SharedDimensionsUpdate, UpdateThatLeavesLevelsAloneGoesOnWhenAVirtualCubeUsesTheDimension) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::is_virtual);
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(dimension_text("Store", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Updating shared dimension 'Store'"));
  EXPECT_EQ(stored("Store").description, "Where it was sold");
}

TEST_F(SharedDimensionsUpdate, CanceledUpdateNamesTheDimensionAsTheDocumentDoes) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::regular);
  options.ImportType = import_type::update;
  import(dimension_text("STORE", country));
  EXPECT_EQ(sink.messages.back(), "           Updating shared dimension 'STORE' canceled");
}

TEST_F(SharedDimensionsUpdate, LockChecksComeBeforeTheWriteBack) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given("Store");
  options.ImportType = import_type::update;
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations, ElementsAre("lock_dimension Store", "lock_levels Store", "version",
                                      "write_back_dimension Store"));
}

TEST_F(SharedDimensionsUpdate, LevelsAreNotLockedWhenTheyAreLeftAlone) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given("Store");
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations,
              ElementsAre("lock_dimension Store", "version", "write_back_dimension Store"));
}

TEST_F(SharedDimensionsUpdate, LevelsAreNotLockedAfterARefusal) {
  std::vector<std::string> operations;
  use_hook([&](const std::string& operation) {
    operations.push_back(operation);
    if (operation == "lock_dimension Store") {
      refuse(operation);
    }
  });
  given("Store");
  options.ImportType = import_type::update;
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations, ElementsAre("lock_dimension Store"));
  expect_no_error();
}

class FailingLockCheck : public SharedDimensionsUpdate,
                         public ::testing::WithParamInterface<const char*> {};

TEST_P(FailingLockCheck, FailsTheRunAndIsNoRefusal) {
  use_hook([](const std::string& operation) {
    if (operation == GetParam()) {
      throw ImportError("disk on fire", error_source::olap_server);
    }
  });
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Updating shared dimension 'Store'"));
  expect_failed("disk on fire");
  expect_unchanged("Store");
}

INSTANTIATE_TEST_SUITE_P(OfBothKinds, FailingLockCheck,
                         ::testing::Values("lock_dimension Store", "lock_levels Store"),
                         [](const auto& check) { return check.index == 0 ? "Use" : "Levels"; });

TEST_F(SharedDimensionsUpdate, NewOneIsNotLocked) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given_data_source("Warehouse");
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations, ElementsAre("version", "write_back_dimension Store"));
}

}  // namespace
}  // namespace importkcd::testing
