#include <memory>
#include <new>

#include "importer/sections.h"
#include "tests/importer/changed_text.h"
#include "tests/importer/dimensions_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string all_level = R"(<level name="All sizes" member_key_column="All"/>)";
const std::string size =
    R"(<level name="Size" column_type="3" description="Square feet" member_key_column="store.sqft" member_name_column="store.sqft_text" ordering="key"/>)";

std::string dimension_text(const std::string& name, const std::string& levels) {
  return R"(<virtual_dimension name=")" + name +
         R"(" description="How large it is" type="time"><levels>)" + levels +
         "</levels></virtual_dimension>";
}

class Version7Server : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  std::string version() const override { return "7.0"; }
};

class VirtualDimensions : public DimensionsTest {
 protected:
  void import(const std::string& dimensions) {
    ImportVirtualDimensions(run(),
                            &parse("<virtual_dimensions>" + dimensions + "</virtual_dimensions>"));
  }

  /// Puts a virtual dimension on the server, as an earlier run would have.
  void given(const std::string& name) {
    OlapDimension dimension;
    dimension.name = name;
    dimension.kind = OlapDimensionKind::is_virtual;
    dimension.description = "old description";
    server().write_back_dimension(database(), database().dimensions().add(dimension));
    store_and_reopen();
  }

  /// Imports a new dimension "Store size" of one level and gives that level as the server keeps it.
  OlapLevel imported_level(const std::string& level_text) {
    import(dimension_text("Store size", level_text));
    expect_no_error();
    return only_level_of("Store size");
  }

  void expect_unchanged(std::string_view name) {
    const auto found = stored(name);
    EXPECT_EQ(found.name, name);
    EXPECT_EQ(found.description, "old description");
    EXPECT_EQ(found.type, OlapDimensionType::regular);
    EXPECT_FALSE(found.allow_siblings_with_same_name);
    EXPECT_TRUE(found.levels.empty());
  }
};

TEST_F(VirtualDimensions, AbsentCollectionYieldsOnlyTheHeading) {
  ImportVirtualDimensions(run(), nullptr);
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual dimensions"));
  expect_no_error();
}

TEST_F(VirtualDimensions, EmptyCollectionYieldsOnlyTheHeading) {
  import("");
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual dimensions"));
}

TEST_F(VirtualDimensions, NewOneIsCreatedWithAllItsProperties) {
  import(dimension_text("Store size", all_level + size));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'Store size'",
                          "Creating virtual dimension 'Store size'"));
  expect_no_error();
  const auto created = stored("Store size");
  EXPECT_EQ(created.name, "Store size");
  EXPECT_EQ(created.kind, OlapDimensionKind::is_virtual);
  EXPECT_EQ(created.description, "How large it is");
  EXPECT_EQ(created.type, OlapDimensionType::time);
  EXPECT_EQ(created.data_source, "");
  EXPECT_TRUE(created.custom_properties.empty());
  ASSERT_EQ(created.levels.size(), 2U);
  EXPECT_EQ(created.levels[0].name, "All sizes");
  EXPECT_EQ(created.levels[1].name, "Size");
}

TEST_F(VirtualDimensions, EveryChildElementIsADimensionInDocumentOrder) {
  import(R"(<!-- not an object --><other name="B" description=""><levels/></other>)" +
         dimension_text("A", ""));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'B'",
                          "Creating virtual dimension 'B'", "Searching virtual dimension 'A'",
                          "Creating virtual dimension 'A'"));
  expect_no_error();
  EXPECT_EQ(stored("B").type, OlapDimensionType::regular);
}

TEST_F(VirtualDimensions, NameAndDescriptionAreDecoded) {
  import(changed(dimension_text("Bob@#$%s", ""), "How large it is", "It@#$%s"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'Bob's'",
                          "Creating virtual dimension 'Bob's'"));
  EXPECT_EQ(stored("Bob's").description, "It's");
}

