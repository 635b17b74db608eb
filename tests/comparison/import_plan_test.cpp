#include "comparison/import_plan.h"

#include <set>
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
using Action = PlannedObject::Action;

class ImportPlanTest : public ComparisonTest {
 protected:
  ImportPlanTest() {
    request.options.ImportType = import_type::incremental;
    request.options.import_partitions = true;
    request.options.after_failure = AfterFailure::discard;
  }

  /// The texts of the differences of the one object that is not left out.
  static std::vector<std::string> differences(const ImportPlan& planned) {
    EXPECT_EQ(planned.plan.objects.size(), 1U);
    std::vector<std::string> result;
    for (const auto& object : planned.plan.objects) {
      for (const auto& difference : object.differences) {
        result.push_back(text_of(difference));
      }
    }
    return result;
  }
};

TEST_F(ImportPlanTest, ANewDatabaseIsCreatedWithAllItsObjects) {
  const auto planned = plan(whole_document());
  EXPECT_TRUE(planned.result.succeeded);
  EXPECT_EQ(planned.database, "Shop");
  EXPECT_FALSE(planned.built_anew);
  EXPECT_THAT(
      lines_of(planned.plan),
      ElementsAre("create database Shop", "create data source Warehouse", "create dimension Time",
                  "create dimension Product", "create dimension Region", "create role Readers",
                  "create cube Sales", "create cube Stock"));
  EXPECT_THAT(planned.plan.objects[6].contents,
              ElementsAre(::testing::Pair("dimension", 2), ::testing::Pair("measure", 1),
                          ::testing::Pair("calculated member", 1), ::testing::Pair("role", 1),
                          ::testing::Pair("partition", 2)));
  EXPECT_EQ(stored_text(), "");
}

TEST_F(ImportPlanTest, TheSameDocumentAgainChangesNothing) {
  import(whole_document());
  for (const auto mode : {import_type::incremental, import_type::replace}) {
    request.options.ImportType = mode;
    const auto planned = plan(whole_document());
    EXPECT_THAT(lines_of(planned.plan), IsEmpty());
    EXPECT_FALSE(planned.plan.changes_anything());
    EXPECT_EQ(planned.built_anew, mode == import_type::replace);
  }
}

TEST_F(ImportPlanTest, AnIncrementalImportTellsWhatItKeepsAlthoughItDiffers) {
  import(whole_document());
  const auto planned =
      plan(changed(whole_document(), R"(fact_table="stock")", R"(fact_table="stock_2")"));
  EXPECT_THAT(lines_of(planned.plan), ElementsAre("keep cube Stock"));
  EXPECT_EQ(planned.plan.objects[0].reason, "exists, mode is incremental");
  EXPECT_THAT(differences(planned), Contains("fact_table stock -> stock_2"));
  EXPECT_FALSE(planned.plan.changes_anything());
}

TEST_F(ImportPlanTest, AnIncrementalImportKeepsADimensionBecauseItExistsAndNotBecauseOfItsUse) {
  import(whole_document());
  const auto planned =
      plan(changed(whole_document(), R"(<shared_dimension name="Time" description=")",
                   R"(<shared_dimension name="Time" description="New )"));
  EXPECT_THAT(lines_of(planned.plan), Contains("keep dimension Time"));
  EXPECT_EQ(planned.plan.objects[0].reason, "exists, mode is incremental");
}

TEST_F(ImportPlanTest, AnUpdateTellsThatADimensionInUseIsKept) {
  import(whole_document());
  request.options.ImportType = import_type::update;
  request.options.DontUpdateLevels = true;
  const auto planned =
      plan(changed(whole_document(), R"(<shared_dimension name="Time" description=")",
                   R"(<shared_dimension name="Time" description="New )"));
  EXPECT_THAT(lines_of(planned.plan), Contains("keep dimension Time"));
  EXPECT_EQ(planned.plan.objects[0].reason, "in use, mode is update");
}

