#include "importer/data_sources.h"

#include "tests/importer/changed_text.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string warehouse =
    R"(<data_sources><data_source name="Warehouse" connection_string="Provider=P;Data Source=DW" description="All sales"/></data_sources>)";

class DataSources : public SectionTest {
 protected:
  void import(std::string_view xml) { ImportDataSources(run(), &parse(xml)); }

  /// Puts a data source on the server, as an earlier run would have.
  void given(const std::string& name) {
    OlapDataSource data_source;
    data_source.name = name;
    data_source.connection_string = "old connection";
    data_source.description = "old description";
    OlapDataSource& added = database().data_sources().add(data_source);
    server().write_back_data_source(database(), added);
    store_and_reopen();
  }

  /// The data source as the server keeps it; with an empty name when there is none.
  OlapDataSource stored(std::string_view name) {
    store_and_reopen();
    const OlapDataSource* found = database().data_sources().find(name);
    return found == nullptr ? OlapDataSource{} : *found;
  }

  void expect_unchanged(std::string_view name) {
    const auto found = stored(name);
    EXPECT_EQ(found.name, name);
    EXPECT_EQ(found.connection_string, "old connection");
    EXPECT_EQ(found.description, "old description");
  }
};

TEST_F(DataSources, AbsentCollectionYieldsOnlyTheHeading) {
  ImportDataSources(run(), nullptr);
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources"));
  expect_no_error();
}

TEST_F(DataSources, EmptyCollectionYieldsOnlyTheHeading) {
  import("<data_sources/>");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources"));
}

TEST_F(DataSources, NewOneIsCreatedWithItsProperties) {
  import(warehouse);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating data sources", "Searching data source 'Warehouse'",
                          "Creating data source 'Warehouse'"));
  expect_no_error();
  const auto created = stored("Warehouse");
  EXPECT_EQ(created.name, "Warehouse");
  EXPECT_EQ(created.connection_string, "Provider=P;Data Source=DW");
  EXPECT_EQ(created.description, "All sales");
}

TEST_F(DataSources, ImportTypeDoesNotMatterForANewOne) {
  for (const std::int32_t type :
       {import_type::none, import_type::incremental, import_type::replace, import_type::update}) {
    const auto name = "DW" + std::to_string(type);
    options.ImportType = type;
    sink.messages.clear();
    import(changed(warehouse, "Warehouse", name));
    EXPECT_THAT(sink.messages,
                ElementsAre("Creating data sources", "Searching data source '" + name + "'",
                            "Creating data source '" + name + "'"));
    EXPECT_EQ(stored(name).connection_string, "Provider=P;Data Source=DW");
  }
}

TEST_F(DataSources, EveryChildElementIsADataSourceInDocumentOrder) {
  import(R"(<data_sources>
      <!-- not an object --><other name="B" connection_string="1"/><?pi not an object?>
      <data_source name="A" connection_string="2"/>
    </data_sources>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources", "Searching data source 'B'",
                                         "Creating data source 'B'", "Searching data source 'A'",
                                         "Creating data source 'A'"));
  store_and_reopen();
  EXPECT_THAT(database().data_sources().names(), ElementsAre("B", "A"));
}

TEST_F(DataSources, NameAndDescriptionAreDecodedAndTheConnectionStringIsNot) {
  import(R"(<data_sources>
      <data_source name="Bob@#$%s" connection_string="P=@#$%" description="It@#$%s @#$%"/>
    </data_sources>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources", "Searching data source 'Bob's'",
                                         "Creating data source 'Bob's'"));
  const auto created = stored("Bob's");
  EXPECT_EQ(created.name, "Bob's");
  EXPECT_EQ(created.connection_string, "P=@#$%");
  EXPECT_EQ(created.description, "It's '");
}

TEST_F(DataSources, AbsentDescriptionIsEmpty) {
  import(without(warehouse, R"( description="All sales")"));
  expect_no_error();
  EXPECT_EQ(stored("Warehouse").connection_string, "Provider=P;Data Source=DW");
  EXPECT_EQ(stored("Warehouse").description, "");
}

TEST_F(DataSources, AbsentDescriptionEmptiesTheDescriptionOfAnUpdatedOne) {
  given("Warehouse");
  options.ImportType = import_type::update;
  import(without(warehouse, R"( description="All sales")"));
  EXPECT_EQ(stored("Warehouse").description, "");
}

TEST_F(DataSources, ExistingOneIsSkippedInIncrementalMode) {
  given("Warehouse");
  options.ImportType = import_type::incremental;
  import(warehouse);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating data sources", "Searching data source 'Warehouse'",
                          "Skipping data source 'Warehouse'"));
  expect_no_error();
  expect_unchanged("Warehouse");
}

TEST_F(DataSources, ExistingOneIsRewrittenInUpdateMode) {
  given("Warehouse");
  options.ImportType = import_type::update;
  import(warehouse);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating data sources", "Searching data source 'Warehouse'",
                          "Updating data source 'Warehouse'"));
  expect_no_error();
  const auto updated = stored("Warehouse");
  EXPECT_EQ(updated.connection_string, "Provider=P;Data Source=DW");
  EXPECT_EQ(updated.description, "All sales");
}

TEST_F(DataSources, ExistingOneGetsNothingAtAllInOtherModes) {
  given("Warehouse");
  for (const std::int32_t type : {import_type::none, import_type::replace, 4, -1}) {
    options.ImportType = type;
    sink.messages.clear();
    import(warehouse);
    EXPECT_THAT(sink.messages,
                ElementsAre("Creating data sources", "Searching data source 'Warehouse'"));
    expect_no_error();
    expect_unchanged("Warehouse");
  }
}

