#include <functional>

#include "importer/cube_parts.h"
#include "tests/importer/cube_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CubeDimensions : public CubeTest {
 protected:
  void SetUp() override {
    CubeTest::SetUp();
    add_current_cube();
  }

  OlapCube& cube() { return *run().current_cube; }

  void build(const std::string& dimensions) {
    build_cube_dimensions(run(), parse("<cube_dimensions>" + dimensions + "</cube_dimensions>"));
  }

  std::string build_error(const std::string& dimensions) {
    return error_of([&] { build(dimensions); });
  }

  /// A cube_dimension "Promotion" with these levels.
  std::string own_dimension(const std::string& levels = "") const {
    return promotion + "<cube_levels>" + levels + "</cube_levels></cube_dimension>";
  }

  static std::string reference(const std::string& name, const std::string& levels = "") {
    return "<cube_dimension_reference name=\"" + name + "\"><cube_levels_reference>" + levels +
           "</cube_levels_reference></cube_dimension_reference>";
  }

  static std::string level_reference(const std::string& name, const std::string& key,
                                     const std::string& disabled = "false") {
    return "<cube_level_reference name=\"" + name + "\" member_key_column=\"" + key +
           "\" disabled=\"" + disabled + "\"/>";
  }

  /// Builds "Promotion" with one level and gives that level of the database's dimension.
  OlapLevel build_level(const std::string& level_xml) {
    build(own_dimension(level_xml));
    return made().levels.empty() ? OlapLevel() : made().levels[0];
  }

  /// The database's dimension "Promotion".
  const OlapDimension& made() {
    static const OlapDimension none;
    const auto* found = database().dimensions().find("Promotion");
    EXPECT_NE(found, nullptr);
    return found == nullptr ? none : *found;
  }

  /// A level of the cube's own copy.
  const OlapLevel& cube_level(const std::string& dimension, const std::string& name) {
    static const OlapLevel none;
    const auto* found = cube().dimensions.find(dimension);
    const auto* result = found == nullptr ? nullptr : found->levels.find(name);
    EXPECT_NE(result, nullptr) << dimension << " " << name;
    return result == nullptr ? none : *result;
  }

  const std::string promotion =
      R"(<cube_dimension name="Promotion" description="What for" type="time")"
      R"( data_source="Sales DW" from_clause="promotions" join_clause="p = q">)";
  const std::string media =
      R"(<cube_level name="Media" type="regular" column_size="20" column_type="130")"
      R"( description="Where" estimated_size="300" member_key_column="m.id")"
      R"( member_name_column="m.name" ordering="key" unique_items="true"/>)";
};

TEST_F(CubeDimensions, EmptyCollectionDoesNothing) {
  build("");
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_THAT(cube().dimensions, IsEmpty());
}

TEST_F(CubeDimensions, OtherTagsAreIgnoredWhateverTheyHold) {
  build("<shared_dimension/><cube_dimensions/><cube_dimension_ref name='Time'/><!-- x -->");
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_THAT(cube().dimensions, IsEmpty());
}

TEST_F(CubeDimensions, TagsAreComparedWithoutRegardToLetterCase) {
  build(R"(<Cube_Dimension name="Promotion" description="" type="regular" data_source="Sales DW")"
        R"( from_clause="" join_clause=""><cube_levels/></Cube_Dimension>)"
        R"(<CUBE_DIMENSION_REFERENCE name="Time"><cube_levels_reference/>)"
        R"(</CUBE_DIMENSION_REFERENCE>)");
  EXPECT_THAT(names_of(cube().dimensions), ElementsAre("Promotion", "Time"));
}

TEST_F(CubeDimensions, DimensionsKeepTheDocumentsOrder) {
  build(reference("Time") + own_dimension() + reference("Product"));
  EXPECT_THAT(names_of(cube().dimensions), ElementsAre("Time", "Promotion", "Product"));
}

TEST_F(CubeDimensions, NoMessagesAreSent) {
  build(reference("Time") + own_dimension(media));
  EXPECT_THAT(sink.messages, IsEmpty());
}

