#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/database_text.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::vector<std::string> headings_of_empty_sections = {
    "Creating library", "Creating data sources", "Creating shared dimensions", "Creating roles",
    "Creating cubes"};

/// The messages of a document without objects, from "Processing document" on.
std::vector<std::string> bare_messages(const std::string& database_message) {
  std::vector<std::string> messages = {"Processing document", database_message};
  messages.insert(messages.end(), headings_of_empty_sections.begin(),
                  headings_of_empty_sections.end());
  return messages;
}

class ImportDriver : public ImporterTest {
 protected:
  void expect_success() const {
    EXPECT_TRUE(importer->succeeded);
    EXPECT_EQ(importer->last_error, "");
    EXPECT_THAT(sink.notifications, IsEmpty());
  }
  void expect_failure(const std::string& last_error) const {
    EXPECT_FALSE(importer->succeeded);
    EXPECT_EQ(importer->last_error, last_error);
  }

  /// Stores a database by an import of its own.
  void store_database(const std::string& name, const std::string& description) {
    import(R"(<database version="1.0.1073" name=")" + name + "\" description=\"" + description +
           "\"/>");
    ASSERT_TRUE(importer->succeeded) << importer->last_error;
  }
};

TEST_F(ImportDriver, ASuccessfulRunSendsItsMessagesInOrder) {
  import(whole_document());
  expect_success();
  auto expected = whole_document_messages(false);
  expected.insert(expected.begin(), {"Opening DSO server on machine 'memory:'",
                                     "Opening kcd document file '" + copy_path() + "'"});
  EXPECT_EQ(sink.messages, expected);
  EXPECT_EQ(copy_path().rfind(temporary_folder() + "/", 0), 0U);
}

TEST_F(ImportDriver, ASuccessfulRunLeavesNoTemporaryCopy) {
  import(whole_document());
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportDriver, ARunThatStartsWithoutSuccessDoesNothingButClearTheLastError) {
  options.kcd_document_file_name = folder.write("document.kcd", whole_document());
  import_file();
  ImportOLAPDBFromKCDDoc failed([](std::string_view) -> std::unique_ptr<OlapServer> {
    ADD_FAILURE() << "no server is to be made";
    return nullptr;
  });
  static_cast<ImportOptions&>(failed) = options;
  sink.messages.clear();
  failed.succeeded = false;
  failed.last_error = "before";
  EXPECT_EQ(failed.make(), 0);
  EXPECT_FALSE(failed.succeeded);
  EXPECT_EQ(failed.last_error, "");
  EXPECT_THAT(sink.messages, IsEmpty());
}

TEST_F(ImportDriver, ARunWithoutSinksWorks) {
  options.progres_window = nullptr;
  options.notifications = nullptr;
  import(whole_document());
  expect_success();
  EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
}

TEST_F(ImportDriver, TheFactoryGetsTheMachineText) {
  std::string asked;
  server_factory = [&](std::string_view machine) {
    asked = machine;
    return make_memory_server();
  };
  options.machine_name = "some machine";
  import(whole_document());
  EXPECT_EQ(asked, "some machine");
}

// The temporary copy

TEST_F(ImportDriver, AFirstLineThatBeginsADocumentTypeIsDropped) {
  import("<!DOCnothing that XML knows>\n" + bare_document("1.0.1073", "D"));
  expect_success();
}

TEST_F(ImportDriver, ADocumentTypeOnALaterLineIsKept) {
  import("<?xml version=\"1.0\"?>\n<!DOCnothing that XML knows>\n" +
         bare_document("1.0.1073", "D"));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, HasSubstr("Cannot open kcd document file "));
}

TEST_F(ImportDriver, OnlyOneLineIsDropped) {
  import("<!DOC\n<!DOC\n" + bare_document("1.0.1073", "D"));
  EXPECT_FALSE(importer->succeeded);
}

TEST_F(ImportDriver, TheDocumentTypeIsComparedExactly) {
  import("<!doc\n" + bare_document("1.0.1073", "D"));
  EXPECT_FALSE(importer->succeeded);
}

TEST_F(ImportDriver, TheCompanyPatternIsReplacedEverywhereBeforeTheDocumentIsRead) {
  options.replace_pattern(true);
  options.pattern_from = "Foo";
  options.pattern_to = "Bar";
  import(
      "<Foo:database xmlns:Foo=\"x\" version=\"1.0.1073\" name=\"FooFoo foo\" "
      "description=\"aFoo\"/>");
  expect_success();
  EXPECT_EQ(importer->document()->root().tag(), "Bar:database");
  EXPECT_EQ(stored_text(), "database | BarBar foo | aBar\n");
}