TEST_F(DataSources, ExistingOneIsFoundWhateverTheLetterCaseAndKeepsItsName) {
  given("Warehouse");
  options.ImportType = import_type::update;
  import(changed(warehouse, "Warehouse", "WAREHOUSE"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating data sources", "Searching data source 'WAREHOUSE'",
                          "Updating data source 'WAREHOUSE'"));
  EXPECT_EQ(stored("warehouse").name, "Warehouse");
  EXPECT_EQ(stored("warehouse").description, "All sales");
}

TEST_F(DataSources, SecondOneOfANameIsSkippedInIncrementalMode) {
  options.ImportType = import_type::incremental;
  import(R"(<data_sources><data_source name="A" connection_string="1"/>
      <data_source name="a" connection_string="2"/></data_sources>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources", "Searching data source 'A'",
                                         "Creating data source 'A'", "Searching data source 'a'",
                                         "Skipping data source 'a'"));
  EXPECT_EQ(stored("A").connection_string, "1");
}

TEST_F(DataSources, WholeConnectionTextGoesToCreatedAndUpdatedOnes) {
  given("Old");
  options.ImportType = import_type::update;
  options.datawarehouse_connectstring = "Provider=N;Data Source=X";
  options.data_source_name = "NEWSRV";
  import(R"(<data_sources><data_source name="Old" connection_string="Data Source=A"/>
      <data_source name="New" connection_string="Data Source=B"/></data_sources>)");
  EXPECT_EQ(stored("Old").connection_string, "Provider=N;Data Source=X");
  EXPECT_EQ(stored("New").connection_string, "Provider=N;Data Source=X");
}

TEST_F(DataSources, ServerNameGoesToCreatedAndUpdatedOnes) {
  given("Old");
  options.ImportType = import_type::update;
  options.data_source_name = "NEWSRV";
  import(R"(<data_sources><data_source name="Old" connection_string="P=1;Data Source=A"/>
      <data_source name="New" connection_string="Data Source=B;Initial Catalog=DW"/></data_sources>)");
  EXPECT_EQ(stored("Old").connection_string, "P=1;Data Source=NEWSRV");
  EXPECT_EQ(stored("New").connection_string, ";Initial Catalog=DW");
}

TEST_F(DataSources, ConnectionTextDoesNotReachASkippedOne) {
  given("Warehouse");
  options.ImportType = import_type::incremental;
  options.datawarehouse_connectstring = "Provider=N";
  import(warehouse);
  expect_unchanged("Warehouse");
}

TEST_F(DataSources, AbsentNameFailsBeforeAnyMessageAndTheNextOnesFollow) {
  import(R"(<data_sources><data_source connection_string="1"/>
      <data_source name="A" connection_string="2"/></data_sources>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources", "Searching data source 'A'",
                                         "Creating data source 'A'"));
  expect_failed("Invalid use of Null");
  EXPECT_EQ(stored("A").connection_string, "2");
}

TEST_F(DataSources, EmptyNameCannotBeAdded) {
  import(R"(<data_sources><data_source name="" connection_string="1"/></data_sources>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources", "Searching data source ''"));
  expect_failed("an object must have a name");
}

TEST_F(DataSources, AbsentConnectionStringFailsEvenWhenItWouldBeReplaced) {
  options.datawarehouse_connectstring = "Provider=N";
  import(without(warehouse, R"( connection_string="Provider=P;Data Source=DW")"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating data sources", "Searching data source 'Warehouse'",
                          "Creating data source 'Warehouse'"));
  expect_failed("Invalid use of Null");
  EXPECT_EQ(stored("Warehouse").name, "");
}

TEST_F(DataSources, FailedUpdateLeavesTheServersOneAsItWas) {
  given("Warehouse");
  options.ImportType = import_type::update;
  import(without(warehouse, R"( connection_string="Provider=P;Data Source=DW")"));
  expect_failed("Invalid use of Null");
  expect_unchanged("Warehouse");
}

TEST_F(DataSources, FailingWriteBackIsTheErrorAndTheNextOnesFollow) {
  use_hook(fail_operation("write_back_data_source A"));
  import(R"(<data_sources><data_source name="A" connection_string="1"/>
      <data_source name="B" connection_string="2"/></data_sources>)");
  EXPECT_THAT(sink.messages, ElementsAre("Creating data sources", "Searching data source 'A'",
                                         "Creating data source 'A'", "Searching data source 'B'",
                                         "Creating data source 'B'"));
  expect_failed("refused by the test");
  EXPECT_EQ(stored("A").name, "");
  EXPECT_EQ(stored("B").connection_string, "2");
}

TEST_F(DataSources, LastErrorIsTheOneThatIsKept) {
  import(R"(<data_sources><data_source connection_string="1"/>
      <data_source name="" connection_string="2"/></data_sources>)");
  expect_failed("an object must have a name");
}

TEST_F(DataSources, EachOneIsWrittenBackAndASkippedOneIsNot) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  given("Old");
  operations.clear();
  options.ImportType = import_type::incremental;
  import(R"(<data_sources><data_source name="Old" connection_string="1"/>
      <data_source name="A" connection_string="1"/>
      <data_source name="B" connection_string="2"/></data_sources>)");
  EXPECT_THAT(operations, ElementsAre("write_back_data_source A", "write_back_data_source B"));
}

TEST_F(DataSources, NothingIsShownToAPerson) {
  import(R"(<data_sources><data_source/></data_sources>)");
  EXPECT_THAT(sink.notifications, IsEmpty());
}

}  // namespace
}  // namespace importkcd::testing
