#include "tests/importer/shared_dimensions_fixture.h"

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;

using DimensionLevels = SharedDimensionsTest;

TEST_F(DimensionLevels, LevelGetsAllItsProperties) {
  const auto level = imported_level(country);
  EXPECT_EQ(level.name, "Country");
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.column_size, 50);
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.description, "The country");
  EXPECT_EQ(level.estimated_size, 12);
  EXPECT_EQ(level.member_key_column, "store.country");
  EXPECT_EQ(level.member_name_column, "store.country_name");
  EXPECT_EQ(level.ordering, OlapOrdering::key);
  EXPECT_TRUE(level.unique_items);
  EXPECT_FALSE(level.disabled);
  EXPECT_TRUE(level.member_properties.empty());
}

TEST_F(DimensionLevels, EveryChildElementOfLevelsIsALevelInDocumentOrder) {
  import(dimension_text("Store", "<!-- no level -->" + changed(country, "<level", "<other") +
                                     changed(country, "Country", "City")));
  expect_no_error();
  EXPECT_THAT(names_of(stored("Store").levels), ElementsAre("Country", "City"));
}

TEST_F(DimensionLevels, TextsOfALevelAreDecoded) {
  auto text = changed(country, R"(name="Country")", R"(name="C@#$%")");
  text = changed(text, "The country", "d@#$%");
  text = changed(text, "store.country", "k@#$%");
  const auto level = imported_level(changed(text, "store.country_name", "n@#$%"));
  EXPECT_EQ(level.name, "C'");
  EXPECT_EQ(level.description, "d'");
  EXPECT_EQ(level.member_key_column, "k'");
  EXPECT_EQ(level.member_name_column, "n'");
}

TEST_F(DimensionLevels, WordsOfALevelMayBeOfAnyLetterCase) {
  auto text = changed(country, R"(type="regular")", R"(type="TIME_DAYS")");
  text = changed(text, R"(ordering="key")", R"(ordering="Key")");
  const auto level = imported_level(changed(text, R"("true")", R"("True")"));
  EXPECT_EQ(level.type, OlapLevelType::time_days);
  EXPECT_EQ(level.ordering, OlapOrdering::key);
  EXPECT_TRUE(level.unique_items);
}

TEST_F(DimensionLevels, WordsOfALevelMayBeAbsent) {
  auto text = without(country, R"( type="regular")");
  text = without(text, R"( ordering="key")");
  const auto level = imported_level(without(text, R"( unique_items="true")"));
  EXPECT_EQ(level.type, OlapLevelType::regular);
  EXPECT_EQ(level.member_name_column, "store.country_name");
  EXPECT_EQ(level.ordering, OlapOrdering::name);
  EXPECT_FALSE(level.unique_items);
}

TEST_F(DimensionLevels, AllLevelHasNoColumnSizeAndNoMemberNameColumn) {
  const auto level = imported_level(changed(country, R"("regular")", R"("All")"));
  EXPECT_EQ(level.type, OlapLevelType::all);
  EXPECT_EQ(level.column_size, 0);
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.member_key_column, "store.country");
  EXPECT_EQ(level.member_name_column, "");
}

TEST_F(DimensionLevels, ColumnSizeOfAnAllLevelIsNotRead) {
  const auto all = changed(country, R"("regular")", R"("all")");
  import(dimension_text("Absent", without(all, R"( column_size="50")")) +
         dimension_text("NoNumber", changed(all, R"("50")", R"("wide")")));
  expect_no_error();
  EXPECT_EQ(stored("Absent").levels.size(), 1U);
  EXPECT_EQ(stored("NoNumber").levels.size(), 1U);
}

TEST_F(DimensionLevels, ColumnSizeIsSetOnlyWhenItIsAboveZero) {
  import(dimension_text("Zero", changed(country, R"("50")", R"("0")")) +
         dimension_text("Negative", changed(country, R"("50")", R"("-5")")) +
         dimension_text("One", changed(country, R"("50")", R"("1")")) +
         dimension_text("Largest", changed(country, R"("50")", R"("32767")")));
  expect_no_error();
  EXPECT_EQ(stored("Zero").levels[0].column_size, 0);
  EXPECT_EQ(stored("Negative").levels[0].column_size, 0);
  EXPECT_EQ(stored("One").levels[0].column_size, 1);
  EXPECT_EQ(stored("Largest").levels[0].column_size, 32767);
}

TEST_F(DimensionLevels, TimeLevelHasAColumnSizeAndNoMemberNameColumn) {
  const auto level = imported_level(changed(country, R"("regular")", R"("time_years")"));
  EXPECT_EQ(level.type, OlapLevelType::time_years);
  EXPECT_EQ(level.column_size, 50);
  EXPECT_EQ(level.member_name_column, "");
}

TEST_F(DimensionLevels, MemberNameColumnOfATimeLevelMayBeAbsent) {
  const auto level = imported_level(without(changed(country, R"("regular")", R"("time_years")"),
                                            R"( member_name_column="store.country_name")"));
  EXPECT_EQ(level.type, OlapLevelType::time_years);
}