TEST_F(ImportDriver, ThePatternIsNotReplacedWhenItIsSwitchedOff) {
  options.pattern_from = "Foo";
  options.pattern_to = "Bar";
  import(bare_document("1.0.1073", "Foo"));
  expect_success();
  EXPECT_THAT(stored_databases(), ElementsAre("Foo"));
}

TEST_F(ImportDriver, AnEmptyPatternChangesNothing) {
  options.replace_pattern(true);
  options.pattern_to = "Bar";
  import(bare_document("1.0.1073", "Foo"));
  expect_success();
  EXPECT_THAT(stored_databases(), ElementsAre("Foo"));
}

TEST_F(ImportDriver, APatternThatSpansALineEndNeverMatches) {
  options.replace_pattern(true);
  options.pattern_from = "\"1\"\n";
  options.pattern_to = "!";
  import("<database x=\"1\"\n version=\"1.0.1073\" name=\"D\" description=\"\"/>");
  expect_success();
}

TEST_F(ImportDriver, ThePatternMayRepairTheVersion) {
  options.replace_pattern(true);
  options.pattern_from = "9.9";
  options.pattern_to = "1.0.1073";
  import(bare_document("9.9", "D"));
  expect_success();
}

// The version rule

TEST_F(ImportDriver, TheOlderVersionIsAcceptedSilently) {
  import(bare_document("1.0.1051", "Old"));
  expect_success();
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'Old'"));
}

TEST_F(ImportDriver, AnyOtherVersionFailsAndNamesTheNewerOne) {
  for (const std::string version : {"1.0.1050", "1.0.1073 ", " 1.0.1051", "1.0.1073.0", ""}) {
    import(bare_document(version, "D"));
    expect_failure("Expected kcd document version '1.0.1073', but found version '" + version +
                   "'.");
    EXPECT_THAT(processing_messages(), ElementsAre("Processing document"));
    EXPECT_THAT(stored_databases(), IsEmpty());
    EXPECT_THAT(temporary_files(), IsEmpty());
  }
}

TEST_F(ImportDriver, AnAbsentVersionReadsAsTheEmptyText) {
  import(R"(<database name="D" description=""/>)");
  expect_failure("Expected kcd document version '1.0.1073', but found version ''.");
}

TEST_F(ImportDriver, AWrongVersionInReplaceModeDeletesTheDatabaseAndCreatesNothing) {
  store_database("Shop", "");
  options.ImportType = import_type::replace;
  std::vector<std::string> operations;
  hook = record_operations(operations);
  import(bare_document("2.0", "shop"));
  expect_failure("Expected kcd document version '1.0.1073', but found version '2.0'.");
  EXPECT_THAT(processing_messages(), ElementsAre("Processing document"));
  EXPECT_THAT(stored_databases(), IsEmpty());
  EXPECT_EQ(operations.back(), "finish");
}

TEST_F(ImportDriver, AWrongVersionInTheOtherModesTouchesNothing) {
  store_database("Shop", "kept");
  for (const auto type : {import_type::none, import_type::incremental, import_type::update}) {
    options.ImportType = type;
    import(bare_document("2.0", "Shop"));
    EXPECT_EQ(stored_text(), "database | Shop | kept\n");
  }
}

// The database

TEST_F(ImportDriver, NameAndDescriptionOfANewDatabaseAreDecoded) {
  store_database("Bob@#$%s", "Anna@#$%s");
  expect_success();
  EXPECT_EQ(stored_text(), "database | Bob's | Anna's\n");
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'Bob's'"));
}

TEST_F(ImportDriver, TheAlternateNameIsTakenAsItStands) {
  options.use_alternate_database_name = true;
  options.alternate_database_name = "Alt@#$%";
  import(bare_document("1.0.1073", "Shop"));
  expect_success();
  EXPECT_THAT(stored_databases(), ElementsAre("Alt@#$%"));
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'Alt@#$%'"));
}

TEST_F(ImportDriver, TheAlternateNameIsIgnoredUnlessItIsSwitchedOn) {
  options.alternate_database_name = "Alt";
  import(bare_document("1.0.1073", "Shop"));
  EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
}

TEST_F(ImportDriver, WithAnAlternateNameTheDocumentNeedsNone) {
  options.use_alternate_database_name = true;
  options.alternate_database_name = "Alt";
  import(R"(<database version="1.0.1073" description=""/>)");
  expect_success();
}

