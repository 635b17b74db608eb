#include "engine/shared_dimensions.h"

#include "tests/engine/changed_text.h"
#include "tests/support/forwarding_server.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string country =
    R"(<level name="Country" type="regular" column_size="50" column_type="130" description="The country" estimated_size="12" member_key_column="store.country" member_name_column="store.country_name" ordering="key" unique_items="true"/>)";

/// A dimension with these levels.
std::string dimension_text(const std::string& name, const std::string& levels) {
  return R"(<shared_dimension name=")" + name +
         R"(" description="Where it was sold" type="time" data_source="Warehouse" from_clause="store" join_clause="a=b" schema_layout="star"><levels>)" +
         levels + "</levels></shared_dimension>";
}

std::string collection(const std::string& dimensions) {
  return "<shared_dimensions>" + dimensions + "</shared_dimensions>";
}

std::vector<std::string> names_of(const NamedCollection<OlapLevel>& levels) {
  std::vector<std::string> names;
  for (const auto& level : levels) {
    names.push_back(level.name);
  }
  return names;
}

/// A server that gives another version than the one it forwards to.
class OtherVersionServer : public ForwardingServer {
 public:
  OtherVersionServer(std::unique_ptr<OlapServer> target, std::string version)
      : ForwardingServer(std::move(target)), version_(std::move(version)) {}
  std::string version() const override { return version_; }

 private:
  std::string version_;
};

/// The database has the data source "Warehouse".
class SharedDimensions : public SectionTest {
 protected:
  /// Decides which server the section meets: an in-memory one behind `before`.
  void use_hook(ForwardingServer::Hook before) {
    use_server(std::make_unique<ForwardingServer>(make_memory_server(store), std::move(before)));
  }

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

  /// Puts a cube on the server that uses the dimension.
  void given_cube_with(const std::string& dimension, OlapCubeKind kind) {
    OlapCube& cube = database().add_cube("Sales", kind);
    database().add_cube_dimension(cube, dimension);
    if (kind == OlapCubeKind::regular) {
      server().write_back_cube(database(), cube);
    } else {
      server().write_back_database(database());
    }
    store_and_reopen();
  }

  /// The dimension as the server keeps it; with an empty name when there is none.
  OlapDimension stored(std::string_view name) {
    store_and_reopen();
    const OlapDimension* found = database().dimensions().find(name);
    return found == nullptr ? OlapDimension{} : *found;
  }

  /// Imports a new dimension "Store" of one level and gives that level as the server keeps it.
  OlapLevel imported_level(const std::string& level_text) {
    import(dimension_text("Store", level_text));
    expect_no_error();
    const auto levels = stored("Store").levels;
    EXPECT_EQ(levels.size(), 1U);
    return levels.empty() ? OlapLevel{} : levels[0];
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
    EXPECT_THAT(names_of(found.levels), ElementsAre("Old level"));
  }

  void expect_failed(const std::string& error) const {
    EXPECT_FALSE(outcome.succeeded);
    EXPECT_EQ(outcome.last_error, error);
  }

  void expect_no_error() const {
    EXPECT_TRUE(outcome.succeeded);
    EXPECT_EQ(outcome.last_error, "");
  }
};

TEST_F(SharedDimensions, AbsentCollectionYieldsOnlyTheHeading) {
  ImportSharedDimensions(run(), nullptr);
  EXPECT_THAT(sink.messages, ElementsAre("Creating shared dimensions"));
  expect_no_error();
}

TEST_F(SharedDimensions, EmptyCollectionYieldsOnlyTheHeading) {
  import("");
  EXPECT_THAT(sink.messages, ElementsAre("Creating shared dimensions"));
}

