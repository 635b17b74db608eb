#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "tests/importer/changed_text.h"
#include "tests/support/importer_fixture.h"
#include "tests/support/whole_document.h"

// What becomes of what a failed run wrote back, and what a person hears of it.

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// Keeps nothing of failed runs.
class CautiousServer : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  bool keeps_failed_runs() const override { return false; }
};

class FailedRun : public ImporterTest {
 protected:
  /// The whole document with a cube that has no measure at its end.
  static std::string failing_document() {
    return changed(whole_document(), "</cubes>",
                   R"(<cube name="Empty" description="" data_source="Warehouse" fact_table="f"
                      aggregation_prefix="" from_clause="" join_clause="" schema_layout=""
                      olap_mode="" estimated_rows="1"><cube_dimensions/><cube_measures/>
                      <cube_calculated_members/><cube_partitions/><cube_roles/></cube></cubes>)");
  }

  void use_cautious_server() {
    server_factory = [this](std::string_view) {
      return std::make_unique<CautiousServer>(unconnected(), hook);
    };
  }

  static constexpr const char* not_valid = "New Cube structure is not valid";
};

TEST_F(FailedRun, IsStoredWhereTheServerKeepsIt) {
  import(failing_document());
  EXPECT_EQ(importer->last_error, not_valid);
  EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
}

TEST_F(FailedRun, IsNotStoredWhereTheServerKeepsNone) {
  use_cautious_server();
  import(failing_document());
  EXPECT_EQ(importer->last_error, not_valid);
  EXPECT_THAT(stored_databases(), IsEmpty());
}

TEST_F(FailedRun, ThatReplacesLeavesTheOldDatabaseWhereTheServerKeepsNone) {
  use_cautious_server();
  import(whole_document());
  const auto before = stored_text();
  options.ImportType = import_type::replace;
  import(bare_document("0.9", "Shop"));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_EQ(stored_text(), before);
}

TEST_F(FailedRun, IsStoredWhereTheServerKeepsNoneWhenItIsToBeKept) {
  use_cautious_server();
  options.after_failure = AfterFailure::keep;
  import(failing_document());
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
}

TEST_F(FailedRun, IsNotStoredAnywhereWhenItIsToBeDiscarded) {
  options.after_failure = AfterFailure::discard;
  import(failing_document());
  EXPECT_EQ(importer->last_error, not_valid);
  EXPECT_THAT(stored_databases(), IsEmpty());
  EXPECT_THAT(sink.notifications, IsEmpty());
}

TEST_F(FailedRun, ThatWasDiscardedHoldsNoDatabase) {
  options.after_failure = AfterFailure::discard;
  import(failing_document());
  const auto other = look();
  EXPECT_NO_THROW(other->hold_database("Shop"));
}

TEST_F(FailedRun, ThatWasDiscardedHasNoDatabaseForTheVirtualCubes) {
  options.after_failure = AfterFailure::discard;
  import(failing_document());
  importer->import_virtual_cubes(nullptr);
  EXPECT_THAT(importer->last_error, HasSubstr("No database to import into"));
}

TEST_F(FailedRun, ThatOpenedNoServerLeavesTheDatabaseOfTheRunBeforeAlone) {
  bool opens = true;
  server_factory = [&](std::string_view) {
    if (!opens) {
      throw ImportError("no such server", error_source::olap_server);
    }
    return unconnected();
  };
  import(whole_document());
  ASSERT_TRUE(importer->succeeded);
  opens = false;
  importer->make();
  EXPECT_THAT(importer->last_error, HasSubstr("no such server"));
  importer->import_virtual_cubes(nullptr);
  EXPECT_EQ(importer->last_error, "No database to import into: none was opened before");
}

TEST_F(FailedRun, ASucceedingRunIsStoredWhateverIsToBecomeOfAFailedOne) {
  options.after_failure = AfterFailure::discard;
  use_cautious_server();
  import(whole_document());
  EXPECT_TRUE(importer->succeeded);
  EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
}