TEST_F(ImportDriver, AnExistingDatabaseIsFoundUnderAnyCaseAndKeepsItsDescription) {
  store_database("Größe", "first");
  for (const auto type : {import_type::none, import_type::incremental, import_type::update}) {
    options.ImportType = type;
    store_database("GRÖßE", "second");
    EXPECT_EQ(processing_messages(), bare_messages("Searching database 'GRÖßE'"));
    EXPECT_EQ(stored_text(), "database | Größe | first\n");
  }
}

TEST_F(ImportDriver, AnExistingDatabaseNeedsNoDescriptionInTheDocument) {
  store_database("Shop", "first");
  import(R"(<database version="1.0.1073" name="Shop"/>)");
  expect_success();
}

TEST_F(ImportDriver, ReplaceModeDeletesTheDatabaseFirst) {
  store_database("Other", "kept");
  import(whole_document());
  options.ImportType = import_type::replace;
  store_database("SHOP", "anew");
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'SHOP'"));
  EXPECT_EQ(stored_text(), "database | Other | kept\ndatabase | SHOP | anew\n");
}

TEST_F(ImportDriver, ReplaceModeCreatesADatabaseThatIsNotThere) {
  options.ImportType = import_type::replace;
  import(whole_document());
  expect_success();
  EXPECT_EQ(processing_messages(), whole_document_messages(false));
}

TEST_F(ImportDriver, ADatabaseThatCannotBeDeletedIsGoneOverInReplaceMode) {
  import(whole_document());
  const auto before = stored_text();
  options.ImportType = import_type::replace;
  hook = fail_operation("remove_database Shop");
  import(whole_document());
  EXPECT_TRUE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "");
  EXPECT_EQ(processing_messages(), messages_of_leaving_alone());
  EXPECT_EQ(stored_text(), before);
}

/// Shows a stored object that is no database before all others.
class ServerWithForeignObject : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  std::vector<StoredObject> stored_objects() override {
    auto objects = ForwardingServer::stored_objects();
    objects.insert(objects.begin(), StoredObject{OlapClassType::measure, "Shop"});
    return objects;
  }
};

TEST_F(ImportDriver, AStoredObjectOfAnotherClassTypeIsNotTakenForTheDatabase) {
  server_factory = [](std::string_view) {
    return std::make_unique<ServerWithForeignObject>(make_memory_server());
  };
  import(bare_document("1.0.1073", "Shop"));
  expect_success();
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'Shop'"));
}

TEST_F(ImportDriver, ADatabaseIsHeldBeforeItIsLookedUpAndWrittenBackOnceWhenNew) {
  std::vector<std::string> operations;
  hook = record_operations(operations);
  import(bare_document("1.0.1073", "Shop"));
  EXPECT_THAT(operations,
              ElementsAre("connect memory:", "class_type", "hold_database Shop", "stored_objects",
                          "add_database Shop", "write_back_database Shop", "finish"));
}

TEST_F(ImportDriver, AnExistingDatabaseIsOpenedAndNotWrittenBack) {
  store_database("Shop", "");
  std::vector<std::string> operations;
  hook = record_operations(operations);
  import(bare_document("1.0.1073", "SHOP"));
  EXPECT_THAT(operations, ElementsAre("connect memory:", "class_type", "hold_database SHOP",
                                      "stored_objects", "open_database Shop", "finish"));
}

TEST_F(ImportDriver, ADatabaseThatAnotherRunHoldsFailsBeforeAnythingIsDeleted) {
  store_database("Shop", "kept");
  const auto other_run = look();
  other_run->hold_database("Shop");
  options.ImportType = import_type::replace;
  import(bare_document("2.0", "Shop"));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, HasSubstr("Cannot create DSS database because of "));
  EXPECT_THAT(importer->last_error, HasSubstr(" in OLAP server"));
  EXPECT_EQ(stored_text(), "database | Shop | kept\n");
}

TEST_F(ImportDriver, AFinishedRunLetsGoOfItsDatabaseWhileTheImporterLives) {
  import(whole_document());
  EXPECT_NO_THROW(look()->hold_database("Shop"));
  import(bare_document("2.0", "Shop"));
  EXPECT_NO_THROW(look()->hold_database("Shop"));
}

// The sections

TEST_F(ImportDriver, AnAbsentLibraryAndAbsentCubesYieldOnlyTheHeadings) {
  import(bare_document("1.0.1073", "D"));
  expect_success();
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'D'"));
}

TEST_F(ImportDriver, AnEmptyLibraryYieldsOnlyTheHeadings) {
  import(bare_document("1.0.1073", "D", "<library/><cubes/>"));
  expect_success();
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'D'"));
}

