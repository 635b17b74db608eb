#include "importer/cube_parts.h"
#include "tests/importer/cube_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CubeMeasures : public CubeTest {
 protected:
  /// Builds the measures into a fresh current cube.
  const NamedCollection<OlapMeasure>& build(const std::string& measures) {
    OlapCube& cube = add_current_cube();
    build_measures(run(), parse("<cube_measures>" + measures + "</cube_measures>"));
    return cube.measures;
  }

  /// Builds one measure and gives it; a default one when it was not added.
  OlapMeasure build_one(const std::string& measure) {
    const auto& measures = build(measure);
    return measures.empty() ? OlapMeasure() : measures[0];
  }

  void expect_silence() {
    EXPECT_THAT(timeline, IsEmpty());
    expect_no_error();
  }

  const std::string amount =
      R"(<cube_measure name="Amount" description="All sales" format="#,#" source_column="amount")"
      R"( internal="true" aggregate_function="max"/>)";
};

TEST_F(CubeMeasures, EmptyCollectionAddsNothing) {
  EXPECT_THAT(build(""), IsEmpty());
  expect_silence();
}

TEST_F(CubeMeasures, EveryPropertyIsSet) {
  const auto measure = build_one(amount);
  EXPECT_EQ(measure.name, "Amount");
  EXPECT_EQ(measure.description, "All sales");
  EXPECT_EQ(measure.format, "#,#");
  EXPECT_EQ(measure.source_column, "amount");
  EXPECT_TRUE(measure.internal);
  EXPECT_EQ(measure.aggregate_function, OlapAggregateFunction::max);
  expect_silence();
}

TEST_F(CubeMeasures, NameAndDescriptionAreDecoded) {
  const auto measure = build_one(
      with_attribute(with_attribute(amount, "name", "Year@#$%s"), "description", "it@#$%s"));
  EXPECT_EQ(measure.name, "Year's");
  EXPECT_EQ(measure.description, "it's");
}

TEST_F(CubeMeasures, FormatAndSourceColumnAreTakenAsTheyStand) {
  const auto measure = build_one(
      with_attribute(with_attribute(amount, "format", "@#$%"), "source_column", "x@#$%y"));
  EXPECT_EQ(measure.format, "@#$%");
  EXPECT_EQ(measure.source_column, "x@#$%y");
}

TEST_F(CubeMeasures, MeasuresKeepTheDocumentsOrderWhateverTheirTag) {
  EXPECT_THAT(names_of(build(amount + "<!-- a comment -->" +
                             R"(<other name="B" description="" format="" source_column="")"
                             R"( internal="false" aggregate_function="sum"/>)" +
                             with_attribute(amount, "name", "A"))),
              ElementsAre("Amount", "B", "A"));
}

TEST_F(CubeMeasures, AggregateFunctionIgnoresLetterCase) {
  EXPECT_EQ(build_one(with_attribute(amount, "aggregate_function", "Count")).aggregate_function,
            OlapAggregateFunction::count);
}

TEST_F(CubeMeasures, UnknownAggregateFunctionIsSum) {
  EXPECT_EQ(build_one(with_attribute(amount, "aggregate_function", "average")).aggregate_function,
            OlapAggregateFunction::sum);
}

TEST_F(CubeMeasures, UnknownInternalTextIsFalse) {
  EXPECT_FALSE(build_one(with_attribute(amount, "internal", "yes")).internal);
}

TEST_F(CubeMeasures, AbsentInternalIsFalseAndNoError) {
  const auto measure = build_one(without_attribute(amount, "internal"));
  EXPECT_FALSE(measure.internal);
  EXPECT_EQ(measure.aggregate_function, OlapAggregateFunction::max);
}

TEST_F(CubeMeasures, MeasureWithoutNameIsNotAddedAndTheNextFollows) {
  EXPECT_THAT(
      names_of(build(without_attribute(amount, "name") + with_attribute(amount, "name", "Next"))),
      ElementsAre("Next"));
  expect_silence();
}

TEST_F(CubeMeasures, MeasureOfAnEmptyNameIsNotAddedAndTheNextFollows) {
  EXPECT_THAT(
      names_of(build(with_attribute(amount, "name", "") + with_attribute(amount, "name", "Next"))),
      ElementsAre("Next"));
  expect_silence();
}

TEST_F(CubeMeasures, SecondMeasureOfANameIsLeftOutAndTheFirstStays) {
  const auto& measures =
      build(amount + with_attribute(with_attribute(amount, "name", "AMOUNT"), "format", "second") +
            with_attribute(amount, "name", "Next"));
  EXPECT_THAT(names_of(measures), ElementsAre("Amount", "Next"));
  EXPECT_EQ(measures[0].format, "#,#");
  expect_silence();
}

TEST_F(CubeMeasures, MeasureWithoutDescriptionStaysWithItsNameAlone) {
  const auto measure = build_one(without_attribute(amount, "description"));
  EXPECT_EQ(measure.name, "Amount");
  EXPECT_EQ(measure.format, "");
  EXPECT_EQ(measure.source_column, "");
  EXPECT_FALSE(measure.internal);
  expect_silence();
}

TEST_F(CubeMeasures, MeasureWithoutFormatStaysAsFarAsItGot) {
  const auto measure = build_one(without_attribute(amount, "format"));
  EXPECT_EQ(measure.description, "All sales");
  EXPECT_EQ(measure.source_column, "");
  EXPECT_FALSE(measure.internal);
  expect_silence();
}

TEST_F(CubeMeasures, MeasureWithoutSourceColumnStaysAsFarAsItGot) {
  const auto measure = build_one(without_attribute(amount, "source_column"));
  EXPECT_EQ(measure.format, "#,#");
  EXPECT_FALSE(measure.internal);
  EXPECT_EQ(measure.aggregate_function, OlapAggregateFunction::sum);
  expect_silence();
}

TEST_F(CubeMeasures, MeasureWithoutAggregateFunctionStaysAsFarAsItGotAndTheNextFollows) {
  const auto& measures = build(without_attribute(amount, "aggregate_function") +
                               with_attribute(amount, "name", "Next"));
  EXPECT_THAT(names_of(measures), ElementsAre("Amount", "Next"));
  EXPECT_TRUE(measures[0].internal);
  EXPECT_EQ(measures[0].aggregate_function, OlapAggregateFunction::sum);
  EXPECT_EQ(measures[1].aggregate_function, OlapAggregateFunction::max);
  expect_silence();
}

}  // namespace
}  // namespace importkcd::testing