TEST_F(SharedDimensions, NewOneIsCreatedWithAllItsProperties) {
  import(dimension_text("Store", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Creating shared dimension 'Store'"));
  expect_no_error();
  const auto created = stored("Store");
  EXPECT_EQ(created.name, "Store");
  EXPECT_EQ(created.kind, OlapDimensionKind::shared);
  EXPECT_EQ(created.owner_cube, "");
  EXPECT_EQ(created.description, "Where it was sold");
  EXPECT_EQ(created.type, OlapDimensionType::time);
  EXPECT_EQ(created.data_source, "Warehouse");
  EXPECT_EQ(created.from_clause, "store");
  EXPECT_EQ(created.join_clause, "a=b");
  ASSERT_EQ(created.custom_properties.size(), 1U);
  EXPECT_EQ(created.custom_properties[0].name, "SchemaLayout");
  EXPECT_EQ(created.custom_properties[0].value, "star");
  EXPECT_THAT(names_of(created.levels), ElementsAre("Country"));
}

TEST_F(SharedDimensions, ImportTypeDoesNotMatterForANewOne) {
  for (const std::int32_t type :
       {import_type::none, import_type::incremental, import_type::replace, import_type::update}) {
    const auto name = "Store" + std::to_string(type);
    options.ImportType = type;
    sink.messages.clear();
    import(dimension_text(name, country));
    EXPECT_THAT(sink.messages, ElementsAre("Creating shared dimensions",
                                           "Searching shared dimension '" + name + "'",
                                           "Creating shared dimension '" + name + "'"));
    EXPECT_EQ(stored(name).from_clause, "store");
  }
}

TEST_F(SharedDimensions, EveryChildElementIsADimensionInDocumentOrder) {
  import("<!-- not an object --><other" +
         dimension_text("B", "").substr(std::string("<shared_dimension").size(),
                                        dimension_text("B", "").rfind("</shared_dimension>") -
                                            std::string("<shared_dimension").size()) +
         "</other>" + dimension_text("A", ""));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'B'",
                          "Creating shared dimension 'B'", "Searching shared dimension 'A'",
                          "Creating shared dimension 'A'"));
  store_and_reopen();
  EXPECT_THAT(database().dimensions().names(), ElementsAre("B", "A"));
}