// Dimensions defined inside the cube.

TEST_F(CubeDimensions, OwnDimensionIsPrivateToTheCube) {
  build(own_dimension());
  EXPECT_EQ(made().kind, OlapDimensionKind::is_private);
  EXPECT_EQ(made().owner_cube, "Sales");
}

TEST_F(CubeDimensions, OwnDimensionGetsEveryProperty) {
  build(own_dimension());
  EXPECT_EQ(made().name, "Promotion");
  EXPECT_EQ(made().description, "What for");
  EXPECT_EQ(made().type, OlapDimensionType::time);
  EXPECT_EQ(made().data_source, "Sales DW");
  EXPECT_EQ(made().from_clause, "promotions");
  EXPECT_EQ(made().join_clause, "p = q");
  EXPECT_THAT(made().custom_properties, IsEmpty());
}

TEST_F(CubeDimensions, OwnDimensionsNameDescriptionAndDataSourceAreDecoded) {
  OlapDataSource named;
  named.name = "Bob's DW";
  database().data_sources().add(named);
  auto xml = with_attribute(own_dimension(), "name", "Bob@#$%s");
  xml = with_attribute(xml, "description", "it@#$%s");
  build(with_attribute(xml, "data_source", "Bob@#$%s DW"));
  const auto* dimension = database().dimensions().find("Bob's");
  ASSERT_NE(dimension, nullptr);
  EXPECT_EQ(dimension->description, "it's");
  EXPECT_EQ(dimension->data_source, "Bob's DW");
  EXPECT_THAT(names_of(cube().dimensions), ElementsAre("Bob's"));
}

TEST_F(CubeDimensions, OwnDimensionsClausesAreTakenAsTheyStand) {
  build(with_attribute(with_attribute(own_dimension(), "from_clause", "a@#$%b"), "join_clause",
                       "c@#$%d"));
  EXPECT_EQ(made().from_clause, "a@#$%b");
  EXPECT_EQ(made().join_clause, "c@#$%d");
}

TEST_F(CubeDimensions, OwnDimensionsTypeIgnoresLetterCase) {
  build(with_attribute(own_dimension(), "type", "Quantitative"));
  EXPECT_EQ(made().type, OlapDimensionType::quantitative);
}

TEST_F(CubeDimensions, OwnDimensionOfUnknownTypeIsRegular) {
  build(with_attribute(own_dimension(), "type", "odd"));
  EXPECT_EQ(made().type, OlapDimensionType::regular);
}

TEST_F(CubeDimensions, SiblingsFlagIsSetOnVersion8Servers) {
  build(own_dimension());
  EXPECT_TRUE(made().allow_siblings_with_same_name);
}

TEST_F(CubeDimensions, SiblingsFlagIsLeftAloneOnAnyOtherVersion) {
  for (const auto* other : {"8.0.194", "8", "7.0", ""}) {
    version = other;
    database().dimensions().remove("Promotion");
    while (!cube().dimensions.empty()) {
      cube().dimensions.remove_first();
    }
    build(own_dimension());
    EXPECT_FALSE(made().allow_siblings_with_same_name) << other;
  }
}

TEST_F(CubeDimensions, OwnDimensionIsSavedTwiceAndTheCubeIsNot) {
  build(own_dimension(media));
  EXPECT_THAT(timeline,
              ElementsAre("write_back_dimension Promotion", "write_back_dimension Promotion"));
}

TEST_F(CubeDimensions, OwnDimensionIsSavedBeforeAndAfterItsLevels) {
  EXPECT_EQ(build_error(own_dimension(with_attribute(media, "estimated_size", "x"))),
            "Type mismatch in KCD document");
  EXPECT_THAT(timeline, ElementsAre("write_back_dimension Promotion"));
  EXPECT_THAT(names_of(made().levels), ElementsAre("Media"));
}