TEST_F(ImportPlanTest, TheDatabasesDescriptionIsComparedToo) {
  import(bare_document(known_version, "Shop"));
  const auto other =
      changed(bare_document(known_version, "Shop"), "description=\"", "description=\"Other ");
  EXPECT_THAT(lines_of(plan(other).plan), ElementsAre("keep database Shop"));
  request.options.ImportType = import_type::replace;
  EXPECT_THAT(lines_of(plan(other).plan), ElementsAre("change database Shop"));
}

TEST_F(ImportPlanTest, APrivateDimensionIsToldOnceWithItsCube) {
  import(whole_document());
  request.options.ImportType = import_type::replace;
  const auto planned = plan(
      changed(changed(whole_document(), R"(<cube_dimension name="Channel" description="Where")",
                      R"(<cube_dimension name="Channel" description="How")"),
              R"(member_key_column="channels.id")", R"(member_key_column="channels.code")"));
  EXPECT_THAT(lines_of(planned.plan), ElementsAre("change cube Sales"));
  EXPECT_THAT(differences(planned),
              ElementsAre("dimension 'Channel' > level 'Channel': member_key_column channels.id "
                          "-> channels.code",
                          "dimension 'Channel': description Where -> How"));
}

TEST_F(ImportPlanTest, AReplacementTellsWhatLeaves) {
  import(whole_document());
  request.options.ImportType = import_type::replace;
  const auto planned = plan(bare_document(known_version, "SHOP"));
  EXPECT_TRUE(planned.built_anew);
  EXPECT_EQ(planned.database, "Shop");
  EXPECT_THAT(
      lines_of(planned.plan),
      ::testing::IsSupersetOf({"remove data source Warehouse", "remove dimension Time",
                               "remove role Readers", "remove cube Sales", "remove cube Stock"}));
}

TEST_F(ImportPlanTest, AFailingImportThatStoresNothingHasNoPlan) {
  const auto broken = changed(whole_document(), R"(estimated_rows="10")", R"(estimated_rows="x")");
  const auto planned = plan(broken);
  EXPECT_FALSE(planned.result.succeeded);
  EXPECT_THAT(planned.result.error, HasSubstr("Type mismatch"));
  EXPECT_EQ(planned.database, "");
  EXPECT_THAT(planned.plan.objects, IsEmpty());
}

TEST_F(ImportPlanTest, AFailingImportThatStaysHasOne) {
  request.options.after_failure = AfterFailure::keep;
  const auto planned =
      plan(changed(whole_document(), R"(estimated_rows="10")", R"(estimated_rows="x")"));
  EXPECT_FALSE(planned.result.succeeded);
  EXPECT_THAT(lines_of(planned.plan), Contains("create cube Sales"));
}

TEST_F(ImportPlanTest, WhatCannotBeComparedIsSaid) {
  import(whole_document());
  auto text = whole_document();
  const auto from = text.find("<shared_dimensions>");
  const auto end = text.find("</shared_dimensions>") + std::string("</shared_dimensions>").size();
  text.erase(from, end - from);
  const auto planned = plan(text);
  EXPECT_TRUE(planned.result.succeeded);
  EXPECT_THAT(planned.remarks,
              ElementsAre(HasSubstr("What stays although the document says something else is not "
                                    "told: ")));
  EXPECT_FALSE(planned.plan.changes_anything());
}

TEST_F(ImportPlanTest, ARehearsalWaitsForNobody) {
  import(whole_document());
  const auto other = server();
  other->connect("");
  other->hold_database("Shop");
  EXPECT_TRUE(plan(whole_document()).result.succeeded);
}

/// Seed, mode, chance of something odd in a hundred, whether in a catalogue. Mode 4 synchronises,
/// mode 5 without removing anything.
using Round = std::tuple<unsigned, int, int, bool>;

