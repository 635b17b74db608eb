#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/importer/changed_text.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

// Runs that take a document's virtual dimensions and virtual cubes along.

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::vector<std::string> messages_of_creating = {
    "Creating virtual dimensions",          "Searching virtual dimension 'Colours'",
    "Creating virtual dimension 'Colours'", "Creating virtual cubes",
    "Searching virtual cube 'Overview'",    "Creating virtual cube 'Overview'",
    "Creating measure references",          "Creating dimension references"};

class RunWithVirtualObjects : public ImporterTest {
 protected:
  RunWithVirtualObjects() { options.import_virtual_objects = true; }

  /// The messages behind those of the ordinary sections.
  std::vector<std::string> last_messages() const {
    const auto first =
        std::find(sink.messages.begin(), sink.messages.end(), "Creating virtual dimensions");
    return {first, sink.messages.end()};
  }

  void expect_success() const {
    EXPECT_TRUE(importer->succeeded);
    EXPECT_EQ(importer->last_error, "");
    EXPECT_THAT(sink.notifications, IsEmpty());
  }

  /// Imports a whole document with one change, and gives what was said of it to a person.
  std::vector<std::string> said_after(std::string_view from, std::string_view to) {
    import(changed(whole_document(), from, to));
    EXPECT_EQ(importer->passed_over, sink.notifications);
    return sink.notifications;
  }
};

TEST_F(RunWithVirtualObjects, ImportsThemAfterTheCubes) {
  import(whole_document());
  expect_success();
  auto expected = whole_document_messages(false);
  expected.insert(expected.end(), messages_of_creating.begin(), messages_of_creating.end());
  EXPECT_EQ(processing_messages(), expected);
  EXPECT_THAT(stored_text(), HasSubstr("dimension | Colours | 2"));
  EXPECT_THAT(stored_text(), HasSubstr("cube | Overview | 1"));
}

TEST_F(RunWithVirtualObjects, FindsThemInTheLibraryToo) {
  auto text = whole_document();
  const std::string begin = "<virtual_dimensions>";
  const std::string end = "</virtual_dimensions>";
  const auto from = text.find(begin);
  const auto length = text.find(end) + end.size() - from;
  const auto collection = text.substr(from, length);
  text.erase(from, length);
  import(changed(text, "</library>", collection + "</library>"));
  expect_success();
  EXPECT_EQ(last_messages(), messages_of_creating);
}

TEST_F(RunWithVirtualObjects, SaysNothingOfCollectionsThatADocumentDoesNotHave) {
  import(bare_document("1.0.1073", "Shop", "<library/><cubes/>"));
  expect_success();
  EXPECT_THAT(last_messages(), IsEmpty());
  EXPECT_EQ(sink.messages.back(), "Creating cubes");
}

TEST_F(RunWithVirtualObjects, UpdatesThemAsOftenAsOneLikes) {
  import(whole_document());
  const auto stored = stored_text();
  options.ImportType = import_type::update;
  // The shared dimension that no cube uses would get its levels twice.
  options.DontUpdateLevels = true;
  const auto document = changed(
      whole_document(), "</levels>\n  </virtual_dimension>",
      R"(<level name="Colour" member_key_column="products.colour" column_type="130" description=""
         member_name_column="products.colour" ordering="key"/></levels></virtual_dimension>)");
  import(document);
  expect_success();
  const auto updated = stored_text();
  EXPECT_NE(updated, stored);
  EXPECT_THAT(updated, HasSubstr("products.colour"));
  import(document);
  expect_success();
  EXPECT_EQ(stored_text(), updated);
}

TEST_F(RunWithVirtualObjects, StartsNeitherAfterAFailure) {
  hook = fail_operation("structure_is_valid Sales");
  import(whole_document());
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(last_messages(), IsEmpty());
}

TEST_F(RunWithVirtualObjects, NamesADimensionThatCouldNotBeBuiltAndStartsNoCubes) {
  EXPECT_THAT(said_after(R"(name="Colours" description="")", R"(name="Colours")"),
              ElementsAre("Virtual dimension 'Colours' could not be built: Invalid use of Null"));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "Invalid use of Null");
  EXPECT_EQ(last_messages().back(), "Creating virtual dimension 'Colours'");
  EXPECT_THAT(stored_text(), Not(HasSubstr("Colours")));
}

TEST_F(RunWithVirtualObjects, SaysWhatOfAVirtualCubeCouldNotBeBuilt) {
  struct Case {
    std::string_view from;
    std::string_view to;
    std::string said;
  };
  const std::vector<Case> cases = {
      {R"(<virtual_cube name="Overview">)", "<virtual_cube>",
       "Virtual cube '' could not be added: an object must have a name"},
      {R"(<measure_reference name="Amount" s)", "<measure_reference s",
       "Virtual cube 'Overview': measure '' is left out: Invalid use of Null"},
      {R"(name="Amount" source_column="Sales.Amount")", R"(name="Amount")",
       "Virtual cube 'Overview': measure 'Amount' has no source: Invalid use of Null"},
      {R"(<dimension_reference name="Time"/>)", R"(<dimension_reference name="Bob@#$%s"/>)",
       "Virtual cube 'Overview': dimension 'Bob's' is left out: dimension 'Bob's' not found"},
      {"<cube_roles/>\n  </virtual_cube>",
       R"(<cube_roles><r name="A"/></cube_roles></virtual_cube>)",
       "Virtual cube 'Overview': its roles are not complete: Invalid use of Null"},
  };
  for (const auto& [from, to, said] : cases) {
    clear_store();
    EXPECT_THAT(said_after(from, to), ElementsAre(said));
    EXPECT_TRUE(importer->succeeded);
    EXPECT_EQ(importer->last_error, "");
  }
}

TEST_F(RunWithVirtualObjects, SaysThatAVirtualCubeCouldNotBeStored) {
  int saves = 0;
  hook = [&saves](const std::string& operation) {
    // The first one is that of the database itself.
    if (operation == "write_back_database Shop" && ++saves == 2) {
      throw ImportError("full", error_source::olap_server);
    }
  };
  import(whole_document());
  EXPECT_THAT(sink.notifications, ElementsAre("Virtual cube 'Overview' could not be stored: full"));
}

TEST_F(RunWithVirtualObjects, AbsentRolesAreNothingThatIsMissing) {
  EXPECT_THAT(said_after("<cube_roles/>\n  </virtual_cube>", "</virtual_cube>"), IsEmpty());
}

TEST_F(RunWithVirtualObjects, SaysThatACubeHasTheNameOfAVirtualOneInReplaceMode) {
  options.ImportType = import_type::replace;
  EXPECT_THAT(said_after(R"(<virtual_cube name="Overview">)", R"(<virtual_cube name="SALES">)"),
              ElementsAre("Virtual cube 'SALES' was not built: the document has another cube of "
                          "that name"));
  options.ImportType = import_type::incremental;
  EXPECT_THAT(said_after(R"(<virtual_cube name="Overview">)", R"(<virtual_cube name="SALES">)"),
              IsEmpty());
  EXPECT_EQ(last_messages().back(), "Skipping virtual cube 'SALES'");
}

TEST_F(RunWithVirtualObjects, ThatHadToLeaveSomethingOutIsDiscardedLikeAFailedOne) {
  options.after_failure = AfterFailure::discard;
  said_after(R"(<dimension_reference name="Time"/>)", R"(<dimension_reference name="No"/>)");
  EXPECT_THAT(stored_databases(), IsEmpty());
}

}  // namespace
}  // namespace importkcd::testing
