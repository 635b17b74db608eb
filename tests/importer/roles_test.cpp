#include "importer/sections.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/working_copy_server.h"
#include "tests/importer/changed_text.h"
#include "tests/support/forwarding_store.h"
#include "tests/support/import_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string readers =
    R"(<role name="Readers" description="May look" user_list="DOM\anna;DOM\ben"/>)";

class Roles : public SectionTest {
 protected:
  void import(const std::string& roles) {
    import_roles(run(), &parse("<roles>" + roles + "</roles>"));
  }

  /// Imports roles of which one fails, and gives the error's description.
  std::string error_of_import(const std::string& roles) {
    try {
      import(roles);
    } catch (const ImportError& error) {
      return error.description();
    }
    return "no error";
  }

  /// Puts a role on the server, as an earlier run would have.
  void given(const std::string& name) {
    OlapRole role;
    role.name = name;
    role.description = "old description";
    role.user_list = "old users";
    database().roles().add(role);
    server().write_back_database(database());
    store_and_reopen();
  }

  void expect_role(std::string_view name, const std::string& description,
                   const std::string& user_list) {
    const OlapRole* role = database().roles().find(name);
    ASSERT_NE(role, nullptr);
    EXPECT_EQ(role->description, description);
    EXPECT_EQ(role->user_list, user_list);
  }
};

TEST_F(Roles, AbsentCollectionYieldsOnlyTheHeading) {
  import_roles(run(), nullptr);
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles"));
  expect_no_error();
}

TEST_F(Roles, EmptyCollectionYieldsOnlyTheHeading) {
  import("");
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles"));
}

TEST_F(Roles, NewOneIsCreatedInEveryMode) {
  for (const std::int32_t type :
       {import_type::none, import_type::incremental, import_type::replace, import_type::update}) {
    const auto name = "Readers" + std::to_string(type);
    options.ImportType = type;
    sink.messages.clear();
    import(changed(readers, "Readers", name));
    EXPECT_THAT(sink.messages, ElementsAre("Creating roles", "Searching role '" + name + "'",
                                           "Creating role '" + name + "'"));
    expect_role(name, "May look", "DOM\\anna;DOM\\ben");
    EXPECT_EQ(database().roles().find(name)->name, name);
    EXPECT_TRUE(database().roles().find(name)->permissions.empty());
  }
  expect_no_error();
}

TEST_F(Roles, EveryChildElementIsARoleInDocumentOrder) {
  import("<!-- not an object -->" + changed(readers, "<role", "<other") +
         changed(readers, "Readers", "Admins"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating roles", "Searching role 'Readers'", "Creating role 'Readers'",
                          "Searching role 'Admins'", "Creating role 'Admins'"));
  EXPECT_THAT(database().roles().names(), ElementsAre("Readers", "Admins"));
}

TEST_F(Roles, TakeEffectWithoutAWriteBackOfTheirOwn) {
  std::vector<std::string> operations;
  use_hook(record_operations(operations));
  operations.clear();
  import(readers);
  EXPECT_THAT(operations, IsEmpty());
  store_and_reopen();
  expect_role("Readers", "May look", "DOM\\anna;DOM\\ben");
}

TEST_F(Roles, UpdateTakesEffectWithoutAWriteBackOfItsOwn) {
  given("Readers");
  options.ImportType = import_type::update;
  import(readers);
  store_and_reopen();
  expect_role("Readers", "May look", "DOM\\anna;DOM\\ben");
}

TEST_F(Roles, NameAndDescriptionAreDecodedAndTheUserListIsNot) {
  import(R"(<role name="Bob@#$%s" description="It@#$%s" user_list="DOM\o@#$%neil"/>)");
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating roles", "Searching role 'Bob's'", "Creating role 'Bob's'"));
  expect_role("Bob's", "It's", "DOM\\o@#$%neil");
}

TEST_F(Roles, NameIsSearchedDecoded) {
  given("Bob's");
  options.ImportType = import_type::incremental;
  import(changed(readers, "Readers", "Bob@#$%s"));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating roles", "Searching role 'Bob's'", "Skipping role 'Bob's'"));
}

TEST_F(Roles, ExistingOneIsSkippedInIncrementalMode) {
  given("Readers");
  options.ImportType = import_type::incremental;
  import(readers);
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating roles", "Searching role 'Readers'", "Skipping role 'Readers'"));
  expect_role("Readers", "old description", "old users");
}

TEST_F(Roles, ExistingOneIsRewrittenInUpdateModeUnderTheWordsOfVirtualDimensions) {
  given("Readers");
  options.ImportType = import_type::update;
  import(readers);
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles", "Searching role 'Readers'",
                                         "Updating virtual dimension 'Readers'"));
  expect_role("Readers", "May look", "DOM\\anna;DOM\\ben");
}

