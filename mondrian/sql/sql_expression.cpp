#include "mondrian/sql/sql_expression.h"

#include <algorithm>
#include <array>

#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

bool is_function(const SqlText& text, std::size_t position) {
  return position + 1 < text.size() && is_symbol(text[position + 1], "(");
}

/// Words that stand in expressions and mean no column.
bool is_keyword(const SqlToken& token) {
  constexpr std::array<std::string_view, 21> words{
      "AND", "AS",    "BETWEEN", "CASE", "DATETIME",  "DISTINCT", "ELSE",
      "END", "FALSE", "FROM",    "IN",   "INTERVAL",  "IS",       "LIKE",
      "NOT", "NULL",  "OR",      "THEN", "TIMESTAMP", "TRUE",     "WHEN"};
  return std::any_of(words.begin(), words.end(),
                     [&](std::string_view word) { return is_word(token, word); });
}

}  // namespace

SqlText parse_expression(std::string_view text) {
  auto parsed = parse_sql_text(text);
  if (!parsed) {
    throw NotExpressible("a quote is not closed in " + std::string(text));
  }
  return std::move(*parsed);
}

const SqlPath* only_name(const SqlText& expression) {
  std::size_t first = 0;
  std::size_t last = expression.size();
  while (last - first > 2 && is_symbol(expression[first], "(") &&
         is_symbol(expression[last - 1], ")")) {
    ++first;
    --last;
  }
  const bool is_name = last - first == 1 && expression[first].kind == SqlToken::Kind::path;
  return is_name ? &expression[first].path : nullptr;
}

std::optional<SourceColumn> plain_column(const SqlText& expression, const JoinGraph& graph,
                                         const std::string& default_table) {
  const auto* name = only_name(expression);
  if (name == nullptr) {
    return std::nullopt;
  }
  if (name->size() == 1) {
    return default_table.empty()
               ? std::nullopt
               : std::optional(SourceColumn{default_table, known_name(graph.kind, name->front())});
  }
  return graph.column_of(*name);
}

std::set<std::string> tables_of(const SqlText& expression, const JoinGraph& graph) {
  std::set<std::string> result;
  for (const auto& token : expression) {
    if (token.kind == SqlToken::Kind::path) {
      if (const auto column = graph.column_of(token.path)) {
        result.insert(column->table);
      }
    }
  }
  return result;
}

std::string unknown_column(const SqlText& expression, const JoinGraph& graph) {
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const auto& token = expression[i];
    if (token.kind == SqlToken::Kind::path && token.path.size() > 1 &&
        !is_function(expression, i) && !graph.column_of(token.path)) {
      return sql_text(graph.kind, {token}, {});
    }
  }
  return {};
}

bool has_bare_names(const SqlText& expression) {
  for (std::size_t i = 0; i < expression.size(); ++i) {
    const auto& token = expression[i];
    if (token.kind == SqlToken::Kind::path && token.path.size() == 1 && !is_keyword(token) &&
        !is_function(expression, i)) {
      return true;
    }
  }
  return false;
}

std::string expression_text(const SqlText& expression, const JoinGraph& graph,
                            const std::string& default_table) {
  if (const auto column = plain_column(expression, graph, default_table)) {
    return column_text(graph.kind, *column);
  }
  return sql_text(graph.kind, expression, [&](const SqlPath& path) -> std::optional<std::string> {
    const auto column = graph.column_of(path);
    return column ? std::optional(column_text(graph.kind, *column)) : std::nullopt;
  });
}

std::string column_text(DatabaseKind kind, const SourceColumn& column) {
  return quoted_name(kind, column.table) + "." + quoted_name(kind, column.column);
}

std::string table_text(DatabaseKind kind, const SourceTable& table) {
  std::string result;
  for (const auto& qualifier : table.qualifiers) {
    result += quoted_name(kind, qualifier) + ".";
  }
  result += quoted_name(kind, table.name);
  return table.alias == table.name ? result : result + " as " + quoted_name(kind, table.alias);
}

}  // namespace importkcd
