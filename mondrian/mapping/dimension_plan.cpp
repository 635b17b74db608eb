#include "mondrian/mapping/dimension_plan.h"

#include <algorithm>
#include <utility>

#include "base/import_error.h"
#include "mondrian/mapping/level_mapping.h"
#include "mondrian/not_expressible.h"

// A plan is made in three steps. First the levels that the cube uses are taken, with the
// expressions of their keys, names and properties; where a key is a column of the fact table that
// equals the dimension's own key, which saves a join, the dimension's own is taken. Then the tables
// that these expressions name are looked up in the cube's join graph and in the dimension's, whose
// aliases are brought in line with the cube's. At last these tables decide where the values are
// read: in the fact table alone, in a view together with the facts, or in tables of the dimension.
// Such tables are tied to the fact table by one equality, which gives the foreign and the primary
// key. It is looked for in the cube's clauses, in the two keys of a level, over further tables of
// the cube, and in the dimension's clauses. Several equalities cannot be one key; then the values
// come along with the facts.

namespace importkcd {
namespace {

std::set<std::string> aliases_of(const JoinGraph& graph) {
  std::set<std::string> result;
  for (const auto& table : graph.tables) {
    result.insert(table.alias);
  }
  return result;
}

bool includes_all(const std::set<std::string>& all, const std::set<std::string>& some) {
  return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

/// Lets a dimension's clauses speak of tables as the cube's do: under the cube's alias, and in the
/// cube's spelling.
void align(JoinGraph& own, const JoinGraph& cube) {
  for (const auto& table : JoinGraph(own).tables) {
    SqlPath path;
    for (const auto& qualifier : table.qualifiers) {
      path.push_back({qualifier, true});
    }
    path.push_back({table.alias, true});
    const auto* same = cube.table_of(path);
    if (same != nullptr && same->alias != table.alias && own.find(same->alias) == nullptr) {
      own.rename(table.alias, same->alias);
    }
  }
}

bool same_columns(DatabaseKind kind, const JoinEquality& left, const JoinEquality& right) {
  return left.left.table == right.left.table && left.right.table == right.right.table &&
         same_known_name(kind, left.left.column, right.left.column) &&
         same_known_name(kind, left.right.column, right.right.column);
}

/// Whether a clause names a table, in whatever form.
bool names_table(DatabaseKind kind, const std::string& clause, const std::string& table) {
  const auto text = parse_sql_text(clause);
  return text && std::any_of(text->begin(), text->end(), [&](const SqlToken& token) {
           return token.kind == SqlToken::Kind::path &&
                  same_known_name(kind, known_name(kind, token.path.back()), table);
         });
}

/// Makes the plan of one dimension.
class DimensionPlanner {
  using Place = DimensionPlan::Place;

 public:
  DimensionPlanner(const OlapDimension& dimension, const CubeSource& source)
      : source_(source),
        fact_(source.fact.alias),
        own_(parse_join_graph(dimension.from_clause, dimension.join_clause, source.kind)) {
    plan_.dimension = &dimension;
    if (own_ && source_.graph) {
      align(*own_, *source_.graph);
    }
  }

  DimensionPlan plan(const NamedCollection<OlapLevel>& levels) {
    take_levels(levels);
    if (!source_.graph) {
      plan_.place = Place::fact_view;
      return std::move(plan_);
    }
    find_tables();
    choose_place();
    return std::move(plan_);
  }

 private:
  void take_levels(const NamedCollection<OlapLevel>& levels) {
    plan_.is_unchanged = levels.size() == plan_.dimension->levels.size();
    for (const auto& level : levels) {
      if (level.disabled) {
        plan_.is_unchanged = false;
      } else if (level.type == OlapLevelType::all) {
        plan_.all = &level;
      } else {
        take_level(level);
      }
    }
    if (plan_.levels.empty()) {
      throw NotExpressible("it has no level");
    }
  }

  void take_level(const OlapLevel& level) {
    LevelPlan taken;
    taken.level = &level;
    taken.description = "level '" + level.name + "'";
    if (level.member_key_column.empty()) {
      throw NotExpressible(taken.description + " has no key");
    }
    taken.key = key_expression(level);
    taken.name = parse_expression(level.member_name_column);
    for (const auto& property : level.member_properties) {
      if (property.source_column.empty()) {
        throw NotExpressible("the member property '" + property.name + "' of " + taken.description +
                             " has no column");
      }
      taken.properties.push_back(parse_expression(property.source_column));
    }
    plan_.levels.push_back(std::move(taken));
  }

  /// Where the database has days only, the engine would refuse their values as points in time.
  SqlText key_expression(const OlapLevel& level) {
    const auto& key = key_of(level);
    if (column_type_name(level.column_type) != "Timestamp" ||
        source_.kind == DatabaseKind::unknown) {
      return parse_expression(key);
    }
    const bool says_datetime =
        source_.kind == DatabaseKind::mariadb || source_.kind == DatabaseKind::sql_server;
    // An error is about the key as the document has it.
    parse_expression(key);
    return parse_expression("cast(" + key + (says_datetime ? " as datetime)" : " as timestamp)"));
  }

  /// The key of a level. A cube may name a column of its fact table that equals the dimension's own
  /// key, to save a join; then the dimension's own is meant.
  const std::string& key_of(const OlapLevel& level) {
    const auto* own = plan_.dimension->levels.find(level.name);
    if (own == nullptr) {
      plan_.is_unchanged = false;
      return level.member_key_column;
    }
    if (own->member_key_column == level.member_key_column ||
        equals_own_key(level.member_key_column, own->member_key_column)) {
      return own->member_key_column;
    }
    plan_.is_unchanged = false;
    return level.member_key_column;
  }

  bool equals_own_key(const std::string& cube_key, const std::string& own_key) {
    if (!source_.graph || !own_) {
      return false;
    }
    const auto fact_column = plain_column(parse_expression(cube_key), *source_.graph, fact_);
    const auto own_column = plain_column(parse_expression(own_key), *own_, default_table(*own_));
    if (!fact_column || fact_column->table != fact_ || !own_column || own_column->table == fact_) {
      return false;
    }
    if (source_.graph->find(own_column->table) == nullptr) {
      // The cube does without the dimension's tables: the equality is in the two keys.
      tie_by_keys_ = JoinEquality{*fact_column, *own_column};
      return true;
    }
    const auto ties = source_.graph->between({fact_}, {own_column->table});
    return std::any_of(ties.begin(), ties.end(), [&](const JoinEquality& equality) {
      return same_columns(source_.kind, equality, {*fact_column, *own_column});
    });
  }

  /// Which tables the levels name.
  void find_tables() {
    own_tables_ = own_ ? aliases_of(*own_) : std::set<std::string>{};
    if (own_) {
      names_without_table_ = own_->tables.empty() ? fact_ : default_table(*own_);
    }
    own_tables_.erase(fact_);
    all_ = *source_.graph;
    if (own_) {
      for (const auto& table : own_->tables) {
        if (all_.find(table.alias) == nullptr) {
          all_.tables.push_back(table);
        }
      }
    }
    for (const auto& level : plan_.levels) {
      note_tables(level, level.key);
      note_tables(level, level.name);
      for (const auto& property : level.properties) {
        note_tables(level, property);
      }
    }
  }

  void note_tables(const LevelPlan& level, const SqlText& expression) {
    if (const auto unknown = unknown_column(expression, all_); !unknown.empty()) {
      throw NotExpressible(level.description + " names " + unknown +
                           ", whose table is in no from clause: " + plan_.dimension->from_clause);
    }
    const auto tables = tables_of(expression, all_);
    named_.insert(tables.begin(), tables.end());
    if (tables.empty() && !expression.empty() && !names_without_table_.empty()) {
      named_.insert(names_without_table_);
    }
  }

  void choose_place() {
    if (!named_.empty() && includes_all({fact_}, named_)) {
      plan_.place = Place::fact_table;
    } else if (named_.contains(fact_)) {
      bring_along_with_facts();
    } else if (!own_) {
      tie_clause_as_it_stands();
    } else if (!own_tables_.empty() && includes_all(own_tables_, named_)) {
      take_own_tables();
      tie();
    } else {
      take_tables_of_cube();
      tie();
    }
  }

  void bring_along_with_facts() {
    if (const auto of_cube = aliases_of(*source_.graph); !includes_all(of_cube, named_)) {
      throw NotExpressible("the from clause of the cube lacks a table of it: " +
                           plan_.dimension->from_clause);
    }
    plan_.place = Place::fact_view;
  }

  /// The dimension's clause is no graph, and is kept as a view; the cube's graph tells the key.
  void tie_clause_as_it_stands() {
    if (named_.empty()) {
      throw NotExpressible("its levels name no table, and its from clause is no list of tables: " +
                           plan_.dimension->from_clause);
    }
    const auto ties = source_.graph->between({fact_}, named_);
    if (ties.size() == 1 &&
        names_table(source_.kind, plan_.dimension->from_clause, ties.front().right.table)) {
      set_tie(ties.front());
    } else {
      bring_along_with_facts();
    }
  }

  void take_own_tables() {
    plan_.graph = own_->part(own_tables_);
    if (!plan_.graph->is_connected()) {
      for (const auto& equality : source_.graph->between(own_tables_, own_tables_)) {
        plan_.graph->equalities.push_back(equality);
      }
    }
  }

  /// The tables that the levels name and those between them and the fact table.
  void take_tables_of_cube() {
    if (!includes_all(aliases_of(*source_.graph), named_)) {
      throw NotExpressible("its levels name tables of the cube and others: " +
                           plan_.dimension->from_clause);
    }
    std::set<std::string> tables;
    for (const auto& table : named_) {
      const auto way = source_.graph->way(fact_, {table});
      tables.insert(way.begin(), way.end());
      tables.insert(table);
    }
    tables.erase(fact_);
    plan_.graph = source_.graph->part(tables);
  }

  void tie() {
    auto ties = source_.graph->between({fact_}, aliases_of(*plan_.graph));
    if (ties.empty() && tie_by_keys_ && plan_.graph->find(tie_by_keys_->right.table) != nullptr) {
      ties.push_back(*tie_by_keys_);
    }
    if (ties.empty()) {
      take_way_to_facts();
      ties = source_.graph->between({fact_}, aliases_of(*plan_.graph));
    }
    if (ties.empty() && own_) {
      ties = own_->between({fact_}, own_tables_);
    }
    if (ties.empty()) {
      throw NotExpressible("no equality ties its tables " + plan_.dimension->from_clause +
                           " to the fact table in the cube's join clause");
    }
    if (ties.size() == 1) {
      set_tie(ties.front());
    } else {
      bring_along_with_facts();
    }
  }

  /// Adds the tables of the cube that stand between the fact table and the dimension's.
  void take_way_to_facts() {
    const auto way = source_.graph->way(fact_, aliases_of(*plan_.graph));
    std::set<std::string> between(way.begin(), way.end());
    between.erase(fact_);
    for (auto& table : source_.graph->part(between).tables) {
      if (plan_.graph->find(table.alias) == nullptr) {
        plan_.graph->tables.push_back(std::move(table));
      }
    }
    for (auto& equality : source_.graph->part(between).equalities) {
      plan_.graph->equalities.push_back(std::move(equality));
    }
  }

  void set_tie(const JoinEquality& tie) {
    plan_.place = Place::own_tables;
    plan_.foreign_key = tie.left;
    plan_.primary_key = tie.right;
  }

  const CubeSource& source_;
  const std::string& fact_;
  /// The dimension's own clauses.
  std::optional<JoinGraph> own_;
  /// The cube's tables and the dimension's own.
  JoinGraph all_;
  std::set<std::string> own_tables_;
  std::string names_without_table_;
  std::set<std::string> named_;
  std::optional<JoinEquality> tie_by_keys_;
  DimensionPlan plan_;
};

}  // namespace

DimensionPlan plan_dimension(const OlapDimension& dimension,
                             const NamedCollection<OlapLevel>& levels, const CubeSource& source) {
  return DimensionPlanner(dimension, source).plan(levels);
}

std::string default_table(const JoinGraph& graph) {
  return graph.tables.size() == 1 ? graph.tables.front().alias : std::string();
}

}  // namespace importkcd
