#include "mondrian/mapping/dimension_mapping.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "mondrian/mapping/level_mapping.h"

namespace importkcd {
namespace {

/// The column of a view that the facts are tied to.
constexpr const char* key_column = "join_key";

/// What a dimension with tables of its own is read from.
struct DimensionRelation {
  /// A table, tables joined in a chain that begins at the key's table, or an SQL view.
  XmlElement element;
  std::string primary_key;
  /// Only where there are several tables.
  std::string primary_key_table;
  /// In the order of the plan's levels.
  std::vector<LevelValues> levels;
};

/// How the columns of the level at a position, counted from 0, begin in a view.
std::string level_column_prefix(std::size_t position) {
  return "level" + std::to_string(position + 1) + "_";
}

/// The tables of a graph as a chain from one table, with the equality that leads to each; nothing
/// when they are no chain.
std::optional<std::vector<JoinEquality>> chain_from(const JoinGraph& graph,
                                                    const std::string& first) {
  std::vector<JoinEquality> chain;
  std::set<std::string> left;
  for (const auto& table : graph.tables) {
    left.insert(table.alias);
  }
  left.erase(first);
  auto last = first;
  while (!left.empty()) {
    const auto next = graph.between({last}, left);
    if (next.size() != 1) {
      return std::nullopt;
    }
    chain.push_back(next.front());
    last = next.front().right.table;
    left.erase(last);
  }
  // An equality more would close a circle.
  return chain.size() == graph.equalities.size() ? std::optional(chain) : std::nullopt;
}

XmlElement chain_element(const JoinGraph& graph, const std::string& table,
                         const std::vector<JoinEquality>& chain, std::size_t position) {
  auto element = table_element(*graph.find(table), table);
  if (position == chain.size()) {
    return element;
  }
  const auto& equality = chain[position];
  auto join = text_element("Join", {});
  join.set("leftAlias", equality.left.table).set("leftKey", equality.left.column);
  join.set("rightAlias", equality.right.table).set("rightKey", equality.right.column);
  join.add(std::move(element));
  join.add(chain_element(graph, equality.right.table, chain, position + 1));
  return join;
}

/// The values of a level when all of them are columns of one table.
std::optional<LevelValues> columns_of_one_table(const LevelPlan& level, const JoinGraph& graph) {
  const auto table = default_table(graph);
  const auto key = plain_column(level.key, graph, table);
  if (!key) {
    return std::nullopt;
  }
  LevelValues values{graph.tables.size() == 1 ? "" : key->table, {key->column, {}}, {}, {}};
  if (!level.name.empty()) {
    const auto name = plain_column(level.name, graph, table);
    if (!name || name->table != key->table) {
      return std::nullopt;
    }
    values.name.column = name->column;
  }
  for (const auto& expression : level.properties) {
    const auto property = plain_column(expression, graph, table);
    if (!property || property->table != key->table) {
      return std::nullopt;
    }
    values.properties.push_back(property->column);
  }
  return values;
}

std::optional<DimensionRelation> tables_and_joins(const DimensionPlan& plan) {
  const auto& graph = *plan.graph;
  const auto chain = chain_from(graph, plan.primary_key.table);
  const bool one_name_fits =
      std::all_of(graph.tables.begin(), graph.tables.end(),
                  [](const SourceTable& table) { return table.qualifiers.size() <= 1; });
  if (!chain || !one_name_fits) {
    return std::nullopt;
  }
  DimensionRelation relation;
  for (const auto& level : plan.levels) {
    auto values = columns_of_one_table(level, graph);
    if (!values) {
      return std::nullopt;
    }
    relation.levels.push_back(std::move(*values));
  }
  relation.element = chain_element(graph, plan.primary_key.table, *chain, 0);
  relation.primary_key = plan.primary_key.column;
  relation.primary_key_table = chain->empty() ? "" : plan.primary_key.table;
  return relation;
}

/// Collects the columns of a view over the dimension's clauses.
class DimensionView {
 public:
  DimensionView(const DimensionPlan& plan, DatabaseKind kind) : plan_(plan), kind_(kind) {}

