#include <string>
#include <vector>

#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;

/// Every test runs without and with partitions.
class RepeatedImport : public ImporterTest, public ::testing::WithParamInterface<bool> {
 protected:
  RepeatedImport() { options.import_partitions = GetParam(); }

  void import_successfully() {
    import(whole_document());
    EXPECT_TRUE(importer->succeeded);
    EXPECT_EQ(importer->last_error, "");
  }

  /// The messages that precede and follow those of the partitions, joined with them.
  std::vector<std::string> with_partitions(std::vector<std::string> messages) const {
    if (!GetParam()) {
      std::erase(messages, "Creating cube partitions");
    }
    return messages;
  }
};

INSTANTIATE_TEST_SUITE_P(Partitions, RepeatedImport, ::testing::Bool(),
                         [](const auto& tested) { return tested.param ? "With" : "Without"; });

TEST_P(RepeatedImport, IncrementalSkipsEverythingAndChangesNothing) {
  import_successfully();
  const auto first = stored_text();
  std::vector<std::string> operations;
  hook = record_operations(operations);
  import_successfully();
  EXPECT_THAT(
      processing_messages(),
      ElementsAre("Processing document", "Searching database 'Shop'", "Creating library",
                  "Creating data sources", "Searching data source 'Warehouse'",
                  "Skipping data source 'Warehouse'", "Creating shared dimensions",
                  "Searching shared dimension 'Time'", "Skipping shared dimension 'Time'",
                  "Searching shared dimension 'Product'", "Skipping shared dimension 'Product'",
                  "Searching shared dimension 'Region'", "Skipping shared dimension 'Region'",
                  "Creating roles", "Searching role 'Readers'", "Skipping role 'Readers'",
                  "Creating cubes", "Searching cube 'Sales'", "Skipping cube 'Sales'",
                  "Searching cube 'Stock'", "Skipping cube 'Stock'"));
  EXPECT_EQ(stored_text(), first);
  EXPECT_THAT(operations, ElementsAre("connect memory:", "class_type", "hold_database Shop",
                                      "stored_objects", "open_database Shop", "finish"));
}

TEST_P(RepeatedImport, ReplaceBuildsTheSameAnew) {
  options.ImportType = import_type::replace;
  import_successfully();
  const auto first = stored_text();
  import_successfully();
  EXPECT_EQ(processing_messages(), whole_document_messages(GetParam()));
  EXPECT_EQ(stored_text(), first);
}

TEST_P(RepeatedImport, UpdateRewritesWhatIsNotInUse) {
  import_successfully();
  const auto first = stored_text();
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import_successfully();
  EXPECT_EQ(
      processing_messages(),
      with_partitions(
          {"Processing document",
           "Searching database 'Shop'",
           "Creating library",
           "Creating data sources",
           "Searching data source 'Warehouse'",
           "Updating data source 'Warehouse'",
           "Creating shared dimensions",
           "Searching shared dimension 'Time'",
           "Updating shared dimension 'Time'",
           "Error : Can't update Shared Dimension 'Time' proberly locked due to use in Cube.",
           "           Updating shared dimension 'Time' canceled",
           "Searching shared dimension 'Product'",
           "Updating shared dimension 'Product'",
           "Error : Can't update Shared Dimension 'Product' proberly locked due to use in Cube.",
           "           Updating shared dimension 'Product' canceled",
           "Searching shared dimension 'Region'",
           "Updating shared dimension 'Region'",
           "Creating roles",
           "Searching role 'Readers'",
           "Updating virtual dimension 'Readers'",
           "Creating cubes",
           "Searching cube 'Sales'",
           "Updating cube 'Sales'",
           "Creating cube partitions",
           "Creating cube role 'Readers'",
           "Searching cube 'Stock'",
           "Updating cube 'Stock'",
           "Creating cube partitions"}));
  EXPECT_EQ(stored_text(), first);
}

TEST_P(RepeatedImport, UpdateIsEqualAgainTheThirdTime) {
  import_successfully();
  const auto first = stored_text();
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import_successfully();
  import_successfully();
  EXPECT_EQ(stored_text(), first);
}

TEST_P(RepeatedImport, WithoutAModeNothingHappensToWhatIsThere) {
  options.ImportType = import_type::none;
  import_successfully();
  EXPECT_EQ(processing_messages(), whole_document_messages(GetParam()));
  const auto first = stored_text();
  import_successfully();
  EXPECT_EQ(processing_messages(), messages_of_leaving_alone());
  EXPECT_EQ(stored_text(), first);
}