TEST_F(CubeDimensions, OwnDimensionReachesTheServerWithItsLevels) {
  build(own_dimension(media + with_attribute(media, "name", "Campaign")));
  server().write_back_cube(database(), cube());
  const auto& stored = stored_cube("Sales");
  ASSERT_EQ(stored.dimensions.size(), 1U);
  EXPECT_THAT(names_of(stored.dimensions[0].levels), ElementsAre("Media", "Campaign"));
  EXPECT_THAT(names_of(made().levels), ElementsAre("Media", "Campaign"));
  EXPECT_EQ(made().levels[1].estimated_size, 300);
  EXPECT_EQ(made().description, "What for");
}

TEST_F(CubeDimensions, CubeGetsItsOwnCopyOfTheLevels) {
  build(own_dimension(media));
  EXPECT_EQ(cube_level("Promotion", "Media").member_key_column, "m.id");
  EXPECT_EQ(cube_level("Promotion", "Media").estimated_size, 300);
}

TEST_F(CubeDimensions, EveryAttributeOfAnOwnDimensionIsRequired) {
  for (const auto* attribute :
       {"name", "description", "type", "data_source", "from_clause", "join_clause"}) {
    database().dimensions().remove("Promotion");
    EXPECT_EQ(build_error(without_attribute(own_dimension(), attribute)),
              "Invalid use of Null in KCD document")
        << attribute;
    EXPECT_EQ(database().dimensions().contains("Promotion"), std::string(attribute) != "name")
        << attribute;
  }
  EXPECT_THAT(timeline, IsEmpty());
  EXPECT_THAT(cube().dimensions, IsEmpty());
}

TEST_F(CubeDimensions, OwnDimensionsPropertiesAreSetInOrderUntilTheFirstError) {
  build_error(without_attribute(own_dimension(), "type"));
  EXPECT_EQ(made().description, "What for");
  EXPECT_EQ(made().data_source, "");
  database().dimensions().remove("Promotion");

  build_error(with_attribute(own_dimension(), "data_source", "Elsewhere"));
  EXPECT_EQ(made().type, OlapDimensionType::time);
  EXPECT_EQ(made().from_clause, "");
  database().dimensions().remove("Promotion");

  build_error(without_attribute(own_dimension(), "from_clause"));
  EXPECT_EQ(made().data_source, "Sales DW");
  EXPECT_EQ(made().join_clause, "");
  database().dimensions().remove("Promotion");

  build_error(without_attribute(own_dimension(), "join_clause"));
  EXPECT_EQ(made().from_clause, "promotions");
  EXPECT_FALSE(made().allow_siblings_with_same_name);
}

TEST_F(CubeDimensions, UnknownDataSourceOfAnOwnDimensionIsAnError) {
  EXPECT_EQ(build_error(with_attribute(own_dimension(), "data_source", "Elsewhere")),
            "data source 'Elsewhere' not found in OLAP server");
}

TEST_F(CubeDimensions, OwnDimensionOfATakenNameIsAnErrorAndTheOtherStays) {
  EXPECT_EQ(build_error(with_attribute(own_dimension(), "name", "time")),
            "'time' already exists in OLAP server");
  EXPECT_EQ(database().dimensions().find("Time")->kind, OlapDimensionKind::shared);
}

TEST_F(CubeDimensions, SecondCubesPrivateDimensionOfTheSameNameIsAnError) {
  build(own_dimension());
  add_current_cube("Returns");
  EXPECT_EQ(build_error(own_dimension()), "'Promotion' already exists in OLAP server");
}

TEST_F(CubeDimensions, AbsentLevelsOfAnOwnDimensionAreAnErrorAfterItsFirstSave) {
  EXPECT_EQ(build_error(promotion + "</cube_dimension>"),
            "element 'cube_levels' is missing in KCD document");
  EXPECT_THAT(timeline, ElementsAre("write_back_dimension Promotion"));
  EXPECT_THAT(cube().dimensions, IsEmpty());
}

TEST_F(CubeDimensions, RefusedSaveOfAnOwnDimensionIsAnError) {
  refused_operation = "write_back_dimension Promotion";
  EXPECT_EQ(build_error(own_dimension(media)), "refused by the test in OLAP server");
  EXPECT_THAT(made().levels, IsEmpty());
  EXPECT_THAT(cube().dimensions, IsEmpty());
}

