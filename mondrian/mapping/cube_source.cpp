#include "mondrian/mapping/cube_source.h"

#include <algorithm>

#include "base/import_error.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

SourceTable single_table(DatabaseKind kind, const std::string& clause) {
  const auto graph = parse_join_graph(clause, {}, kind);
  if (!graph || graph->tables.size() != 1) {
    throw NotExpressible("the fact table " + clause + " is no table");
  }
  return graph->tables.front();
}

/// The table of the from clause that a fact table means, by its alias or its name.
const SourceTable* find_fact(const JoinGraph& graph, const SourceTable& fact) {
  const auto same = [&](const std::string& left, const std::string& right) {
    return same_known_name(graph.kind, left, right);
  };
  for (const auto member : {&SourceTable::alias, &SourceTable::name}) {
    const auto found =
        std::find_if(graph.tables.begin(), graph.tables.end(),
                     [&](const SourceTable& table) { return same(table.*member, fact.alias); });
    if (found != graph.tables.end()) {
      return &*found;
    }
  }
  return nullptr;
}

/// Fails when a join clause names a table that the from clause, a list of tables, does not have:
/// the database would refuse every question.
void check_tables_of_join(DatabaseKind kind, const std::string& from_clause,
                          const std::string& join_clause) {
  const auto tables = parse_join_graph(from_clause, {}, kind);
  if (!tables || tables->tables.empty()) {
    return;
  }
  if (const auto unknown = unknown_column(parse_expression(join_clause), *tables);
      !unknown.empty()) {
    throw NotExpressible("the join clause names " + unknown +
                         ", whose table is not in the from clause: " + from_clause);
  }
}

}  // namespace

CubeSource cube_source(DatabaseKind kind, const std::string& fact_table,
                       const std::string& from_clause, const std::string& join_clause) {
  CubeSource source;
  source.kind = kind;
  source.fact = single_table(kind, fact_table);
  source.graph = parse_join_graph(from_clause, join_clause, kind);
  if (!source.graph) {
    // The from clause may leave out what is said apart.
    const auto separator = from_clause.empty() ? "" : ", ";
    source.graph = parse_join_graph(fact_table + separator + from_clause, join_clause, kind);
  }
  if (!source.graph) {
    source.from_text = clause_text(kind, from_clause);
    source.join_text = clause_text(kind, join_clause);
    check_tables_of_join(kind, from_clause, join_clause);
    if (source.from_text.empty()) {
      // Without tables in the from clause the conditions can only be about the fact table.
      source.from_text = table_text(kind, source.fact);
    }
    return source;
  }
  if (const auto* fact = find_fact(*source.graph, source.fact)) {
    source.fact = *fact;
  } else {
    source.graph->tables.insert(source.graph->tables.begin(), source.fact);
  }
  return source;
}

JoinGraph names_of(const CubeSource& source) {
  return source.graph ? *source.graph : JoinGraph{source.kind, {source.fact}, {}};
}

std::string clause_text(DatabaseKind kind, const std::string& clause) {
  const auto text = parse_sql_text(clause);
  if (!text) {
    throw NotExpressible("a quote is not closed in the clause " + clause);
  }
  if (std::any_of(text->begin(), text->end(), [](const SqlToken& token) {
        return is_symbol(token, "*=") || is_symbol(token, "=*");
      })) {
    throw NotExpressible(
        "the clause " + clause +
        " holds an outer join in the old form (*= or =*); write LEFT OUTER JOIN in the from "
        "clause");
  }
  return sql_text(kind, *text, {});
}

std::string from_and_where(const JoinGraph& graph, const std::string& further_condition) {
  std::string tables;
  for (const auto& table : graph.tables) {
    tables.append(tables.empty() ? "" : ", ").append(table_text(graph.kind, table));
  }
  std::string conditions;
  const auto add = [&](const std::string& condition) {
    conditions.append(conditions.empty() ? " where " : " and ").append(condition);
  };
  for (const auto& equality : graph.equalities) {
    add(column_text(graph.kind, equality.left) + " = " + column_text(graph.kind, equality.right));
  }
  if (!further_condition.empty()) {
    add(further_condition);
  }
  return tables + conditions;
}

}  // namespace importkcd