TEST_F(VirtualDimensions, ExistingOneIsSkippedInIncrementalMode) {
  given("Store size");
  options.ImportType = import_type::incremental;
  import(dimension_text("Store size", size));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'Store size'",
                          "Skipping virtual dimension 'Store size'"));
  expect_no_error();
  expect_unchanged("Store size");
}

TEST_F(VirtualDimensions, ExistingOneIsRewrittenInUpdateMode) {
  given("Store size");
  options.ImportType = import_type::update;
  import(dimension_text("STORE SIZE", size));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'STORE SIZE'",
                          "Updating virtual dimension 'STORE SIZE'"));
  expect_no_error();
  const auto updated = stored("Store size");
  EXPECT_EQ(updated.name, "Store size");
  EXPECT_EQ(updated.kind, OlapDimensionKind::is_virtual);
  EXPECT_EQ(updated.description, "How large it is");
  EXPECT_EQ(updated.type, OlapDimensionType::time);
  EXPECT_TRUE(updated.allow_siblings_with_same_name);
  EXPECT_EQ(updated.levels.size(), 1U);
}

TEST_F(VirtualDimensions, ExistingOneGetsNothingAtAllInOtherModes) {
  given("Store size");
  for (const std::int32_t type : {import_type::none, import_type::replace, 4, -1}) {
    options.ImportType = type;
    sink.messages.clear();
    import(dimension_text("Store size", size));
    EXPECT_THAT(sink.messages, ElementsAre("Creating virtual dimensions",
                                           "Searching virtual dimension 'Store size'"));
    expect_no_error();
    expect_unchanged("Store size");
  }
}

TEST_F(VirtualDimensions, UpdateOfALockedOneIsCanceledAndTheNextOnesFollow) {
  given("Store size");
  given_cube_with("Store size", OlapCubeKind::regular);
  options.ImportType = import_type::update;
  import(dimension_text("Store size", size) + dimension_text("Other", size));
  EXPECT_THAT(
      sink.messages,
      ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'Store size'",
                  "Updating virtual dimension 'Store size'",
                  "Error : Can't update Dimension 'Store size'",
                  "           Updating virtual dimension 'Store size' canceled",
                  "Searching virtual dimension 'Other'", "Creating virtual dimension 'Other'"));
  expect_no_error();
  expect_unchanged("Store size");
  EXPECT_EQ(stored("Other").description, "How large it is");
}

TEST_F(VirtualDimensions, AnErrorOfTheLockCheckThatIsNoRefusalFailsTheRun) {
  const auto fail = [](const std::string& operation) {
    if (operation == "lock_dimension Store size") {
      throw ImportError("disk on fire", error_source::olap_server);
    }
  };
  use_hook(fail);
  given("Store size");
  options.ImportType = import_type::update;
  import(dimension_text("Store size", size) + dimension_text("Other", size));
  EXPECT_THAT(
      sink.messages,
      ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'Store size'",
                  "Updating virtual dimension 'Store size'", "Searching virtual dimension 'Other'",
                  "Creating virtual dimension 'Other'"));
  expect_failed("disk on fire");
  expect_unchanged("Store size");
}

TEST_F(VirtualDimensions, OnlyTheDimensionIsLockedNotItsLevels) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given("Store size");
  options.ImportType = import_type::update;
  operations.clear();
  import(dimension_text("Store size", size) + dimension_text("Other", size));
  EXPECT_THAT(operations,
              ElementsAre("lock_dimension Store size", "version", "write_back_dimension Store size",
                          "version", "write_back_dimension Other"));
}

TEST_F(VirtualDimensions, LevelsAreImportedAlsoWhenThoseOfSharedDimensionsAreLeftAlone) {
  options.DontUpdateLevels = true;
  EXPECT_EQ(imported_level(size).name, "Size");
}

TEST_F(VirtualDimensions, FlagOfVersion8IsSet) {
  import(dimension_text("Store size", ""));
  EXPECT_TRUE(stored("Store size").allow_siblings_with_same_name);
}