TEST_F(FailedRun, ACubeThatIsStoredIncompleteIsNamed) {
  import(failing_document());
  EXPECT_THAT(
      sink.notifications,
      ElementsAre("Cube 'Empty' is stored although it is not complete; an import in "
                  "incremental mode skips it, in update or replace mode it builds it anew"));
}

TEST_F(FailedRun, ACubeWhosePartsEndedTheRunIsNamedToo) {
  hook = fail_operation("structure_is_valid Sales");
  import(whole_document());
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(sink.notifications, ElementsAre(HasSubstr("Cube 'Sales' is stored although")));
}

TEST_F(FailedRun, ADeletionThatFailedIsToldAndTheRunGoesOnOverTheOldDatabase) {
  import(whole_document());
  options.ImportType = import_type::replace;
  hook = fail_operation("remove_database Shop");
  import(whole_document());
  EXPECT_TRUE(importer->succeeded);
  EXPECT_EQ(importer->last_error, "");
  EXPECT_THAT(sink.notifications,
              ElementsAre("Database 'Shop' could not be deleted, and the import went on over what "
                          "was there: refused by the test"));
  EXPECT_EQ(importer->passed_over, sink.notifications);
}

TEST_F(FailedRun, OneThatPassedSomethingOverIsDiscardedLikeAFailedOne) {
  import(whole_document());
  const auto before = stored_text();
  options.ImportType = import_type::replace;
  options.after_failure = AfterFailure::discard;
  hook = fail_operation("remove_database Shop");
  import(changed(whole_document(), "</data_sources>",
                 R"(<data_source name="Archive" connection_string="x"/></data_sources>)"));
  EXPECT_THAT(importer->passed_over, ::testing::SizeIs(1));
  EXPECT_EQ(stored_text(), before);
}

TEST_F(FailedRun, AnUnknownAggregateFunctionIsToldAndIsNoFailure) {
  options.after_failure = AfterFailure::discard;
  for (const auto* word : {"avg", "", "sum "}) {
    clear_store();
    import(changed(whole_document(), "aggregate_function=\"sum\"",
                   std::string("aggregate_function=\"") + word + "\""));
    EXPECT_TRUE(importer->succeeded);
    EXPECT_THAT(importer->passed_over, IsEmpty());
    EXPECT_EQ(processing_messages(), whole_document_messages(false));
    EXPECT_THAT(sink.notifications,
                ElementsAre(std::string("Cube 'Sales': the aggregate function '") + word +
                            "' of measure 'Amount' is not known; the measure becomes a sum"));
    EXPECT_THAT(stored_databases(), ElementsAre("Shop"));
  }
}

TEST_F(FailedRun, TheKnownAggregateFunctionsAreNotWorthAWordInAnyLetterCase) {
  for (const auto* word : {"sum", "Count", "MIN", "max"}) {
    clear_store();
    import(changed(whole_document(), "aggregate_function=\"sum\"",
                   std::string("aggregate_function=\"") + word + "\""));
    EXPECT_THAT(sink.notifications, IsEmpty());
  }
}

/// Cannot take messages, neither those of the server nor its own.
class SpeechlessServer : public ForwardingServer {
 public:
  using ForwardingServer::ForwardingServer;
  std::vector<std::string> take_messages() override {
    throw ImportError("no messages", error_source::olap_server);
  }
};

TEST_F(FailedRun, MessagesThatCannotBeTakenFailTheRunAndThrowNothing) {
  server_factory = [this](std::string_view) {
    return std::make_unique<SpeechlessServer>(unconnected());
  };
  EXPECT_NO_THROW(import(whole_document()));
  EXPECT_FALSE(importer->succeeded);
  EXPECT_THAT(importer->last_error, HasSubstr("no messages"));
}

TEST_F(FailedRun, AMessageThatCannotBeShownThrowsNothingOut) {
  class BrokenSink : public NotificationSink {
   public:
    void show_message(const std::string&) override { throw std::bad_alloc(); }
  };
  BrokenSink broken;
  options.notifications = &broken;
  EXPECT_NO_THROW(import(failing_document()));
  EXPECT_EQ(importer->last_error, not_valid);
}

}  // namespace
}  // namespace importkcd::testing
