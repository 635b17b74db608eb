#include "comparison/synchronisation.h"

#include <algorithm>
#include <tuple>

#include "tests/comparison/comparison_fixture.h"
#include "tests/importer/changed_text.h"
#include "tests/support/document_generator.h"
#include "tests/support/whole_document.h"

namespace importkcd::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class SynchronisationTest : public ComparisonTest {
 protected:
  SynchronisationTest() {
    request.synchronises = true;
    request.options.import_partitions = true;
    request.options.after_failure = AfterFailure::discard;
    hook = record_operations(operations_);
  }

  void synchronise(const std::string& document) {
    sink = {};
    operations_.clear();
    const auto result = import(document);
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(result.error, "");
  }

  std::string failed_error(const std::string& document) {
    const auto before = stored_text();
    const auto result = import(document);
    EXPECT_FALSE(result.succeeded);
    EXPECT_EQ(stored_text(), before);
    return result.error;
  }

  /// The operations that write.
  std::vector<std::string> writes() const {
    std::vector<std::string> result;
    std::copy_if(operations_.begin(), operations_.end(), std::back_inserter(result),
                 [](const std::string& operation) {
                   return operation.starts_with("write") || operation.starts_with("remove") ||
                          operation == "finish";
                 });
    return result;
  }

  void expect_content(const std::string& document) const {
    EXPECT_EQ(objects_in(stored_text()), objects_in(text_of_document(document, request.options)));
  }

 private:
  std::vector<std::string> operations_;
};

TEST_F(SynchronisationTest, MakesADatabaseThatIsNotThere) {
  synchronise(whole_document());
  expect_content(whole_document());
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating database 'Shop'", "Creating data source 'Warehouse'",
                          "Creating dimension 'Time'", "Creating dimension 'Product'",
                          "Creating dimension 'Region'", "Creating role 'Readers'",
                          "Creating cube 'Sales'", "Creating cube 'Stock'"));
}

TEST_F(SynchronisationTest, ASecondTimeWritesNothing) {
  synchronise(whole_document());
  synchronise(whole_document());
  EXPECT_THAT(writes(), IsEmpty());
  EXPECT_THAT(sink.messages, ElementsAre("Nothing to change in database 'Shop'"));
}

TEST_F(SynchronisationTest, WritesOnlyWhatDiffers) {
  synchronise(whole_document());
  synchronise(changed(whole_document(), R"(fact_table="stock")", R"(fact_table="stock_2")"));
  EXPECT_THAT(writes(), ElementsAre("write_back_cube Stock", "finish"));
  EXPECT_THAT(sink.messages, ElementsAre("Updating cube 'Stock'"));
}

TEST_F(SynchronisationTest, ChangesADimensionInUseWithItsCubes) {
  synchronise(whole_document());
  const auto other = changed(whole_document(), R"(<level name="Year" )",
                             R"(<level name="Century" type="regular" column_size="4"
               column_type="3" description="" estimated_size="2" member_key_column="c"
               member_name_column="c" ordering="key" unique_items="true"/><level name="Year" )");
  synchronise(other);
  expect_content(other);
  EXPECT_THAT(sink.messages, ElementsAre("Updating dimension 'Time'", "Updating cube 'Sales'"));
}

TEST_F(SynchronisationTest, RemovesWhatTheDocumentDoesNotHave) {
  synchronise(whole_document());
  const auto bare = bare_document(known_version, "Shop");
  synchronise(bare);
  expect_content(bare);
  EXPECT_THAT(sink.messages,
              ::testing::IsSupersetOf({"Removing cube 'Sales'", "Removing cube 'Stock'",
                                       "Removing role 'Readers'", "Removing dimension 'Time'",
                                       "Removing data source 'Warehouse'"}));
  // The cube's own dimension goes with it.
  EXPECT_THAT(sink.messages, Not(Contains(HasSubstr("Channel"))));
}

TEST_F(SynchronisationTest, KeepsUnknownObjectsWhenAskedTo) {
  synchronise(whole_document());
  const auto before = objects_in(stored_text());
  request.prunes = false;
  synchronise(bare_document(known_version, "Shop"));
  auto after = objects_in(stored_text());
  for (const auto& [key, text] : before) {
    if (key != "database | Shop") {
      EXPECT_EQ(after[key], text);
    }
  }
}