TEST_F(SharedDimensions, NameDescriptionAndDataSourceAreDecodedAndTheClausesAreNot) {
  given_data_source("Bob's");
  auto text = changed(dimension_text("Store@#$%s", ""), "Where it was", "It@#$%s");
  text = changed(text, R"(data_source="Warehouse")", R"(data_source="Bob@#$%s")");
  text = changed(text, R"(from_clause="store")", R"(from_clause="@#$%f")");
  text = changed(text, R"(join_clause="a=b")", R"(join_clause="@#$%j")");
  import(changed(text, R"(schema_layout="star")", R"(schema_layout="@#$%s")"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store's'",
                          "Creating shared dimension 'Store's'"));
  expect_no_error();
  const auto created = stored("Store's");
  EXPECT_EQ(created.description, "It's sold");
  EXPECT_EQ(created.data_source, "Bob's");
  EXPECT_EQ(created.from_clause, "@#$%f");
  EXPECT_EQ(created.join_clause, "@#$%j");
  EXPECT_EQ(created.custom_properties[0].value, "@#$%s");
}

TEST_F(SharedDimensions, TypeIsAWordOfAnyLetterCaseAndMayBeAbsentOrUnknown) {
  import(changed(dimension_text("A", ""), R"(type="time")", R"(type="Quantitative")") +
         changed(dimension_text("B", ""), R"(type="time")", R"(type="odd")") +
         without(dimension_text("C", ""), R"(type="time")"));
  expect_no_error();
  EXPECT_EQ(stored("A").type, OlapDimensionType::quantitative);
  EXPECT_EQ(stored("B").type, OlapDimensionType::regular);
  EXPECT_EQ(stored("C").type, OlapDimensionType::regular);
}

TEST_F(SharedDimensions, DataSourceIsTheObjectOfThatNameWhateverTheLetterCase) {
  import(changed(dimension_text("Store", ""), R"("Warehouse")", R"("WAREHOUSE")"));
  expect_no_error();
  EXPECT_EQ(stored("Store").data_source, "Warehouse");
}

TEST_F(SharedDimensions, ExistingOneIsSkippedInIncrementalMode) {
  given("Store");
  options.ImportType = import_type::incremental;
  import(dimension_text("Store", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Skipping shared dimension 'Store'"));
  expect_no_error();
  expect_unchanged("Store");
}

TEST_F(SharedDimensions, ExistingOneGetsNothingAtAllInOtherModes) {
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

TEST_F(SharedDimensions, ExistingOneIsRewrittenInUpdateMode) {
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

TEST_F(SharedDimensions, UpdateReplacesTheSchemaLayoutAndKeepsOtherCustomProperties) {
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

TEST_F(SharedDimensions, UpdateAddsLevelsBehindTheExistingOnes) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", country + changed(country, "Country", "City")));
  expect_no_error();
  EXPECT_THAT(names_of(stored("Store").levels), ElementsAre("Old level", "Country", "City"));
}

TEST_F(SharedDimensions, UpdateFailsOnALevelThatExists) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", changed(country, "Country", "Old level")));
  expect_failed("'Old level' already exists");
  expect_unchanged("Store");
}

TEST_F(SharedDimensions, UpdateLeavesLevelsAloneWhenToldSo) {
  given("Store");
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(dimension_text("Store", changed(country, "Country", "Old level") + country));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
  EXPECT_THAT(names_of(stored("Store").levels), ElementsAre("Old level"));
}

TEST_F(SharedDimensions, NewOneStaysWithoutLevelsWhenToldToLeaveLevelsAlone) {
  options.DontUpdateLevels = true;
  import(dimension_text("Store", country));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
  EXPECT_THAT(names_of(stored("Store").levels), IsEmpty());
}

TEST_F(SharedDimensions, LevelsElementIsNotAskedForWhenLevelsAreLeftAlone) {
  options.DontUpdateLevels = true;
  import(without(dimension_text("Store", ""), "<levels></levels>"));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
}

TEST_F(SharedDimensions, ExistingOneIsFoundWhateverTheLetterCaseAndKeepsItsName) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("STORE", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'STORE'",
                          "Updating shared dimension 'STORE'"));
  EXPECT_EQ(stored("store").name, "Store");
  EXPECT_EQ(stored("store").description, "Where it was sold");
}

TEST_F(SharedDimensions, UpdateOfOneThatACubeUsesIsCanceledAndTheNextOnesFollow) {
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

TEST_F(SharedDimensions, UpdateOfOneThatACubeUsesIsCanceledAlsoWhenLevelsAreLeftAlone) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::regular);
  options.ImportType = import_type::update;
  options.DontUpdateLevels = true;
  import(dimension_text("Store", country));
  EXPECT_EQ(sink.messages.back(), "           Updating shared dimension 'Store' canceled");
  expect_no_error();
  expect_unchanged("Store");
}

TEST_F(SharedDimensions, UpdateOfLevelsIsCanceledWhenAVirtualCubeUsesTheDimension) {
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

TEST_F(SharedDimensions, UpdateThatLeavesLevelsAloneGoesOnWhenAVirtualCubeUsesTheDimension) {
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

TEST_F(SharedDimensions, CanceledUpdateNamesTheDimensionAsTheDocumentDoes) {
  given("Store");
  given_cube_with("Store", OlapCubeKind::regular);
  options.ImportType = import_type::update;
  import(dimension_text("STORE", country));
  EXPECT_EQ(sink.messages.back(), "           Updating shared dimension 'STORE' canceled");
}

TEST_F(SharedDimensions, LockChecksComeBeforeTheWriteBack) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given("Store");
  options.ImportType = import_type::update;
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations, ElementsAre("lock_dimension Store", "lock_levels Store", "version",
                                      "write_back_dimension Store"));
}

TEST_F(SharedDimensions, LevelsAreNotLockedWhenTheyAreLeftAlone) {
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

TEST_F(SharedDimensions, LevelsAreNotLockedAfterARefusal) {
  std::vector<std::string> operations;
  use_hook([&](const std::string& operation) {
    operations.push_back(operation);
    if (operation == "lock_dimension Store") {
      throw ImportError("refused by the test", error_source::olap_server);
    }
  });
  given("Store");
  options.ImportType = import_type::update;
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations, ElementsAre("lock_dimension Store"));
  expect_no_error();
}

TEST_F(SharedDimensions, NewOneIsNotLocked) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given_data_source("Warehouse");
  operations.clear();
  import(dimension_text("Store", country));
  EXPECT_THAT(operations, ElementsAre("version", "write_back_dimension Store"));
}

TEST_F(SharedDimensions, FlagOfVersion8IsSetOnlyThere) {
  import(dimension_text("Store", ""));
  EXPECT_TRUE(stored("Store").allow_siblings_with_same_name);
}

TEST_F(SharedDimensions, FlagOfVersion8IsNotSetOnAnotherVersion) {
  use_server(std::make_unique<OtherVersionServer>(make_memory_server(store), "8.00"));
  import(dimension_text("Store", ""));
  expect_no_error();
  EXPECT_EQ(stored("Store").description, "Where it was sold");
  EXPECT_FALSE(stored("Store").allow_siblings_with_same_name);
}

TEST_F(SharedDimensions, AbsentNameFailsBeforeAnyMessage) {
  import("<shared_dimension/>" + dimension_text("Time", ""));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Time'",
                          "Creating shared dimension 'Time'"));
  expect_failed("Invalid use of Null");
}