// Levels of a dimension defined inside the cube.

TEST_F(CubeDimensions, LevelGetsEveryProperty) {
  const auto level = build_level(media);
  EXPECT_EQ(level.name, "Media");
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.column_size, 20);
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.description, "Where");
  EXPECT_EQ(level.estimated_size, 300);
  EXPECT_EQ(level.member_key_column, "m.id");
  EXPECT_EQ(level.member_name_column, "m.name");
  EXPECT_EQ(level.ordering, OlapOrdering::key);
  EXPECT_TRUE(level.unique_items);
  EXPECT_FALSE(level.disabled);
}

TEST_F(CubeDimensions, LevelTextsAreDecoded) {
  auto xml = media;
  for (const auto* attribute : {"name", "description", "member_key_column", "member_name_column"}) {
    xml = with_attribute(xml, attribute, "x@#$%y");
  }
  const auto level = build_level(xml);
  EXPECT_EQ(level.name, "x'y");
  EXPECT_EQ(level.description, "x'y");
  EXPECT_EQ(level.member_key_column, "x'y");
  EXPECT_EQ(level.member_name_column, "x'y");
}

TEST_F(CubeDimensions, LevelsKeepTheDocumentsOrderWhateverTheirTag) {
  build(own_dimension(media + "<!-- x --><b" + with_attribute(media, "name", "A").substr(11)));
  EXPECT_THAT(names_of(made().levels), ElementsAre("Media", "A"));
}

TEST_F(CubeDimensions, LevelTypeIgnoresLetterCase) {
  EXPECT_EQ(build_level(with_attribute(media, "type", "TIME_DAYS")).type, OlapLevelType::time_days);
}

TEST_F(CubeDimensions, LevelOfUnknownTypeIsRegularAndGetsANameColumn) {
  const auto level = build_level(with_attribute(media, "type", "odd"));
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.member_name_column, "m.name");
}

TEST_F(CubeDimensions, UnknownOrderingAndUniqueItemsAreTheFirstWords) {
  const auto level =
      build_level(with_attribute(with_attribute(media, "ordering", "odd"), "unique_items", "1"));
  EXPECT_EQ(level.ordering, OlapOrdering::name);
  EXPECT_FALSE(level.unique_items);
}

TEST_F(CubeDimensions, AllLevelKeepsItsDefaultColumnSize) {
  const auto level = build_level(with_attribute(media, "type", "all"));
  EXPECT_EQ(level.type, OlapLevelType::all);
  EXPECT_EQ(level.column_size, OlapLevel().column_size);
  EXPECT_EQ(level.column_type, 130);
}

TEST_F(CubeDimensions, AllLevelsColumnSizeIsNotEvenRead) {
  EXPECT_EQ(build_error(own_dimension(
                with_attribute(without_attribute(media, "column_size"), "type", "All"))),
            "");
}

TEST_F(CubeDimensions, ColumnSizeIsSetEvenWhenItIsZeroOrNegative) {
  build(own_dimension(with_attribute(media, "column_size", "-1") +
                      with_attribute(with_attribute(media, "name", "B"), "column_size", "0")));
  EXPECT_EQ(made().levels[0].column_size, -1);
  EXPECT_EQ(made().levels[1].column_size, 0);
}

TEST_F(CubeDimensions, ColumnSizeOfATimeLevelIsSet) {
  EXPECT_EQ(build_level(with_attribute(media, "type", "time_years")).column_size, 20);
}

TEST_F(CubeDimensions, OnlyRegularLevelsGetAMemberNameColumn) {
  build(own_dimension(with_attribute(media, "type", "all") +
                      with_attribute(with_attribute(media, "name", "Year"), "type", "time_years")));
  EXPECT_EQ(made().levels[0].member_name_column, "");
  EXPECT_EQ(made().levels[1].member_name_column, "");
}

TEST_F(CubeDimensions, MemberNameColumnOfOtherLevelsIsNotEvenRead) {
  EXPECT_EQ(build_error(own_dimension(
                with_attribute(without_attribute(media, "member_name_column"), "type", "all"))),
            "");
}