TEST_F(DimensionLevels, EstimatedSizeHas32Bits) {
  EXPECT_EQ(imported_level(changed(country, R"("12")", R"("2147483647")")).estimated_size,
            2147483647);
}

TEST_F(DimensionLevels, EveryFailureOfALevelIsAnErrorAndTheDimensionIsNotWrittenBack) {
  struct Case {
    std::string from;
    std::string to;
    std::string error;
  };
  const std::vector<Case> cases = {
      {R"(name="Country")", "", "Invalid use of Null"},
      {R"(name="Country")", R"(name="")", "an object must have a name"},
      {R"(column_size="50")", "", "Invalid use of Null"},
      {R"(column_size="50")", R"(column_size="wide")", "Type mismatch"},
      {R"(column_size="50")", R"(column_size="32768")", "Overflow"},
      {R"(column_type="130")", "", "Invalid use of Null"},
      {R"(column_type="130")", R"(column_type="")", "Type mismatch"},
      {R"(column_type="130")", R"(column_type="40000")", "Overflow"},
      {R"(description="The country")", "", "Invalid use of Null"},
      {R"(estimated_size="12")", "", "Invalid use of Null"},
      {R"(estimated_size="12")", R"(estimated_size="many")", "Type mismatch"},
      {R"(estimated_size="12")", R"(estimated_size="2147483648")", "Overflow"},
      {R"(member_key_column="store.country")", "", "Invalid use of Null"},
      {R"(member_name_column="store.country_name")", "", "Invalid use of Null"},
  };
  int number = 0;
  for (const auto& [from, to, error] : cases) {
    SCOPED_TRACE(::testing::Message() << from << " -> " << to);
    const auto name = "Store" + std::to_string(++number);
    outcome = {true, ""};
    sink.messages.clear();
    import(dimension_text(name, changed(country, from, to)) +
           dimension_text("After " + name, country));
    EXPECT_THAT(sink.messages, ElementsAre("Creating shared dimensions",
                                           "Searching shared dimension '" + name + "'",
                                           "Creating shared dimension '" + name + "'",
                                           "Searching shared dimension 'After " + name + "'",
                                           "Creating shared dimension 'After " + name + "'"));
    expect_failed(error);
    EXPECT_EQ(stored(name).name, "");
    EXPECT_EQ(stored("After " + name).levels.size(), 1U);
  }
}