TEST_F(SharedDimensions, EmptyNameCannotBeAdded) {
  import(dimension_text("", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension ''"));
  expect_failed("an object must have a name");
}

TEST_F(SharedDimensions, EveryAbsentTextIsAnErrorAndTheNextOnesFollow) {
  for (const std::string part :
       {R"(description="Where it was sold")", R"(data_source="Warehouse")",
        R"(from_clause="store")", R"(join_clause="a=b")", R"(schema_layout="star")"}) {
    SCOPED_TRACE(part);
    outcome = {true, ""};
    sink.messages.clear();
    const auto name = part.substr(0, part.find('='));
    import(without(dimension_text(name, country), part) + dimension_text("After " + name, country));
    EXPECT_THAT(sink.messages, ElementsAre("Creating shared dimensions",
                                           "Searching shared dimension '" + name + "'",
                                           "Creating shared dimension '" + name + "'",
                                           "Searching shared dimension 'After " + name + "'",
                                           "Creating shared dimension 'After " + name + "'"));
    expect_failed("Invalid use of Null");
    EXPECT_EQ(stored(name).name, "");
    EXPECT_EQ(stored("After " + name).from_clause, "store");
  }
}

TEST_F(SharedDimensions, UnknownDataSourceIsAnError) {
  import(changed(dimension_text("Store", country), "Warehouse", "Nowhere"));
  EXPECT_FALSE(outcome.succeeded);
  EXPECT_THAT(outcome.last_error, ::testing::HasSubstr("Nowhere"));
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(SharedDimensions, PropertiesAreSetInOrderUntilTheFirstFailure) {
  import(changed(dimension_text("Store", country), "Warehouse", "Nowhere"));
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_EQ(failed->description, "Where it was sold");
  EXPECT_EQ(failed->type, OlapDimensionType::time);
  EXPECT_EQ(failed->from_clause, "");
  EXPECT_EQ(failed->levels.size(), 0U);
}

TEST_F(SharedDimensions, JoinClauseIsSetBeforeTheSchemaLayout) {
  import(without(dimension_text("Store", country), R"(schema_layout="star")"));
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_EQ(failed->from_clause, "store");
  EXPECT_EQ(failed->join_clause, "a=b");
  EXPECT_TRUE(failed->custom_properties.empty());
  EXPECT_FALSE(failed->allow_siblings_with_same_name);
}

TEST_F(SharedDimensions, FromClauseIsSetBeforeTheJoinClause) {
  import(without(dimension_text("Store", country), R"(join_clause="a=b")"));
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_EQ(failed->data_source, "Warehouse");
  EXPECT_EQ(failed->from_clause, "store");
  EXPECT_TRUE(failed->custom_properties.empty());
}

TEST_F(SharedDimensions, AbsentLevelsElementIsAnError) {
  import(without(dimension_text("Store", ""), "<levels></levels>"));
  expect_failed("element 'levels' is missing");
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(SharedDimensions, EmptyLevelsElementGivesADimensionWithoutLevels) {
  import(dimension_text("Store", ""));
  expect_no_error();
  EXPECT_EQ(stored("Store").name, "Store");
  EXPECT_TRUE(stored("Store").levels.empty());
}

TEST_F(SharedDimensions, FailingWriteBackIsTheErrorAndTheNextOnesFollow) {
  use_hook(fail_operation("write_back_dimension Store"));
  import(dimension_text("Store", country) + dimension_text("Time", country));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Creating shared dimension 'Store'", "Searching shared dimension 'Time'",
                          "Creating shared dimension 'Time'"));
  expect_failed("refused by the test");
  EXPECT_EQ(stored("Store").name, "");
  EXPECT_EQ(stored("Time").name, "Time");
}

TEST_F(SharedDimensions, LastErrorIsTheOneThatIsKept) {
  import("<shared_dimension/>" + dimension_text("", country));
  expect_failed("an object must have a name");
}

TEST_F(SharedDimensions, LevelGetsAllItsProperties) {
  const auto level = imported_level(country);
  EXPECT_EQ(level.name, "Country");
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.column_size, 50);
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.description, "The country");
  EXPECT_EQ(level.estimated_size, 12);
  EXPECT_EQ(level.member_key_column, "store.country");
  EXPECT_EQ(level.member_name_column, "store.country_name");
  EXPECT_EQ(level.ordering, OlapOrdering::key);
  EXPECT_TRUE(level.unique_items);
  EXPECT_FALSE(level.disabled);
  EXPECT_TRUE(level.member_properties.empty());
}