TEST_F(SynchronisationTest, APrivateDimensionLeavesItsCubeAlsoWhenUnknownObjectsStay) {
  synchronise(whole_document());
  request.prunes = false;
  auto without_channel = whole_document();
  const auto from = without_channel.find("<cube_dimension name=\"Channel\"");
  const std::string end = "</cube_dimension>";
  without_channel.erase(from, without_channel.find(end, from) + end.size() - from);
  synchronise(without_channel);
  expect_content(without_channel);
  EXPECT_THAT(sink.messages, ElementsAre("Updating cube 'Sales'"));
}

TEST_F(SynchronisationTest, AChangeOfAPrivateDimensionAloneIsStored) {
  synchronise(whole_document());
  const auto other = changed(whole_document(), R"(<cube_dimension name="Channel" description=")",
                             R"(<cube_dimension name="Channel" description="Else)");
  synchronise(other);
  expect_content(other);
  EXPECT_THAT(sink.messages, ElementsAre("Updating cube 'Sales'"));
}

TEST_F(SynchronisationTest, ADimensionOfACubeThatStaysIsNotTakenFromIt) {
  synchronise(whole_document());
  request.prunes = false;
  auto other = changed(whole_document(), R"(<cube name="Sales")", R"(<cube name="New Sales")");
  EXPECT_EQ(failed_error(other),
            "Cannot synchronise the database because of dimension 'Channel' is needed by cube "
            "'Sales', which the document does not have");
}

TEST_F(SynchronisationTest, ACubeThatIsRenamedTakesItsDimensionsAlong) {
  synchronise(whole_document());
  auto other = changed(whole_document(), R"(<cube name="Sales")", R"(<cube name="New Sales")");
  synchronise(other);
  expect_content(other);
}

TEST_F(SynchronisationTest, TheDatabasesDescriptionIsSet) {
  const auto bare = bare_document(known_version, "Shop");
  synchronise(bare);
  const auto other = changed(bare, "description=\"", "description=\"Other ");
  synchronise(other);
  expect_content(other);
  EXPECT_THAT(sink.messages, ElementsAre("Updating database 'Shop'"));
}

TEST_F(SynchronisationTest, ADocumentThatFailsStoresNothing) {
  synchronise(whole_document());
  EXPECT_THAT(
      failed_error(changed(older_document(), R"(estimated_rows=")", R"(estimated_rows="x)")),
      HasSubstr("Type mismatch"));
}

TEST_F(SynchronisationTest, ACubeWithoutAValidStructureStoresNothing) {
  synchronise(whole_document());
  EXPECT_EQ(failed_error(changed(whole_document(), R"(fact_table="stock")", R"(fact_table="")")),
            "New Cube structure is not valid");
}

TEST_F(SynchronisationTest, AServersRefusalStoresNothing) {
  synchronise(whole_document());
  for (const std::string operation : {"lock_cube Stock", "structure_is_valid Stock", "finish"}) {
    hook = fail_operation(operation);
    EXPECT_EQ(
        failed_error(changed(whole_document(), R"(fact_table="stock")", R"(fact_table="new")")),
        "Cannot synchronise the database because of refused by the test");
  }
}

TEST_F(SynchronisationTest, PartitionsThatAreLeftAloneStay) {
  synchronise(whole_document());
  request.options.import_partitions = false;
  synchronise(whole_document());
  EXPECT_THAT(writes(), IsEmpty());
  synchronise(changed(whole_document(), R"(fact_table="sales")", R"(fact_table="new_sales")"));
  EXPECT_THAT(stored_text(), HasSubstr("partition | Sales | sales_1999 |"));
  EXPECT_THAT(stored_text(), HasSubstr("partition | Rest | sales_rest |"));
}

TEST_F(SynchronisationTest, VirtualObjectsFollowTheDocument) {
  request.options.import_virtual_objects = true;
  synchronise(whole_document());
  expect_content(whole_document());
  EXPECT_THAT(sink.messages, ::testing::IsSupersetOf(
                                 {"Creating dimension 'Colours'", "Creating cube 'Overview'"}));
  synchronise(whole_document());
  EXPECT_THAT(writes(), IsEmpty());
  synchronise(changed(whole_document(), R"(<measure_reference name="Amount")",
                      R"(<measure_reference name="Money")"));
  EXPECT_THAT(sink.messages, ElementsAre("Updating cube 'Overview'"));
  synchronise(changed(whole_document(), R"(<virtual_cube name="Overview">)",
                      R"(<virtual_cube name="Survey">)"));
  EXPECT_THAT(sink.messages, ElementsAre("Removing cube 'Overview'", "Creating cube 'Survey'"));
}