TEST_F(CubeDimensions, LevelsGetNoMemberProperties) {
  build(own_dimension(media.substr(0, media.size() - 2) +
                      "><member_properties><member_property name='Size'/></member_properties>"
                      "</cube_level>"));
  EXPECT_THAT(made().levels[0].member_properties, IsEmpty());
}

TEST_F(CubeDimensions, EveryAttributeOfALevelIsRequired) {
  for (const auto* attribute :
       {"name", "type", "column_size", "column_type", "description", "estimated_size",
        "member_key_column", "member_name_column", "ordering", "unique_items"}) {
    database().dimensions().remove("Promotion");
    EXPECT_EQ(build_error(own_dimension(without_attribute(media, attribute))),
              "Invalid use of Null in KCD document")
        << attribute;
    EXPECT_EQ(made().levels.size(), std::string(attribute) == "name" ? 0U : 1U) << attribute;
  }
  EXPECT_THAT(cube().dimensions, IsEmpty());
}

/// What a level has got when the attribute after it is absent, in the order of setting.
struct LevelStep {
  const char* absent_attribute;
  std::function<bool(const OlapLevel&)> was_set_before;
  std::function<bool(const OlapLevel&)> is_set_after;
};

const std::vector<LevelStep>& level_steps() {
  static const std::vector<LevelStep> steps = {
      {"column_size", [](const auto& level) { return level.type == OlapLevelType::regular; },
       [](const auto& level) { return level.column_type != 0; }},
      {"column_type", [](const auto& level) { return level.column_size == 20; },
       [](const auto& level) { return !level.description.empty(); }},
      {"description", [](const auto& level) { return level.column_type == 130; },
       [](const auto& level) { return level.estimated_size != 0; }},
      {"estimated_size", [](const auto& level) { return level.description == "Where"; },
       [](const auto& level) { return !level.member_key_column.empty(); }},
      {"member_key_column", [](const auto& level) { return level.estimated_size == 300; },
       [](const auto& level) { return !level.member_name_column.empty(); }},
      {"member_name_column", [](const auto& level) { return level.member_key_column == "m.id"; },
       [](const auto& level) { return level.ordering == OlapOrdering::key; }},
      {"ordering", [](const auto& level) { return level.member_name_column == "m.name"; },
       [](const auto& level) { return level.unique_items; }},
      {"unique_items", [](const auto& level) { return level.ordering == OlapOrdering::key; },
       [](const auto& level) { return level.unique_items; }},
  };
  return steps;
}

TEST_F(CubeDimensions, LevelWithoutTypeGetsNothingButItsName) {
  build_error(own_dimension(without_attribute(media, "type")));
  ASSERT_THAT(names_of(made().levels), ElementsAre("Media"));
  EXPECT_EQ(made().levels[0].column_size, OlapLevel().column_size);
  EXPECT_EQ(made().levels[0].estimated_size, OlapLevel().estimated_size);
}

TEST_F(CubeDimensions, LevelPropertiesAreSetInOrderUntilTheFirstError) {
  for (const auto& step : level_steps()) {
    database().dimensions().remove("Promotion");
    build_error(own_dimension(without_attribute(media, step.absent_attribute)));
    ASSERT_EQ(made().levels.size(), 1U) << step.absent_attribute;
    EXPECT_TRUE(step.was_set_before(made().levels[0])) << step.absent_attribute;
    EXPECT_FALSE(step.is_set_after(made().levels[0])) << step.absent_attribute;
  }
}

TEST_F(CubeDimensions, LevelNumbersThatDoNotConvertAreErrors) {
  for (const auto* attribute : {"column_size", "column_type", "estimated_size"}) {
    database().dimensions().remove("Promotion");
    EXPECT_EQ(build_error(own_dimension(with_attribute(media, attribute, "many"))),
              "Type mismatch in KCD document")
        << attribute;
  }
}