TEST_F(DimensionLevels, LevelNamedTwiceIsAnError) {
  import(dimension_text("Store", country + changed(country, "Country", "COUNTRY")));
  expect_failed("'COUNTRY' already exists");
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(DimensionLevels, LevelsAfterAFailedOneFollow) {
  import(dimension_text("Store", changed(country, R"("130")", R"("x")") +
                                     changed(country, "Country", "City") +
                                     changed(country, "Country", "Street")));
  expect_failed("Type mismatch");
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_THAT(names_of(failed->levels), ElementsAre("Country", "City", "Street"));
  EXPECT_EQ(failed->levels[2].ordering, OlapOrdering::key);
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(DimensionLevels, LastErrorOfTheLevelsIsTheOneThatIsKept) {
  import(dimension_text("Store", changed(country, R"("130")", R"("x")") +
                                     changed(country, R"(name="Country")", R"(name="")")));
  expect_failed("an object must have a name");
}

TEST_F(DimensionLevels, FailedLevelLeavesTheServersDimensionAsItWas) {
  given("Store");
  options.ImportType = import_type::update;
  import(dimension_text("Store", changed(country, R"("130")", R"("x")")));
  EXPECT_THAT(sink.messages,
              ElementsAre("Creating shared dimensions", "Searching shared dimension 'Store'",
                          "Updating shared dimension 'Store'"));
  expect_failed("Type mismatch");
  expect_unchanged("Store");
}

TEST_F(DimensionLevels, PropertiesOfALevelAreSetInOrderUntilTheFirstFailure) {
  const auto failed_level = [&](const std::string& name, const std::string& part) {
    import(dimension_text(name, without(country, part)));
    return database().dimensions().find(name)->levels[0];
  };
  auto level = failed_level("A", R"(column_size="50")");
  EXPECT_EQ(level.column_type, 0);
  level = failed_level("B", R"(column_type="130")");
  EXPECT_EQ(level.column_size, 50);
  EXPECT_EQ(level.description, "");
  level = failed_level("C", R"(description="The country")");
  EXPECT_EQ(level.column_type, 130);
  EXPECT_EQ(level.estimated_size, 0);
  level = failed_level("D", R"(estimated_size="12")");
  EXPECT_EQ(level.description, "The country");
  EXPECT_EQ(level.member_key_column, "");
  level = failed_level("E", R"(member_key_column="store.country")");
  EXPECT_EQ(level.estimated_size, 12);
  EXPECT_EQ(level.member_name_column, "");
  level = failed_level("F", R"(member_name_column="store.country_name")");
  EXPECT_EQ(level.member_key_column, "store.country");
  EXPECT_EQ(level.ordering, OlapOrdering::name);
  EXPECT_FALSE(level.unique_items);
}

const std::string manager =
    R"(<member_property name="Manager" description="Who runs it" caption="Run by" source_column="store.manager"/>)";

/// The level "Country" with this content.
std::string level_with(const std::string& content) {
  return changed(country, "/>", ">" + content + "</level>");
}

TEST_F(DimensionLevels, MemberPropertyGetsAllItsProperties) {
  const auto level =
      imported_level(level_with("<member_properties>" + manager + "</member_properties>"));
  ASSERT_EQ(level.member_properties.size(), 1U);
  const auto& property = level.member_properties[0];
  EXPECT_EQ(property.name, "Manager");
  EXPECT_EQ(property.description, "Who runs it");
  EXPECT_EQ(property.caption, "Run by");
  EXPECT_EQ(property.source_column, "store.manager");
}

TEST_F(DimensionLevels, TextsOfAMemberPropertyAreDecodedButForItsColumn) {
  const auto level = imported_level(level_with(
      R"(<x><y name="N@#$%" description="D@#$%" caption="C@#$%" source_column="S@#$%"/></x>)"));
  ASSERT_EQ(level.member_properties.size(), 1U);
  const auto& property = level.member_properties[0];
  EXPECT_EQ(property.name, "N'");
  EXPECT_EQ(property.description, "D'");
  EXPECT_EQ(property.caption, "C'");
  EXPECT_EQ(property.source_column, "S@#$%");
}

TEST_F(DimensionLevels, EveryChildElementOfALevelIsACollectionOfMemberProperties) {
  const auto level = imported_level(
      level_with("<a>" + manager + changed(manager, "Manager", "Size") + "</a><!-- none --><b>" +
                 changed(manager, "Manager", "Phone") + "</b>"));
  ASSERT_EQ(level.member_properties.size(), 3U);
  EXPECT_EQ(level.member_properties[0].name, "Manager");
  EXPECT_EQ(level.member_properties[1].name, "Size");
  EXPECT_EQ(level.member_properties[2].name, "Phone");
}

TEST_F(DimensionLevels, ChildOfALevelWithoutChildrenGivesNoMemberProperties) {
  const auto level = imported_level(level_with("<member_properties/>" + manager));
  EXPECT_TRUE(level.member_properties.empty());
}

TEST_F(DimensionLevels, EveryFailureOfAMemberPropertyIsAnErrorAndTheDimensionIsNotWrittenBack) {
  const auto second = changed(manager, "Manager", "Size");
  int number = 0;
  for (const std::string part : {R"(name="Manager")", R"(description="Who runs it")",
                                 R"(caption="Run by")", R"(source_column="store.manager")"}) {
    SCOPED_TRACE(part);
    const auto name = "Store" + std::to_string(++number);
    outcome = {true, ""};
    import(dimension_text(name, level_with("<a>" + without(manager, part) + "</a>")) +
           dimension_text("After " + name, level_with("<a>" + second + "</a>")));
    expect_failed("Invalid use of Null");
    EXPECT_EQ(stored(name).name, "");
    EXPECT_EQ(stored("After " + name).levels.size(), 1U);
  }
}

TEST_F(DimensionLevels, MemberPropertyNamedTwiceIsAnError) {
  import(dimension_text("Store", level_with("<a>" + manager + "</a><b>" + manager + "</b>")));
  expect_failed("'Manager' already exists");
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(DimensionLevels, WhatComesAfterAFailedMemberPropertyFollows) {
  import(dimension_text("Store", level_with("<a>" + without(manager, R"(caption="Run by")") +
                                            changed(manager, "Manager", "Size") + "</a><b>" +
                                            changed(manager, "Manager", "Phone") + "</b>") +
                                     changed(country, "Country", "City")));
  expect_failed("Invalid use of Null");
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_THAT(names_of(failed->levels), ElementsAre("Country", "City"));
  const auto& properties = failed->levels[0].member_properties;
  ASSERT_EQ(properties.size(), 3U);
  EXPECT_EQ(properties[0].description, "Who runs it");
  EXPECT_EQ(properties[0].source_column, "");
  EXPECT_EQ(properties[1].source_column, "store.manager");
  EXPECT_EQ(properties[2].name, "Phone");
  EXPECT_EQ(stored("Store").name, "");
}

TEST_F(DimensionLevels, FailedLevelGetsNoMemberProperties) {
  import(
      dimension_text("Store", changed(level_with("<a>" + manager + "</a>"), R"("130")", R"("x")")));
  expect_failed("Type mismatch");
  const OlapDimension* failed = database().dimensions().find("Store");
  ASSERT_NE(failed, nullptr);
  EXPECT_TRUE(failed->levels[0].member_properties.empty());
}

}  // namespace
}  // namespace importkcd::testing