TEST_F(Roles, ExistingOneIsFoundWhateverTheLetterCaseAndKeepsItsName) {
  given("Readers");
  options.ImportType = import_type::update;
  import(changed(readers, "Readers", "READERS"));
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles", "Searching role 'READERS'",
                                         "Updating virtual dimension 'READERS'"));
  expect_role("Readers", "May look", "DOM\\anna;DOM\\ben");
  EXPECT_EQ(database().roles().find("readers")->name, "Readers");
}

TEST_F(Roles, ExistingOneGetsNothingAtAllInOtherModes) {
  given("Readers");
  for (const std::int32_t type : {import_type::none, import_type::replace, 4, -1}) {
    options.ImportType = type;
    sink.messages.clear();
    import(readers);
    EXPECT_THAT(sink.messages, ElementsAre("Creating roles", "Searching role 'Readers'"));
    expect_role("Readers", "old description", "old users");
  }
}

TEST_F(Roles, SkippedOneNeedsNoOtherAttributes) {
  given("Readers");
  options.ImportType = import_type::incremental;
  import(R"(<role name="Readers"/>)");
  expect_role("Readers", "old description", "old users");
}

TEST_F(Roles, AbsentNameIsThrownBeforeAnyMessage) {
  EXPECT_EQ(error_of_import(R"(<role description="" user_list=""/>)" + readers),
            "Invalid use of Null");
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles"));
  expect_no_error();
}

TEST_F(Roles, ExistingOneThatCannotBeFetchedIsNotToldAsUpdated) {
  int reads = 0;
  int failing = 0;
  use_server(std::make_unique<WorkingCopyServer>(std::make_shared<ForwardingStore>(
      make_catalogue_store(folder.file("server.olap"), ServerAccess::read_write), [&] {
        if (++reads == failing) {
          throw ImportError("fetch failed", error_source::olap_server);
        }
      })));
  given("Readers");
  options.ImportType = import_type::update;
  run();
  // The first read tells that the role is there, the second one fetches it.
  failing = reads + 2;
  EXPECT_EQ(error_of_import(readers), "fetch failed");
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles", "Searching role 'Readers'"));
}

TEST_F(Roles, EmptyNameIsThrownBeforeTheCreatingMessage) {
  EXPECT_EQ(error_of_import(changed(readers, "Readers", "")), "an object must have a name");
  EXPECT_THAT(sink.messages, ElementsAre("Creating roles", "Searching role ''"));
}

TEST_F(Roles, FailureIsThrownAndTheNextOnesDoNotFollow) {
  EXPECT_EQ(error_of_import(without(readers, R"(description="May look")") +
                            changed(readers, "Readers", "Admins")),
            "Invalid use of Null");
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating roles", "Searching role 'Readers'", "Creating role 'Readers'"));
  EXPECT_FALSE(database().roles().contains("Admins"));
  expect_role("Readers", "", "");
}

TEST_F(Roles, DescriptionIsSetBeforeAnAbsentUserListIsThrown) {
  EXPECT_EQ(error_of_import(without(readers, R"(user_list="DOM\anna;DOM\ben")")),
            "Invalid use of Null");
  expect_role("Readers", "May look", "");
}

TEST_F(Roles, FailureNamesItsComponent) {
  try {
    import(without(readers, R"(user_list="DOM\anna;DOM\ben")"));
    FAIL() << "no error";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), "KCD document");
  }
  try {
    import(changed(readers, "Readers", ""));
    FAIL() << "no error";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.source(), "OLAP server");
  }
}

}  // namespace
}  // namespace importkcd::testing
