#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "mondrian/sql/join_graph.h"

namespace importkcd {

/// The text of an expression taken apart. Throws NotExpressible when it cannot be.
SqlText parse_expression(std::string_view text);

/// The name that an expression consists of, in any parentheses; null when it is more than a name.
const SqlPath* only_name(const SqlText& expression);

/// The column that an expression is nothing more than. A name without a table means a column of
/// `default_table`, unless that is empty.
std::optional<SourceColumn> plain_column(const SqlText& expression, const JoinGraph& graph,
                                         const std::string& default_table);

/// The tables of the graph that an expression names.
std::set<std::string> tables_of(const SqlText& expression, const JoinGraph& graph);

/// The first name with a table that the graph does not have, such as "store"."id"; empty when there
/// is none. Names of functions do not count.
std::string unknown_column(const SqlText& expression, const JoinGraph& graph);

/// Whether columns of several tables could be meant by a name in it: one without a table, which is
/// no function and no word of the language.
bool has_bare_names(const SqlText& expression);

/// The expression for the graph's database: columns of the graph's tables under their aliases, in
/// quotes.
std::string expression_text(const SqlText& expression, const JoinGraph& graph,
                            const std::string& default_table);

/// A column under its table's alias, in quotes.
std::string column_text(DatabaseKind kind, const SourceColumn& column);

/// A table of a from clause, with its alias.
std::string table_text(DatabaseKind kind, const SourceTable& table);

}  // namespace importkcd
