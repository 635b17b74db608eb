#include "mondrian/mapping/level_mapping.h"

#include <cstddef>
#include <utility>

#include "mondrian/mapping/schema_relations.h"

namespace importkcd {
namespace {

std::string time_level_name(OlapLevelType type) {
  switch (type) {
    case OlapLevelType::time_years:
      return "TimeYears";
    case OlapLevelType::time_half_years:
      return "TimeHalfYears";
    case OlapLevelType::time_quarters:
      return "TimeQuarters";
    case OlapLevelType::time_months:
      return "TimeMonths";
    case OlapLevelType::time_weeks:
      return "TimeWeeks";
    case OlapLevelType::time_days:
      return "TimeDays";
    case OlapLevelType::time_hours:
      return "TimeHours";
    case OlapLevelType::time_minutes:
      return "TimeMinutes";
    case OlapLevelType::time_seconds:
      return "TimeSeconds";
    case OlapLevelType::regular:
    case OlapLevelType::all:
      break;
  }
  return "TimeUndefined";
}

void set_source(XmlElement& element, const std::string& attribute, const std::string& child,
                const ValueSource& source, std::vector<XmlElement>& expressions) {
  element.set_if_any(attribute, source.column);
  if (!source.expression.empty()) {
    expressions.push_back(sql_element(child, source.expression));
  }
}

XmlElement member_property_element(const OlapMemberProperty& property, const std::string& column) {
  XmlElement element = text_element("Property", {});
  element.set("name", property.name).set("column", column);
  element.set_if_any("caption", property.caption == property.name ? "" : property.caption);
  element.set_if_any("description", property.description);
  return element;
}

}  // namespace

XmlElement level_element(const OlapLevel& level, const LevelPlace& place,
                         const LevelValues& values) {
  XmlElement element = text_element("Level", {});
  std::vector<XmlElement> expressions;
  const auto name = values.name == values.key ? ValueSource{} : values.name;
  element.set("name", level.name).set_if_any("table", values.table);
  set_source(element, "column", "KeyExpression", values.key, expressions);
  set_source(element, "nameColumn", "NameExpression", name, expressions);
  // The engine sorts by the key unless it is told otherwise.
  if (level.ordering == OlapOrdering::name && !name.empty()) {
    set_source(element, "ordinalColumn", "OrdinalExpression", name, expressions);
  }
  element.set("type", column_type_name(level.column_type));
  element.set("uniqueMembers", level.unique_items || place.is_top ? "true" : "false");
  if (place.in_time_dimension) {
    element.set("levelType", time_level_name(level.type));
  }
  if (level.estimated_size > 0) {
    element.set("approxRowCount", std::to_string(level.estimated_size));
  }
  element.set_if_any("description", level.description);
  element.children = std::move(expressions);
  for (std::size_t i = 0; i < level.member_properties.size(); ++i) {
    element.add(member_property_element(level.member_properties[i], values.properties.at(i)));
  }
  return element;
}

std::string column_type_name(std::int16_t column_type) {
  switch (column_type) {
    case 2:   // 16-bit integer
    case 3:   // 32-bit integer
    case 16:  // 8-bit integer
    case 17:  // 8-bit unsigned integer
    case 18:  // 16-bit unsigned integer
    case 19:  // 32-bit unsigned integer
    case 20:  // 64-bit integer
    case 21:  // 64-bit unsigned integer
      return "Integer";
    case 4:    // single precision
    case 5:    // double precision
    case 6:    // currency
    case 14:   // decimal
    case 131:  // numeric
    case 139:  // numeric of variable precision
      return "Numeric";
    case 11:
      return "Boolean";
    case 7:    // date
    case 133:  // day without a time
      return "Date";
    case 134:
      return "Time";
    case 135:
      return "Timestamp";
    default:
      return "String";
  }
}

}  // namespace importkcd
