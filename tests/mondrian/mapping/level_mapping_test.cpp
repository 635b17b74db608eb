#include "mondrian/mapping/level_mapping.h"

#include <gtest/gtest.h>

#include "tests/mondrian/mapping/mapping_fixture.h"

namespace importkcd {
namespace {

std::string xml(const OlapLevel& level, const LevelValues& values, const LevelPlace& place = {}) {
  return xml_text(level_element(level, place, values));
}

OlapLevel city() {
  auto level = testing::level("City", "store.city_id", "store.city");
  level.column_type = 3;
  return level;
}

const LevelValues city_columns{"store", {"city_id", {}}, {"city", {}}, {}};

TEST(LevelMapping, KeyAndNameColumnsAreThoseOfTheirTable) {
  EXPECT_EQ(xml(city(), city_columns),
            "<Level name=\"City\" table=\"store\" column=\"city_id\" nameColumn=\"city\" "
            "type=\"Integer\" uniqueMembers=\"false\"/>\n");
}

TEST(LevelMapping, ANameThatIsTheKeyIsNotSaid) {
  auto values = city_columns;
  values.name = values.key;
  values.table.clear();
  EXPECT_EQ(xml(city(), values),
            "<Level name=\"City\" column=\"city_id\" type=\"Integer\" uniqueMembers=\"false\"/>\n");
}

TEST(LevelMapping, ExpressionsAreElements) {
  EXPECT_EQ(xml(city(), {{}, {{}, "upper(\"a\" || '<')"}, {"city", {}}, {}}),
            "<Level name=\"City\" nameColumn=\"city\" type=\"Integer\" uniqueMembers=\"false\">\n"
            "  <KeyExpression>\n"
            "    <SQL dialect=\"generic\">upper(&quot;a&quot; || '&lt;')</SQL>\n"
            "  </KeyExpression>\n"
            "</Level>\n");
}

TEST(LevelMapping, MembersAreOrderedByTheirNamesWhenTheLevelSaysSo) {
  auto level = city();
  level.ordering = OlapOrdering::name;
  EXPECT_EQ(xml(level, city_columns),
            "<Level name=\"City\" table=\"store\" column=\"city_id\" nameColumn=\"city\" "
            "ordinalColumn=\"city\" type=\"Integer\" uniqueMembers=\"false\"/>\n");
  EXPECT_EQ(xml(level, {{}, {"city_id", {}}, {{}, "trim(city)"}, {}}),
            "<Level name=\"City\" column=\"city_id\" type=\"Integer\" uniqueMembers=\"false\">\n"
            "  <NameExpression>\n"
            "    <SQL dialect=\"generic\">trim(city)</SQL>\n"
            "  </NameExpression>\n"
            "  <OrdinalExpression>\n"
            "    <SQL dialect=\"generic\">trim(city)</SQL>\n"
            "  </OrdinalExpression>\n"
            "</Level>\n");
}

TEST(LevelMapping, MembersAreUniqueWhenTheLevelSaysSoOrIsTheTop) {
  auto level = city();
  level.unique_items = true;
  const auto* unique =
      "<Level name=\"City\" table=\"store\" column=\"city_id\" nameColumn=\"city\" "
      "type=\"Integer\" uniqueMembers=\"true\"/>\n";
  EXPECT_EQ(xml(level, city_columns), unique);
  EXPECT_EQ(xml(city(), city_columns, {false, true}), unique);
}

TEST(LevelMapping, EstimatedSizeAndDescriptionAreCarriedOver) {
  auto level = city();
  level.estimated_size = 140;
  level.description = "Town's name";
  EXPECT_EQ(xml(level, city_columns),
            "<Level name=\"City\" table=\"store\" column=\"city_id\" nameColumn=\"city\" "
            "type=\"Integer\" uniqueMembers=\"false\" approxRowCount=\"140\" "
            "description=\"Town's name\"/>\n");
  level.estimated_size = -1;
  level.description.clear();
  EXPECT_EQ(xml(level, city_columns), xml(city(), city_columns));
}

TEST(LevelMapping, MemberPropertiesFollowTheExpressions) {
  auto level = city();
  level.member_properties.add({"Mayor", "Who governs", "The mayor", "store.mayor"});
  level.member_properties.add({"Area", "", "Area", "store.area"});
  EXPECT_EQ(xml(level, {"store", {"city_id", {}}, {}, {"mayor", "area"}}),
            "<Level name=\"City\" table=\"store\" column=\"city_id\" type=\"Integer\" "
            "uniqueMembers=\"false\">\n"
            "  <Property name=\"Mayor\" column=\"mayor\" caption=\"The mayor\" "
            "description=\"Who governs\"/>\n"
            "  <Property name=\"Area\" column=\"area\"/>\n"
            "</Level>\n");
}

TEST(LevelMapping, KindsOfTimeAreSaidInTimeDimensionsOnly) {
  const std::vector<std::pair<OlapLevelType, std::string>> kinds{
      {OlapLevelType::regular, "TimeUndefined"},
      {OlapLevelType::time_years, "TimeYears"},
      {OlapLevelType::time_half_years, "TimeHalfYears"},
      {OlapLevelType::time_quarters, "TimeQuarters"},
      {OlapLevelType::time_months, "TimeMonths"},
      {OlapLevelType::time_weeks, "TimeWeeks"},
      {OlapLevelType::time_days, "TimeDays"},
      {OlapLevelType::time_hours, "TimeHours"},
      {OlapLevelType::time_minutes, "TimeMinutes"},
      {OlapLevelType::time_seconds, "TimeSeconds"}};
  for (const auto& [type, name] : kinds) {
    auto level = city();
    level.type = type;
    EXPECT_EQ(xml(level, city_columns, {true, false}),
              "<Level name=\"City\" table=\"store\" column=\"city_id\" nameColumn=\"city\" "
              "type=\"Integer\" uniqueMembers=\"false\" levelType=\"" +
                  name + "\"/>\n");
    EXPECT_EQ(xml(level, city_columns), xml(city(), city_columns));
  }
}

TEST(LevelMapping, ColumnTypesHaveTheEnginesNames) {
  const std::vector<std::pair<std::string, std::vector<std::int16_t>>> names{
      {"Integer", {2, 3, 16, 17, 18, 19, 20, 21}},
      {"Numeric", {4, 5, 6, 14, 131, 139}},
      {"Boolean", {11}},
      {"Date", {7, 133}},
      {"Time", {134}},
      {"Timestamp", {135}},
      {"String", {0, 8, 72, 129, 130, 200, 202, -1}}};
  for (const auto& [name, codes] : names) {
    for (const auto code : codes) {
      EXPECT_EQ(column_type_name(code), name) << code;
    }
  }
}

}  // namespace
}  // namespace importkcd
