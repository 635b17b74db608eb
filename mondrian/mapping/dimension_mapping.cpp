#include "mondrian/mapping/dimension_mapping.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "mondrian/mapping/dimension_relation.h"

namespace importkcd {
namespace {

using Place = DimensionPlan::Place;

/// The values of the levels of a dimension that is with the facts.
std::vector<LevelValues> values_with_facts(const DimensionPlan& plan, std::size_t number,
                                           FactSource& facts) {
  std::vector<LevelValues> result;
  for (std::size_t i = 0; i < plan.levels.size(); ++i) {
    const auto& level = plan.levels[i];
    const auto column = "dimension" + std::to_string(number) + "_" + level_column_prefix(i);
    LevelValues values;
    values.key =
        facts.level_key(level.key, column + "key", {plan.dimension->name, level.level->name});
    if (!level.name.empty()) {
      const bool is_key = level.level->member_name_column == level.level->member_key_column;
      values.name = is_key ? values.key : facts.value(level.name, column + "name");
    }
    for (std::size_t j = 0; j < level.properties.size(); ++j) {
      values.properties.push_back(
          facts.value(level.properties[j], column + "property" + std::to_string(j + 1)).column);
    }
    result.push_back(std::move(values));
  }
  return result;
}

XmlElement hierarchy_element(const DimensionPlan& plan) {
  auto hierarchy = text_element("Hierarchy", {});
  hierarchy.set("hasAll", plan.all == nullptr ? "false" : "true");
  if (plan.all != nullptr) {
    hierarchy.set_if_any("allMemberName", plan.all->member_key_column);
    hierarchy.set_if_any("allLevelName", plan.all->name == "(All)" ? "" : plan.all->name);
  }
  return hierarchy;
}

void add_levels(const DimensionPlan& plan, const std::vector<LevelValues>& values,
                XmlElement& hierarchy) {
  const bool in_time_dimension = plan.dimension->type == OlapDimensionType::time;
  for (std::size_t i = 0; i < plan.levels.size(); ++i) {
    hierarchy.add(level_element(*plan.levels[i].level, {in_time_dimension, i == 0}, values.at(i)));
  }
}

bool is_fact_column(const SqlText& expression, const CubeSource& source) {
  const auto column = plain_column(expression, names_of(source), source.fact.alias);
  return column && column->table == source.fact.alias;
}

}  // namespace

bool needs_fact_view(const DimensionPlan& plan, const CubeSource& source) {
  if (plan.place != Place::fact_table) {
    return plan.place == Place::fact_view;
  }
  const auto is_unclear = [](const SqlText& expression) {
    return only_name(expression) == nullptr && has_bare_names(expression);
  };
  // Member properties can be columns only.
  return std::any_of(plan.levels.begin(), plan.levels.end(), [&](const LevelPlan& level) {
    return is_unclear(level.key) || is_unclear(level.name) ||
           std::any_of(level.properties.begin(), level.properties.end(),
                       [&](const SqlText& property) { return !is_fact_column(property, source); });
  });
}

MappedDimension map_dimension(const DimensionPlan& plan, std::size_t number,
                              const CubeSource& source, FactSource& facts,
                              RelationAliases& aliases) {
  MappedDimension mapped;
  mapped.element = text_element("Dimension", {});
  mapped.element.set("name", plan.dimension->name);
  if (plan.dimension->type == OlapDimensionType::time) {
    mapped.element.set("type", "TimeDimension");
  }
  mapped.element.set_if_any("description", plan.dimension->description);
  auto hierarchy = hierarchy_element(plan);
  if (plan.place == Place::own_tables) {
    auto relation = dimension_relation(plan, source.kind, aliases);
    hierarchy.set("primaryKey", relation.primary_key);
    hierarchy.set_if_any("primaryKeyTable", relation.primary_key_table);
    hierarchy.add(std::move(relation.element));
    add_levels(plan, relation.levels, hierarchy);
    mapped.foreign_key = facts.foreign_key(plan.foreign_key, plan.primary_key);
    mapped.may_be_shared =
        plan.is_unchanged && plan.dimension->kind != OlapDimensionKind::is_private;
  } else {
    add_levels(plan, values_with_facts(plan, number, facts), hierarchy);
  }
  mapped.element.add(std::move(hierarchy));
  return mapped;
}

}  // namespace importkcd