TEST_F(CubeDimensions, LevelNumbersOutOfRangeAreErrors) {
  const std::vector<std::pair<std::string, std::string>> too_large = {
      {"column_size", "32768"}, {"column_type", "-32769"}, {"estimated_size", "2147483648"}};
  for (const auto& [attribute, number] : too_large) {
    database().dimensions().remove("Promotion");
    EXPECT_EQ(build_error(own_dimension(with_attribute(media, attribute, number))),
              "Overflow in KCD document")
        << attribute;
  }
}

TEST_F(CubeDimensions, EstimatedSizeHasThirtyTwoBits) {
  EXPECT_EQ(build_level(with_attribute(media, "estimated_size", "2147483647")).estimated_size,
            2147483647);
}

TEST_F(CubeDimensions, SecondLevelOfANameIsAnError) {
  EXPECT_EQ(build_error(own_dimension(media + with_attribute(media, "name", "MEDIA"))),
            "'MEDIA' already exists in OLAP server");
}

// References to dimensions of the database.

TEST_F(CubeDimensions, ReferenceGivesTheCubeItsOwnCopyOfTheLevels) {
  build(reference("Time"));
  ASSERT_THAT(names_of(cube().dimensions), ElementsAre("Time"));
  EXPECT_THAT(names_of(cube().dimensions[0].levels), ElementsAre("(All)", "Year", "Month"));
  EXPECT_EQ(cube_level("Time", "Year").member_key_column, "[Year]");
}

TEST_F(CubeDimensions, ReferencedNameIsDecoded) {
  add_dimension("Bob's", {"Level"});
  build(reference("Bob@#$%s"));
  EXPECT_THAT(names_of(cube().dimensions), ElementsAre("Bob's"));
}

TEST_F(CubeDimensions, CubeIsSavedAfterEveryReference) {
  build(reference("Time", level_reference("Year", "k")) + own_dimension() + reference("Product"));
  EXPECT_THAT(timeline, ElementsAre("write_back_cube Sales", "write_back_dimension Promotion",
                                    "write_back_dimension Promotion", "write_back_cube Sales"));
}

TEST_F(CubeDimensions, ReferencedLevelsAreAdjusted) {
  build(reference("Time", level_reference("Year", "y", "true") + level_reference("Month", "m")));
  EXPECT_EQ(cube_level("Time", "Year").member_key_column, "y");
  EXPECT_TRUE(cube_level("Time", "Year").disabled);
  EXPECT_EQ(cube_level("Time", "Month").member_key_column, "m");
  EXPECT_FALSE(cube_level("Time", "Month").disabled);
}

TEST_F(CubeDimensions, AdjustmentsReachTheServerWithTheReferencesSave) {
  build(reference("Time", level_reference("Year", "y", "true")));
  const auto& stored = stored_cube("Sales");
  ASSERT_EQ(stored.dimensions.size(), 1U);
  EXPECT_EQ(stored.dimensions[0].levels.find("Year")->member_key_column, "y");
  EXPECT_TRUE(stored.dimensions[0].levels.find("Year")->disabled);
}

TEST_F(CubeDimensions, TheDatabasesOwnLevelsStayAsTheyAre) {
  build(reference("Time", level_reference("Year", "y", "true")));
  const auto* level = database().dimensions().find("Time")->levels.find("Year");
  EXPECT_EQ(level->member_key_column, "[Year]");
  EXPECT_FALSE(level->disabled);
}

TEST_F(CubeDimensions, AdjustedNamesAndKeysAreDecoded) {
  add_dimension("Odd", {"It's"});
  build(reference("Odd", level_reference("It@#$%s", "a@#$%b")));
  EXPECT_EQ(cube_level("Odd", "It's").member_key_column, "a'b");
}

TEST_F(CubeDimensions, UnknownDisabledTextIsFalse) {
  build(reference("Time", level_reference("Year", "y", "yes")));
  EXPECT_FALSE(cube_level("Time", "Year").disabled);
}

TEST_F(CubeDimensions, LevelsAreAdjustedLastToFirst) {
  EXPECT_EQ(
      build_error(reference("Time", level_reference("Year", "y") + level_reference("Week", "w") +
                                        level_reference("Month", "m"))),
      "level 'Week' not found in OLAP server");
  EXPECT_EQ(cube_level("Time", "Month").member_key_column, "m");
  EXPECT_EQ(cube_level("Time", "Year").member_key_column, "[Year]");
}