TEST_F(VirtualDimensions, FlagOfVersion8IsNotSetOnAnotherVersion) {
  use_server(std::make_unique<Version7Server>(make_memory_server(store)));
  import(dimension_text("Store size", ""));
  EXPECT_EQ(stored("Store size").description, "How large it is");
  EXPECT_FALSE(stored("Store size").allow_siblings_with_same_name);
}

TEST_F(VirtualDimensions, AllLevelHasOnlyItsKeyColumn) {
  const auto level = imported_level(changed(size, "store.sqft", "All"));
  EXPECT_EQ(level.name, "Size");
  EXPECT_EQ(level.type, OlapLevelType::all);
  EXPECT_EQ(level.member_key_column, "All");
  EXPECT_EQ(level.column_type, 0);
  EXPECT_EQ(level.description, "");
  EXPECT_EQ(level.member_name_column, "");
  EXPECT_EQ(level.ordering, OlapOrdering::name);
}

TEST_F(VirtualDimensions, AllLevelNeedsNoOtherAttributes) {
  EXPECT_EQ(imported_level(all_level).type, OlapLevelType::all);
}

TEST_F(VirtualDimensions, OtherLevelGetsAllItsProperties) {
  const auto level = imported_level(size);
  EXPECT_EQ(level.name, "Size");
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.column_type, 3);
  EXPECT_EQ(level.description, "Square feet");
  EXPECT_EQ(level.member_key_column, "store.sqft");
  EXPECT_EQ(level.member_name_column, "store.sqft_text");
  EXPECT_EQ(level.ordering, OlapOrdering::key);
}

TEST_F(VirtualDimensions, AllInAnotherLetterCaseIsAnOrdinaryKeyColumn) {
  const auto level = imported_level(changed(size, "store.sqft", "all"));
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.member_key_column, "all");
  EXPECT_EQ(level.column_type, 3);
}