TEST_F(SharedDimensions, EveryChildElementOfLevelsIsALevelInDocumentOrder) {
  import(dimension_text("Store", "<!-- no level -->" + changed(country, "<level", "<other") +
                                     changed(country, "Country", "City")));
  expect_no_error();
  EXPECT_THAT(names_of(stored("Store").levels), ElementsAre("Country", "City"));
}

TEST_F(SharedDimensions, TextsOfALevelAreDecoded) {
  auto text = changed(country, R"(name="Country")", R"(name="C@#$%")");
  text = changed(text, "The country", "d@#$%");
  text = changed(text, "store.country", "k@#$%");
  const auto level = imported_level(changed(text, "store.country_name", "n@#$%"));
  EXPECT_EQ(level.name, "C'");
  EXPECT_EQ(level.description, "d'");
  EXPECT_EQ(level.member_key_column, "k'");
  EXPECT_EQ(level.member_name_column, "n'");
}

TEST_F(SharedDimensions, WordsOfALevelMayBeOfAnyLetterCase) {
  auto text = changed(country, R"(type="regular")", R"(type="TIME_DAYS")");
  text = changed(text, R"(ordering="key")", R"(ordering="Key")");
  const auto level = imported_level(changed(text, R"("true")", R"("True")"));
  EXPECT_EQ(level.type, OlapLevelType::time_days);
  EXPECT_EQ(level.ordering, OlapOrdering::key);
  EXPECT_TRUE(level.unique_items);
}

TEST_F(SharedDimensions, WordsOfALevelMayBeAbsent) {
  auto text = without(country, R"( type="regular")");
  text = without(text, R"( ordering="key")");
  const auto level = imported_level(without(text, R"( unique_items="true")"));
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.member_name_column, "store.country_name");
  EXPECT_EQ(level.ordering, OlapOrdering::name);
  EXPECT_FALSE(level.unique_items);
}