  DimensionRelation relation(RelationAliases& aliases) {
    DimensionRelation relation;
    add(column_text(kind_, plan_.primary_key), key_column);
    for (std::size_t i = 0; i < plan_.levels.size(); ++i) {
      relation.levels.push_back(level(plan_.levels[i], level_column_prefix(i)));
    }
    const auto sql = "select " + columns_ + " from " + from();
    relation.element = view_element(aliases.of_dimension_view(plan_.primary_key.table, sql), sql);
    relation.primary_key = key_column;
    return relation;
  }

 private:
  LevelValues level(const LevelPlan& level, const std::string& prefix) {
    LevelValues values;
    values.key.column = add(text(level.key), prefix + "key");
    if (!level.name.empty()) {
      const bool is_key = level.level->member_name_column == level.level->member_key_column;
      values.name.column = is_key ? values.key.column : add(text(level.name), prefix + "name");
    }
    for (std::size_t i = 0; i < level.properties.size(); ++i) {
      values.properties.push_back(
          add(text(level.properties[i]), prefix + "property" + std::to_string(i + 1)));
    }
    return values;
  }

  std::string add(const std::string& expression, const std::string& column) {
    columns_.append(columns_.empty() ? "" : ", ").append(expression).append(" as ");
    columns_.append(quoted_name(kind_, column));
    return column;
  }

  std::string text(const SqlText& expression) const {
    return plan_.graph ? expression_text(expression, *plan_.graph, default_table(*plan_.graph))
                       : sql_text(kind_, expression, {});
  }

  std::string from() const {
    if (plan_.graph) {
      return from_and_where(*plan_.graph);
    }
    const auto join = clause_text(kind_, plan_.dimension->join_clause);
    return clause_text(kind_, plan_.dimension->from_clause) + (join.empty() ? "" : " where ") +
           join;
  }

  const DimensionPlan& plan_;
  DatabaseKind kind_;
  std::string columns_;
};

/// A view is taken when a value is more than a column, when a level's values come from several
/// tables, when the tables are no chain of single equalities, and when the clauses are no graph.
/// Throws NotExpressible for a clause that no view could hold.
DimensionRelation dimension_relation(const DimensionPlan& plan, DatabaseKind kind,
                                     RelationAliases& aliases) {
  if (plan.graph) {
    if (auto relation = tables_and_joins(plan)) {
      return std::move(*relation);
    }
  }
  return DimensionView(plan, kind).relation(aliases);
}

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

void add_aliases(const XmlElement& relation, std::vector<std::string>& aliases) {
  if (relation.name == "Join") {
    for (const auto& part : relation.children) {
      add_aliases(part, aliases);
    }
    return;
  }
  const auto alias = relation.attribute("alias");
  aliases.emplace_back(alias.empty() ? relation.attribute("name") : alias);
}

bool is_fact_column(const SqlText& expression, const CubeSource& source) {
  const auto column = plain_column(expression, names_of(source), source.fact.alias);
  return column && column->table == source.fact.alias;
}

}  // namespace

bool dimension_needs_fact_view(const DimensionPlan& plan, const CubeSource& source) {
  if (plan.place != DimensionPlan::Place::fact_table) {
    return plan.place == DimensionPlan::Place::fact_view;
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
  if (plan.place == DimensionPlan::Place::own_tables) {
    auto relation = dimension_relation(plan, source.kind, aliases);
    hierarchy.set("primaryKey", relation.primary_key);
    hierarchy.set_if_any("primaryKeyTable", relation.primary_key_table);
    add_aliases(relation.element, mapped.relations);
    hierarchy.add(std::move(relation.element));
    mapped.levels = std::move(relation.levels);
    mapped.foreign_key = facts.foreign_key(plan.foreign_key, plan.primary_key);
    mapped.may_be_shared =
        plan.is_unchanged && plan.dimension->kind != OlapDimensionKind::is_private;
  } else {
    mapped.levels = values_with_facts(plan, number, facts);
  }
  add_levels(plan, mapped.levels, hierarchy);
  mapped.element.add(std::move(hierarchy));
  return mapped;
}

}  // namespace importkcd