TEST_F(CubeDimensions, FirstOfTwoAdjustmentsOfALevelIsTheLastWord) {
  build(reference(
      "Time", level_reference("Year", "first") + "<!-- x -->" + level_reference("Year", "second")));
  EXPECT_EQ(cube_level("Time", "Year").member_key_column, "first");
}

TEST_F(CubeDimensions, AdjustmentsAreTakenWhateverTheirTag) {
  build(reference("Time", R"(<other name="Year" member_key_column="y" disabled="true"/>)"));
  EXPECT_EQ(cube_level("Time", "Year").member_key_column, "y");
}

TEST_F(CubeDimensions, AllLevelIsLeftAloneWhateverItsOtherAttributesSay) {
  build(reference("Time", level_reference("(All)", "a", "true") + "<l name='(All)'/>"));
  EXPECT_EQ(cube_level("Time", "(All)").member_key_column, "[(All)]");
  EXPECT_FALSE(cube_level("Time", "(All)").disabled);
}

TEST_F(CubeDimensions, AllLevelNeedNotBeThere) {
  EXPECT_EQ(build_error(reference("Product", "<l name='(All)'/>")), "");
}

TEST_F(CubeDimensions, AllLevelsNameIsComparedExactly) {
  build(reference("Time", level_reference("(all)", "a")));
  EXPECT_EQ(cube_level("Time", "(All)").member_key_column, "a");
}

TEST_F(CubeDimensions, EveryAttributeOfAnAdjustmentIsRequired) {
  for (const auto* attribute : {"name", "member_key_column", "disabled"}) {
    while (!cube().dimensions.empty()) {
      cube().dimensions.remove_first();
    }
    EXPECT_EQ(build_error(reference(
                  "Time", without_attribute(level_reference("Year", "y", "true"), attribute))),
              "Invalid use of Null in KCD document")
        << attribute;
  }
  EXPECT_THAT(timeline, IsEmpty());
}

TEST_F(CubeDimensions, MemberKeyColumnIsSetBeforeTheDisabledFlag) {
  build_error(reference("Time", without_attribute(level_reference("Year", "y"), "disabled")));
  EXPECT_EQ(cube_level("Time", "Year").member_key_column, "y");
}

TEST_F(CubeDimensions, UnknownReferencedDimensionIsAnError) {
  EXPECT_EQ(build_error(reference("Store")), "dimension 'Store' not found in OLAP server");
  EXPECT_THAT(timeline, IsEmpty());
}

TEST_F(CubeDimensions, SecondReferenceToADimensionIsAnError) {
  EXPECT_EQ(build_error(reference("Time") + reference("TIME")),
            "'Time' already exists in OLAP server");
}

TEST_F(CubeDimensions, ReferenceWithoutNameIsAnError) {
  EXPECT_EQ(build_error("<cube_dimension_reference><cube_levels_reference/>"
                        "</cube_dimension_reference>"),
            "Invalid use of Null in KCD document");
}

TEST_F(CubeDimensions, AbsentLevelsOfAReferenceAreAnErrorAndTheCubeIsNotSaved) {
  EXPECT_EQ(build_error(R"(<cube_dimension_reference name="Time"/>)"),
            "element 'cube_levels_reference' is missing in KCD document");
  EXPECT_THAT(names_of(cube().dimensions), ElementsAre("Time"));
  EXPECT_THAT(timeline, IsEmpty());
}

TEST_F(CubeDimensions, RefusedSaveOfTheCubeIsAnErrorAndTheRestDoesNotFollow) {
  refused_operation = "write_back_cube Sales";
  EXPECT_EQ(build_error(reference("Time") + reference("Product")),
            "refused by the test in OLAP server");
  EXPECT_THAT(names_of(cube().dimensions), ElementsAre("Time"));
}

}  // namespace
}  // namespace importkcd::testing