TEST_F(ImportDriver, PartitionsAreImportedOnlyWhenAskedFor) {
  options.import_partitions = true;
  import(whole_document());
  expect_success();
  EXPECT_EQ(processing_messages(), whole_document_messages(true));
  EXPECT_THAT(stored_text(), HasSubstr("partition | Rest"));
  clear_store();
  options.import_partitions = false;
  import(whole_document());
  EXPECT_THAT(stored_text(), Not(HasSubstr("partition | Rest")));
}

TEST_F(ImportDriver, VirtualCollectionsStayUnreadWhateverTheOptionSays) {
  for (const bool virtual_cubes : {false, true}) {
    clear_store();
    options.virtual_cubes = virtual_cubes;
    import(whole_document());
    expect_success();
    EXPECT_EQ(processing_messages(), whole_document_messages(false));
    EXPECT_THAT(stored_text(), Not(HasSubstr("Colours")));
    EXPECT_THAT(stored_text(), Not(HasSubstr("Overview")));
  }
}

TEST_F(ImportDriver, VirtualCollectionsInsideLibraryAndCubesStayUnreadToo) {
  import(bare_document("1.0.1073", "D",
                       "<library><virtual_dimensions><virtual_dimension name=\"V\"/>"
                       "</virtual_dimensions></library><cubes/>"));
  expect_success();
  EXPECT_EQ(processing_messages(), bare_messages("Creating database 'D'"));
}

TEST_F(ImportDriver, TheTypeDecidesAndTheFlagsBesideItDoNot) {
  import(whole_document());
  options.replace_yn = true;
  options.incremental = false;
  import(whole_document());
  expect_success();
  EXPECT_THAT(sink.messages, ::testing::Contains("Skipping cube 'Sales'"));
}

TEST_F(ImportDriver, AFailedDataSourceEndsTheRunAfterItsSection) {
  import(bare_document("1.0.1073", "D",
                       "<library><data_sources><data_source name=\"A\"/>"
                       "<data_source name=\"B\" connection_string=\"\"/></data_sources>"
                       "</library>"));
  expect_failure("Invalid use of Null");
  EXPECT_THAT(
      processing_messages(),
      ElementsAre("Processing document", "Creating database 'D'", "Creating library",
                  "Creating data sources", "Searching data source 'A'", "Creating data source 'A'",
                  "Searching data source 'B'", "Creating data source 'B'"));
  EXPECT_EQ(stored_text(), "database | D | \n  data source | B |  | \n");
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportDriver, AFailedSharedDimensionEndsTheRunAfterItsSection) {
  import(bare_document("1.0.1073", "D",
                       "<library><shared_dimensions><shared_dimension name=\"A\"/>"
                       "</shared_dimensions></library>"));
  expect_failure("Invalid use of Null");
  EXPECT_EQ(processing_messages().back(), "Creating shared dimension 'A'");
}

TEST_F(ImportDriver, AFailedRoleEndsTheRunAtOnce) {
  import(bare_document("1.0.1073", "D",
                       "<library><roles><role name=\"A\"/><role name=\"B\" description=\"\" "
                       "user_list=\"\"/></roles></library><cubes/>"));
  expect_failure("Cannot create DSS database because of Invalid use of Null in KCD document");
  EXPECT_EQ(processing_messages().back(), "Creating role 'A'");
  EXPECT_THAT(temporary_files(), IsEmpty());
}

TEST_F(ImportDriver, AnInvalidCubeFailsTheRunAndTheFollowingCubesAreBuilt) {
  std::string text = whole_document();
  const std::string fact_table = "fact_table=\"sales\"";
  text.replace(text.find(fact_table), fact_table.size(), "fact_table=\"\"");
  import(text);
  expect_failure("New Cube structure is not valid");
  EXPECT_EQ(processing_messages(), whole_document_messages(false));
  EXPECT_THAT(stored_text(), HasSubstr("cube | Sales"));
  EXPECT_THAT(stored_text(), HasSubstr("cube | Stock"));
}

TEST_F(ImportDriver, WhatWasWrittenBackBeforeAnErrorStays) {
  hook = fail_operation("write_back_cube Stock");
  import(whole_document());
  expect_failure("Cannot create DSS database because of refused by the test in OLAP server");
  EXPECT_THAT(stored_text(), HasSubstr("cube | Sales"));
  EXPECT_THAT(stored_text(), Not(HasSubstr("cube | Stock")));
}

// The document