TEST_F(SharedDimensions, AllLevelHasNoColumnSizeAndNoMemberNameColumn) {
  const auto level = imported_level(changed(country, R"("regular")", R"("All")"));
  EXPECT_EQ(level.type, OlapLevelType::all);
  EXPECT_EQ(level.column_size, 0);
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.member_key_column, "store.country");
  EXPECT_EQ(level.member_name_column, "");
}

TEST_F(SharedDimensions, ColumnSizeOfAnAllLevelIsNotRead) {
  const auto all = changed(country, R"("regular")", R"("all")");
  import(dimension_text("Absent", without(all, R"( column_size="50")")) +
         dimension_text("NoNumber", changed(all, R"("50")", R"("wide")")));
  expect_no_error();
  EXPECT_EQ(stored("Absent").levels.size(), 1U);
  EXPECT_EQ(stored("NoNumber").levels.size(), 1U);
}

TEST_F(SharedDimensions, ColumnSizeIsSetOnlyWhenItIsAboveZero) {
  import(dimension_text("Zero", changed(country, R"("50")", R"("0")")) +
         dimension_text("Negative", changed(country, R"("50")", R"("-5")")) +
         dimension_text("One", changed(country, R"("50")", R"("1")")) +
         dimension_text("Largest", changed(country, R"("50")", R"("32767")")));
  expect_no_error();
  EXPECT_EQ(stored("Zero").levels[0].column_size, 0);
  EXPECT_EQ(stored("Negative").levels[0].column_size, 0);
  EXPECT_EQ(stored("One").levels[0].column_size, 1);
  EXPECT_EQ(stored("Largest").levels[0].column_size, 32767);
}

TEST_F(SharedDimensions, TimeLevelHasAColumnSizeAndNoMemberNameColumn) {
  const auto level = imported_level(changed(country, R"("regular")", R"("time_years")"));
  EXPECT_EQ(level.type, OlapLevelType::time_years);
  EXPECT_EQ(level.column_size, 50);
  EXPECT_EQ(level.member_name_column, "");
}

TEST_F(SharedDimensions, MemberNameColumnOfATimeLevelMayBeAbsent) {
  const auto level = imported_level(without(changed(country, R"("regular")", R"("time_years")"),
                                            R"( member_name_column="store.country_name")"));
  EXPECT_EQ(level.type, OlapLevelType::time_years);
}

TEST_F(SharedDimensions, EstimatedSizeHas32Bits) {
  EXPECT_EQ(imported_level(changed(country, R"("12")", R"("2147483647")")).estimated_size,
            2147483647);
}

TEST_F(SharedDimensions, EveryFailureOfALevelIsAnErrorAndTheDimensionIsNotWrittenBack) {
  struct Case {
    std::string from;
    std::string to;
    std::string error;
  };
  const std::vector<Case> cases = {
      {R"(name="Country")", "", "Invalid use of Null"},
      {R"(name="Country")", R"(name="")", "an object must have a name"},
      {R"(column_size="50")", "", "Invalid use of Null"},
      {R"(column_size="50")", R"(column_size="wide")", "Type mismatch"},
      {R"(column_size="50")", R"(column_size="32768")", "Overflow"},
      {R"(column_type="130")", "", "Invalid use of Null"},
      {R"(column_type="130")", R"(column_type="")", "Type mismatch"},
      {R"(column_type="130")", R"(column_type="40000")", "Overflow"},
      {R"(description="The country")", "", "Invalid use of Null"},
      {R"(estimated_size="12")", "", "Invalid use of Null"},
      {R"(estimated_size="12")", R"(estimated_size="many")", "Type mismatch"},
      {R"(estimated_size="12")", R"(estimated_size="2147483648")", "Overflow"},
      {R"(member_key_column="store.country")", "", "Invalid use of Null"},
      {R"(member_name_column="store.country_name")", "", "Invalid use of Null"},
  };
  int number = 0;
  for (const auto& [from, to, error] : cases) {
    SCOPED_TRACE(::testing::Message() << from << " -> " << to);
    const auto name = "Store" + std::to_string(++number);
    outcome = {true, ""};
    sink.messages.clear();
    import(dimension_text(name, changed(country, from, to)) +
           dimension_text("After " + name, country));
    EXPECT_THAT(sink.messages, ElementsAre("Creating shared dimensions",
                                           "Searching shared dimension '" + name + "'",
                                           "Creating shared dimension '" + name + "'",
                                           "Searching shared dimension 'After " + name + "'",
                                           "Creating shared dimension 'After " + name + "'"));
    expect_failed(error);
    EXPECT_EQ(stored(name).name, "");
    EXPECT_EQ(stored("After " + name).levels.size(), 1U);
  }
}