TEST_P(RepeatedImport, EveryModeGivesTheSameFirstImport) {
  import_successfully();
  const auto first = stored_text();
  for (const auto type : {import_type::none, import_type::replace, import_type::update}) {
    clear_store();
    options.ImportType = type;
    import_successfully();
    EXPECT_EQ(processing_messages(), whole_document_messages(GetParam()));
    EXPECT_EQ(stored_text(), first);
  }
}

TEST_P(RepeatedImport, AnUpdateFollowsTheDocument) {
  import_successfully();
  const auto first = stored_text();
  auto text = whole_document();
  for (const std::string word : {"Unused", "What was sold", "anna;bert", "dw1"}) {
    text.replace(text.find(word), word.size(), "changed");
  }
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(text);
  EXPECT_TRUE(importer->succeeded) << importer->last_error;
  auto expected = first;
  for (const std::string word : {"Unused", "What was sold", "anna;bert", "dw1"}) {
    expected.replace(expected.find(word), word.size(), "changed");
  }
  EXPECT_EQ(stored_text(), expected);
}

TEST_P(RepeatedImport, AnUpdateWithLevelsFailsOnLevelsThatAreThere) {
  import_successfully();
  const auto first = stored_text();
  options.ImportType = import_type::update;
  import(whole_document());
  EXPECT_FALSE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "'Region' already exists");
  EXPECT_EQ(processing_messages().back(), "Updating shared dimension 'Region'");
  EXPECT_EQ(stored_text(), first);
}

using OrderOfOperations = ImporterTest;

TEST_F(OrderOfOperations, AFirstImport) {
  std::vector<std::string> operations;
  hook = record_operations(operations);
  options.import_partitions = true;
  import(whole_document());
  EXPECT_THAT(operations,
              ElementsAre("connect memory:", "class_type", "hold_database Shop", "stored_objects",
                          "add_database Shop", "write_back_database Shop",
                          "write_back_data_source Warehouse",
                          // shared dimensions
                          "version", "write_back_dimension Time", "version",
                          "write_back_dimension Product", "version", "write_back_dimension Region",
                          // the cube, its dimensions, its partitions, the cube again
                          "write_back_cube Sales", "write_back_cube Sales", "version",
                          "write_back_dimension Channel", "write_back_dimension Channel",
                          "write_back_partition Sales", "write_back_partition Rest",
                          "write_back_cube Sales", "structure_is_valid Sales",
                          // the next cube
                          "write_back_cube Stock", "write_back_cube Stock", "write_back_cube Stock",
                          "structure_is_valid Stock", "finish"));
}

TEST_F(OrderOfOperations, AReplacement) {
  import(whole_document());
  std::vector<std::string> operations;
  hook = record_operations(operations);
  options.ImportType = import_type::replace;
  import(bare_document("1.0.1073", "SHOP"));
  EXPECT_THAT(operations,
              ElementsAre("connect memory:", "class_type", "hold_database SHOP", "stored_objects",
                          "open_database Shop", "stored_objects", "remove_database Shop",
                          "hold_database SHOP", "stored_objects", "add_database SHOP",
                          "write_back_database SHOP", "finish"));
}

TEST_F(OrderOfOperations, AnUpdateEmptiesEachCubeBeforeItIsRewritten) {
  options.import_partitions = true;
  import(whole_document());
  std::vector<std::string> operations;
  hook = record_operations(operations);
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(whole_document());
  EXPECT_THAT(
      operations,
      ElementsAre("connect memory:", "class_type", "hold_database Shop", "stored_objects",
                  "open_database Shop", "write_back_data_source Warehouse",
                  // shared dimensions, two of them in use
                  "lock_dimension Time", "lock_dimension Product", "lock_dimension Region",
                  "version", "write_back_dimension Region",
                  // the cube is emptied ...
                  "lock_cube Sales", "remove_first dimensions Sales",
                  "remove_first dimensions Sales", "remove_first measures Sales",
                  "remove_first calculated_members Sales", "remove_first roles Sales",
                  "remove_first data_sources Sales", "remove_first partitions Sales",
                  "remove_first partitions Sales",
                  // ... and built again
                  "write_back_cube Sales", "write_back_cube Sales", "version",
                  "write_back_dimension Channel", "write_back_dimension Channel",
                  "write_back_partition Sales", "write_back_partition Rest",
                  "write_back_cube Sales", "structure_is_valid Sales",
                  // the next cube
                  "lock_cube Stock", "remove_first dimensions Stock", "remove_first measures Stock",
                  "remove_first data_sources Stock", "remove_first partitions Stock",
                  "write_back_cube Stock", "write_back_cube Stock", "write_back_cube Stock",
                  "structure_is_valid Stock", "finish"));
}

}  // namespace
}  // namespace importkcd::testing