TEST_F(ImportDriver, TheDocumentStaysLoadedUntilItIsReleased) {
  import(whole_document());
  ASSERT_NE(importer->document(), nullptr);
  EXPECT_EQ(importer->document()->root().tag(), "database");
  importer->ReleaseDocument();
  EXPECT_EQ(importer->document(), nullptr);
}

TEST_F(ImportDriver, ADocumentThatCannotBeLoadedLeavesNone) {
  import("<database");
  EXPECT_EQ(importer->document(), nullptr);
}

// The importers that a run does not call

class ImportersOnTheirOwn : public ImportDriver {
 protected:
  const KcdElement* collection(std::string_view tag) const {
    return importer->document()->root().child(tag);
  }
};

TEST_F(ImportersOnTheirOwn, VirtualDimensionsAreImportedAfterARun) {
  import(whole_document());
  sink.messages.clear();
  importer->ImportVirtualDimensions(collection("virtual_dimensions"));
  expect_success();
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual dimensions", "Searching virtual dimension 'Colours'",
                          "Creating virtual dimension 'Colours'"));
  EXPECT_THAT(stored_text(), HasSubstr("dimension | Colours | 2"));
}

TEST_F(ImportersOnTheirOwn, VirtualCubesAreImportedAfterARun) {
  import(whole_document());
  sink.messages.clear();
  importer->import_virtual_cubes(collection("virtual_cubes"));
  expect_success();
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating virtual cubes", "Searching virtual cube 'Overview'",
                          "Creating virtual cube 'Overview'", "Creating measure references",
                          "Creating dimension references"));
  EXPECT_THAT(stored_text(), HasSubstr("cube | Overview | 1"));
}

TEST_F(ImportersOnTheirOwn, EachIsAUnitOfItsOwn) {
  std::vector<std::string> operations;
  hook = record_operations(operations);
  import(whole_document());
  operations.clear();
  importer->ImportVirtualDimensions(nullptr);
  importer->import_virtual_cubes(nullptr);
  EXPECT_THAT(operations,
              ElementsAre("hold_database Shop", "stored_objects", "open_database Shop", "finish",
                          "hold_database Shop", "stored_objects", "open_database Shop", "finish"));
}

TEST_F(ImportersOnTheirOwn, BothFailBeforeADatabaseWasOpened) {
  ImportOLAPDBFromKCDDoc unused([](std::string_view) { return make_memory_server(); });
  unused.succeeded = true;
  unused.ImportVirtualDimensions(nullptr);
  EXPECT_FALSE(unused.succeeded);
  EXPECT_EQ(unused.last_error, "No database to import into: none was opened before");
  unused.succeeded = true;
  unused.last_error.clear();
  unused.import_virtual_cubes(nullptr);
  EXPECT_FALSE(unused.succeeded);
  EXPECT_EQ(unused.last_error, "No database to import into: none was opened before");
}

TEST_F(ImportersOnTheirOwn, BothFailWhenTheDatabaseIsGone) {
  import(whole_document());
  const auto other = look();
  other->remove_database("Shop");
  other->finish();
  importer->import_virtual_cubes(collection("virtual_cubes"));
  expect_failure("No database to import into: 'Shop' is gone");
  EXPECT_NO_THROW(look()->hold_database("Shop"));
}

TEST_F(ImportersOnTheirOwn, AnErrorOfAVirtualDimensionIsItsBareText) {
  import(bare_document("1.0.1073", "D",
                       "<virtual_dimensions><virtual_dimension/></virtual_dimensions>"));
  importer->ImportVirtualDimensions(collection("virtual_dimensions"));
  expect_failure("Invalid use of Null");
}

TEST_F(ImportersOnTheirOwn, ADatabaseThatAnotherRunHoldsIsToldInTheDriversWords) {
  import(whole_document());
  const auto other = look();
  other->hold_database("Shop");
  importer->import_virtual_cubes(collection("virtual_cubes"));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, HasSubstr("Cannot create DSS database because of "));
}

TEST_F(ImportersOnTheirOwn, OnlyAFailureToStoreVirtualCubesIsReported) {
  int finishes = 0;
  hook = [&finishes](const std::string& operation) {
    if (operation == "finish" && ++finishes == 2) {
      throw ImportError("disk full", error_source::olap_server);
    }
    if (operation == "write_back_database Shop" && finishes == 1) {
      throw ImportError("ignored", error_source::olap_server);
    }
  };
  import(whole_document());
  importer->import_virtual_cubes(collection("virtual_cubes"));
  expect_failure("Cannot create DSS database because of disk full in OLAP server");
}

}  // namespace
}  // namespace importkcd::testing