TEST_F(SharedDimensions, LevelNamedTwiceIsAnError) {
  import(dimension_text("Store", country + changed(country, "Country", "COUNTRY")));
  expect_failed("'COUNTRY' already exists");
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(SharedDimensions, LevelsAfterAFailedOneFollow) {
  import(dimension_text("Store", changed(country, R"("130")", R"("x")") +
                                     changed(country, "Country", "City") +
                                     changed(country, "Country", "Street")));
  expect_failed("Type mismatch");
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_THAT(names_of(failed->levels), ElementsAre("Country", "City", "Street"));
  EXPECT_EQ(failed->levels[2].ordering, OlapOrdering::key);
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(SharedDimensions, LastErrorOfTheLevelsIsTheOneThatIsKept) {
  import(dimension_text("Store", changed(country, R"("130")", R"("x")") +
                                     changed(country, R"(name="Country")", R"(name="")")));
  expect_failed("an object must have a name");
}

TEST_F(SharedDimensions, FailedLevelLeavesTheServersDimensionAsItWas) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", changed(country, R"("130")", R"("x")")));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Updating shared dimension 'Store'"));
  expect_failed("Type mismatch");
  expect_unchanged("Store");
}

TEST_F(SharedDimensions, PropertiesOfALevelAreSetInOrderUntilTheFirstFailure) {
  const auto failed_level = [&](const std::string& name, const std::string& part) {
    import(dimension_text(name, without(country, part)));
    return database().dimensions().find(name)->levels[0];
  };
  auto level = failed_level("A", R"(column_size="50")");
  EXPECT_EQ(level.column_type, 0);
  level = failed_level("B", R"(column_type="130")");
  EXPECT_EQ(level.column_size, 50);
  EXPECT_EQ(level.description, "");
  level = failed_level("C", R"(description="The country")");
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.estimated_size, 0);
  level = failed_level("D", R"(estimated_size="12")");
  EXPECT_EQ(level.description, "The country");
  EXPECT_EQ(level.member_key_column, "");
  level = failed_level("E", R"(member_key_column="store.country")");
  EXPECT_EQ(level.estimated_size, 12);
  EXPECT_EQ(level.member_name_column, "");
  level = failed_level("F", R"(member_name_column="store.country_name")");
  EXPECT_EQ(level.member_key_column, "store.country");
  EXPECT_EQ(level.ordering, OlapOrdering::name);
  EXPECT_FALSE(level.unique_items);
}

const std::string manager =
    R"(<member_property name="Manager" description="Who runs it" caption="Run by" source_column="store.manager"/>)";

/// The level "Country" with this content.
std::string level_with(const std::string& content) {
  return changed(country, "/>", ">" + content + "</level>");
}

TEST_F(SharedDimensions, MemberPropertyGetsAllItsProperties) {
  const auto level =
      imported_level(level_with("<member_properties>" + manager + "</member_properties>"));
  ASSERT_EQ(level.member_properties.size(), 1U);
  const auto& property = level.member_properties[0];
  EXPECT_EQ(property.name, "Manager");
  EXPECT_EQ(property.description, "Who runs it");
  EXPECT_EQ(property.caption, "Run by");
  EXPECT_EQ(property.source_column, "store.manager");
}