TEST_F(VirtualDimensions, KeyAndNameColumnsOfALevelAreNotDecoded) {
  auto text = changed(size, R"(name="Size")", R"(name="S@#$%")");
  text = changed(text, "Square feet", "D@#$%");
  text = changed(text, R"("store.sqft")", R"("K@#$%")");
  const auto level = imported_level(changed(text, "store.sqft_text", "N@#$%"));
  EXPECT_EQ(level.name, "S'");
  EXPECT_EQ(level.description, "D'");
  EXPECT_EQ(level.member_key_column, "K@#$%");
  EXPECT_EQ(level.member_name_column, "N@#$%");
}

TEST_F(VirtualDimensions, OrderingMayBeAbsent) {
  EXPECT_EQ(imported_level(without(size, R"( ordering="key")")).ordering, OlapOrdering::name);
}

TEST_F(VirtualDimensions, EveryFailureOfALevelIsAnErrorAndTheNextDimensionsFollow) {
  struct Case {
    std::string from;
    std::string to;
    std::string error;
  };
  const std::vector<Case> cases = {
      {R"(name="Size")", "", "Invalid use of Null"},
      {R"(name="Size")", R"(name="")", "an object must have a name"},
      {R"(member_key_column="store.sqft")", "", "Invalid use of Null"},
      {R"(column_type="3")", "", "Invalid use of Null"},
      {R"(column_type="3")", R"(column_type="x")", "Type mismatch"},
      {R"(column_type="3")", R"(column_type="32768")", "Overflow"},
      {R"(description="Square feet")", "", "Invalid use of Null"},
      {R"(member_name_column="store.sqft_text")", "", "Invalid use of Null"},
  };
  int number = 0;
  for (const auto& [from, to, error] : cases) {
    SCOPED_TRACE(::testing::Message() << from << " -> " << to);
    const auto name = "D" + std::to_string(++number);
    outcome = {true, ""};
    import(dimension_text(name, changed(size, from, to)) + dimension_text("After " + name, size));
    expect_failed(error);
    EXPECT_EQ(stored(name).name, "");
    EXPECT_EQ(stored("After " + name).levels.size(), 1U);
  }
}

TEST_F(VirtualDimensions, LevelWithoutAKeyColumnIsNotAdded) {
  import(dimension_text("Store size", without(size, R"(member_key_column="store.sqft")")));
  EXPECT_TRUE(database().dimensions().find("Store size")->levels.empty());
}

TEST_F(VirtualDimensions, PropertiesOfALevelAreSetInOrderUntilTheFirstFailure) {
  const auto failed_level = [&](const std::string& name, const std::string& part) {
    import(dimension_text(name, without(size, part)));
    return database().dimensions().find(name)->levels[0];
  };
  auto level = failed_level("A", R"(column_type="3")");
  EXPECT_EQ(level.description, "");
  level = failed_level("B", R"(description="Square feet")");
  EXPECT_EQ(level.column_type, 3);
  EXPECT_EQ(level.member_key_column, "");
  level = failed_level("C", R"(member_name_column="store.sqft_text")");
  EXPECT_EQ(level.description, "Square feet");
  EXPECT_EQ(level.member_key_column, "store.sqft");
  EXPECT_EQ(level.ordering, OlapOrdering::name);
}

TEST_F(VirtualDimensions, LevelsAfterAFailedOneFollow) {
  import(dimension_text("Store size", changed(size, R"("3")", R"("x")") + all_level));
  expect_failed("Type mismatch");
  const OlapDimension* failed = database().dimensions().find("Store size");
  ASSERT_NE(failed, nullptr);
  ASSERT_EQ(failed->levels.size(), 2U);
  EXPECT_EQ(failed->levels[1].type, OlapLevelType::all);
  EXPECT_EQ(stored("Store size").name, "");
}

TEST_F(VirtualDimensions, LevelNamedTwiceIsAnError) {
  import(dimension_text("Store size", size + size));
  expect_failed("'Size' already exists");
  EXPECT_EQ(stored("Store size").name, "");
}

TEST_F(VirtualDimensions, FailedUpdateLeavesTheServersOneAsItWas) {
  given("Store size");
  options.ImportType = import_type::update;
  import(dimension_text("Store size", changed(size, R"("3")", R"("x")")));
  expect_failed("Type mismatch");
  expect_unchanged("Store size");
}

TEST_F(VirtualDimensions, AbsentNameFailsBeforeAnyMessage) {
  import("<virtual_dimension/>");
  EXPECT_THAT(sink.messages, ElementsAre("Creating virtual dimensions"));
  expect_failed("Invalid use of Null");
}

TEST_F(VirtualDimensions, EmptyNameCannotBeAdded) {
  import(dimension_text("", size));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension ''"));
  expect_failed("an object must have a name");
}

TEST_F(VirtualDimensions, AbsentDescriptionIsAnError) {
  import(without(dimension_text("Store size", size), R"(description="How large it is")"));
  expect_failed("Invalid use of Null");
  EXPECT_EQ(stored("Store size").name, "");
}

TEST_F(VirtualDimensions, AbsentLevelsElementIsAnError) {
  import(without(dimension_text("Store size", ""), "<levels></levels>"));
  expect_failed("element 'levels' is missing");
  EXPECT_EQ(stored("Store size").name, "");
}

TEST_F(VirtualDimensions, FailingWriteBackIsTheErrorAndTheNextOnesFollow) {
  use_hook(fail_operation("write_back_dimension A"));
  import(dimension_text("A", size) + dimension_text("B", size));
  expect_failed("refused by the test");
  EXPECT_EQ(stored("A").name, "");
  EXPECT_EQ(stored("B").name, "B");
}

TEST_F(VirtualDimensions, NothingIsShownToAPerson) {
  import("<virtual_dimension/>");
  EXPECT_THAT(sink.notifications, IsEmpty());
}

}  // namespace
}  // namespace importkcd::testing