/// After a plan, the import is carried out: what is stored differs exactly as the plan has said.
class RandomPlans : public ImportPlanTest, public ::testing::WithParamInterface<Round> {
 protected:
  static std::string document(unsigned seed, int odd_percentage) {
    GeneratorOptions options;
    options.seed = seed;
    options.odd_percentage = odd_percentage;
    return generate_document(options);
  }

  static std::set<std::string> names(const Plan& plan, Action action) {
    std::set<std::string> result;
    for (const auto& object : plan.objects) {
      if (object.action == action) {
        result.insert(std::string(object.kind) + " | " + object.name);
      }
    }
    return result;
  }

  static void expect_truth(const Plan& plan, const StoredObjects& before,
                           const StoredObjects& after) {
    std::set<std::string> created;
    std::set<std::string> changed_ones;
    std::set<std::string> removed;
    for (const auto& [key, text] : after) {
      if (before.count(key) == 0) {
        created.insert(key);
      } else if (before.at(key) != text) {
        changed_ones.insert(key);
      }
    }
    for (const auto& [key, text] : before) {
      if (after.count(key) == 0) {
        removed.insert(key);
      }
    }
    EXPECT_EQ(names(plan, Action::create), created);
    EXPECT_EQ(names(plan, Action::change), changed_ones);
    EXPECT_EQ(names(plan, Action::remove), removed);
    EXPECT_EQ(plan.changes_anything(), before != after);
  }

  /// What an incremental import leaves although the document says something else.
  static std::set<std::string> kept_ones(const StoredObjects& before,
                                         const StoredObjects& document) {
    std::set<std::string> kept;
    for (const auto& [key, text] : document) {
      const auto found = before.find(key);
      if (found != before.end() && found->second != text) {
        kept.insert(key);
      }
    }
    return kept;
  }

  void plan_and_import(const std::string& text) {
    const auto before = stored_text();
    const auto planned = plan(text);
    ASSERT_EQ(stored_text(), before);
    const auto result = import(text);
    EXPECT_EQ(result.succeeded, planned.result.succeeded);
    EXPECT_EQ(result.error.empty(), planned.result.error.empty()) << result.error;
    expect_truth(planned.plan, objects_in(before), objects_in(stored_text()));
    if (result.succeeded && !request.synchronises && planned.remarks.empty() &&
        request.options.ImportType == import_type::incremental) {
      EXPECT_EQ(names(planned.plan, Action::keep),
                kept_ones(objects_in(before), objects_in(text_of_document(text, request.options))));
    }
  }
};

TEST_P(RandomPlans, TellWhatTheImportDoes) {
  const auto [seed, mode, odd_percentage, in_catalogue] = GetParam();
  if (in_catalogue) {
    use_catalogue();
  }
  request.synchronises = mode >= 4;
  request.prunes = mode != 5;
  request.options.ImportType = request.synchronises ? import_type::incremental : mode;
  request.options.import_partitions = seed % 2 == 0;
  request.options.DontUpdateLevels = mode == import_type::update && seed % 3 != 0;
  request.options.after_failure =
      seed % 4 == 0 && !request.synchronises ? AfterFailure::keep : AfterFailure::discard;
  const auto first = document(seed, odd_percentage);
  plan_and_import(first);
  plan_and_import(first);
  plan_and_import(varied(first, seed));
  plan_and_import(document(seed + 1000, odd_percentage));
  plan_and_import(varied(first, seed + 1));
}

INSTANTIATE_TEST_SUITE_P(Modes, RandomPlans,
                         ::testing::Combine(::testing::Range(1U, 9U), ::testing::Range(1, 6),
                                            ::testing::Values(0, 3), ::testing::Bool()),
                         [](const auto& round) {
                           return "Seed" + std::to_string(std::get<0>(round.param)) + "Mode" +
                                  std::to_string(std::get<1>(round.param)) + "Odd" +
                                  std::to_string(std::get<2>(round.param)) +
                                  (std::get<3>(round.param) ? "Catalogue" : "Memory");
                         });

}  // namespace
}  // namespace importkcd::testing