TEST_F(SharedDimensions, TextsOfAMemberPropertyAreDecodedButForItsColumn) {
  const auto level = imported_level(level_with(
      R"(<x><y name="N@#$%" description="D@#$%" caption="C@#$%" source_column="S@#$%"/></x>)"));
  ASSERT_EQ(level.member_properties.size(), 1U);
  const auto& property = level.member_properties[0];
  EXPECT_EQ(property.name, "N'");
  EXPECT_EQ(property.description, "D'");
  EXPECT_EQ(property.caption, "C'");
  EXPECT_EQ(property.source_column, "S@#$%");
}

TEST_F(SharedDimensions, EveryChildElementOfALevelIsACollectionOfMemberProperties) {
  const auto level = imported_level(
      level_with("<a>" + manager + changed(manager, "Manager", "Size") + "</a><!-- none --><b>" +
                 changed(manager, "Manager", "Phone") + "</b>"));
  ASSERT_EQ(level.member_properties.size(), 3U);
  EXPECT_EQ(level.member_properties[0].name, "Manager");
  EXPECT_EQ(level.member_properties[1].name, "Size");
  EXPECT_EQ(level.member_properties[2].name, "Phone");
}

TEST_F(SharedDimensions, ChildOfALevelWithoutChildrenGivesNoMemberProperties) {
  const auto level = imported_level(level_with("<member_properties/>" + manager));
  EXPECT_TRUE(level.member_properties.empty());
}

TEST_F(SharedDimensions, EveryFailureOfAMemberPropertyIsAnErrorAndTheDimensionIsNotWrittenBack) {
  const auto second = changed(manager, "Manager", "Size");
  int number = 0;
  for (const std::string part : {R"(name="Manager")", R"(description="Who runs it")",
                                 R"(caption="Run by")", R"(source_column="store.manager")"}) {
    SCOPED_TRACE(part);
    const auto name = "Store" + std::to_string(++number);
    outcome = {true, ""};
    import(dimension_text(name, level_with("<a>" + without(manager, part) + "</a>")) +
           dimension_text("After " + name, level_with("<a>" + second + "</a>")));
    expect_failed("Invalid use of Null");
    EXPECT_EQ(stored(name).name, "");
    EXPECT_EQ(stored("After " + name).levels.size(), 1U);
  }
}

TEST_F(SharedDimensions, MemberPropertyNamedTwiceIsAnError) {
  import(dimension_text("Store", level_with("<a>" + manager + "</a><b>" + manager + "</b>")));
  expect_failed("'Manager' already exists");
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(SharedDimensions, WhatComesAfterAFailedMemberPropertyFollows) {
  import(dimension_text("Store", level_with("<a>" + without(manager, R"(caption="Run by")") +
                                            changed(manager, "Manager", "Size") + "</a><b>" +
                                            changed(manager, "Manager", "Phone") + "</b>") +
                                     changed(country, "Country", "City")));
  expect_failed("Invalid use of Null");
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_THAT(names_of(failed->levels), ElementsAre("Country", "City"));
  const auto& properties = failed->levels[0].member_properties;
  ASSERT_EQ(properties.size(), 3U);
  EXPECT_EQ(properties[0].description, "Who runs it");
  EXPECT_EQ(properties[0].source_column, "");
  EXPECT_EQ(properties[1].source_column, "store.manager");
  EXPECT_EQ(properties[2].name, "Phone");
}

TEST_F(SharedDimensions, FailedLevelGetsNoMemberProperties) {
  import(
      dimension_text("Store", changed(level_with("<a>" + manager + "</a>"), R"("130")", R"("x")")));
  expect_failed("Type mismatch");
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_TRUE(failed->levels[0].member_properties.empty());
}

}  // namespace
}  // namespace importkcd::testing
