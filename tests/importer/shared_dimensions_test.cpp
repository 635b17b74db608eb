#include "tests/importer/shared_dimensions_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;

/// A server that gives another version than the one it forwards to.
class OtherVersionServer : public ForwardingServer {
 public:
  OtherVersionServer(std::unique_ptr<OlapServer> target, std::string version)
      : ForwardingServer(std::move(target)), version_(std::move(version)) {}
  std::string version() const override { return version_; }

 private:
  std::string version_;
};

using SharedDimensions = SharedDimensionsTest;

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

}  // namespace
}  // namespace importkcd::testing