TEST_F(SynchronisationTest, VirtualObjectsThatAreLeftAloneStay) {
  request.options.import_virtual_objects = true;
  synchronise(whole_document());
  request.options.import_virtual_objects = false;
  synchronise(whole_document());
  EXPECT_THAT(writes(), IsEmpty());
}

TEST_F(SynchronisationTest, AnotherRunsDatabaseIsNotTouched) {
  synchronise(whole_document());
  const auto other = server();
  other->connect("");
  other->hold_database("shop");
  EXPECT_EQ(failed_error(bare_document(known_version, "Shop")),
            "Cannot synchronise the database because of database 'Shop' is in use by another "
            "import");
}

TEST_F(SynchronisationTest, WhatWasThereIsKept) {
  use_catalogue();
  synchronise(whole_document());
  const auto before = stored_text();
  synchronise(whole_document());
  synchronise(bare_document(known_version, "Shop"));
  const auto restoring = server();
  restoring->connect("");
  EXPECT_THAT(restoring->store().kept_copies(), ::testing::SizeIs(1));
  restoring->store().restore("Shop");
  EXPECT_EQ(stored_text(), before);
}

TEST_F(SynchronisationTest, AnUpdateKeepsWhatWasThereWhenAskedTo) {
  use_catalogue();
  synchronise(whole_document());
  const auto before = stored_text();
  request.synchronises = false;
  request.keeps_former = true;
  request.options.ImportType = import_type::update;
  request.options.DontUpdateLevels = true;
  EXPECT_TRUE(
      import(changed(whole_document(), R"(fact_table="stock")", R"(fact_table="new")")).succeeded);
  EXPECT_NE(stored_text(), before);
  const auto restoring = server();
  restoring->connect("");
  restoring->store().restore("Shop");
  EXPECT_EQ(stored_text(), before);
}

TEST_F(SynchronisationTest, AServerWithoutCopiesRefusesToKeepOne) {
  request.synchronises = false;
  request.keeps_former = true;
  request.options.machine_name = "memory:";
  EXPECT_EQ(failed_error(whole_document()),
            "Cannot open DSO server on machine 'memory:' because: 'memory:' keeps no copies of "
            "databases");
}

/// Seed, chance of something odd in a hundred, whether in a catalogue.
using SyncRound = std::tuple<unsigned, int, bool>;

class RandomSynchronisations : public SynchronisationTest,
                               public ::testing::WithParamInterface<SyncRound> {
 protected:
  static std::string document(unsigned seed, int odd_percentage) {
    GeneratorOptions options;
    options.seed = seed;
    options.odd_percentage = odd_percentage;
    return generate_document(options);
  }

  /// Whatever was stored: afterwards it is what the document says, and a plan finds nothing to do.
  void synchronise_and_look(const std::string& text) {
    if (!import(text).succeeded) {
      return;
    }
    expect_content(text);
    EXPECT_THAT(lines_of(plan(text).plan), IsEmpty());
    const auto stored = stored_text();
    synchronise(text);
    EXPECT_THAT(writes(), IsEmpty());
    EXPECT_EQ(stored_text(), stored);
  }

  /// Leaves the state of a run in another mode.
  void disturb(const std::string& text, std::int32_t type) {
    request.synchronises = false;
    request.options.ImportType = type;
    request.options.after_failure = AfterFailure::keep;
    import(text);
    request.synchronises = true;
    request.options.ImportType = import_type::none;
    request.options.after_failure = AfterFailure::discard;
  }
};

TEST_P(RandomSynchronisations, GiveWhatTheDocumentSays) {
  const auto [seed, odd_percentage, in_catalogue] = GetParam();
  if (in_catalogue) {
    use_catalogue();
  }
  const auto first = document(seed, odd_percentage);
  synchronise_and_look(first);
  synchronise_and_look(varied(first, seed));
  synchronise_and_look(document(seed + 1000, 0));
  disturb(varied(first, seed + 1), import_type::update);
  synchronise_and_look(document(seed + 1000, 0));
  disturb(first, import_type::replace);
  synchronise_and_look(document(seed + 2000, 0));
}

INSTANTIATE_TEST_SUITE_P(Documents, RandomSynchronisations,
                         ::testing::Combine(::testing::Range(1U, 13U), ::testing::Values(0, 2),
                                            ::testing::Bool()),
                         [](const auto& round) {
                           return "Seed" + std::to_string(std::get<0>(round.param)) + "Odd" +
                                  std::to_string(std::get<1>(round.param)) +
                                  (std::get<2>(round.param) ? "Catalogue" : "Memory");
                         });

}  // namespace
}  // namespace importkcd::testing
