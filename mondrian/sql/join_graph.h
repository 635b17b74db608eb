#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "mondrian/sql/sql_text.h"

namespace importkcd {

/// A table of a from clause. All names are those that the database knows.
struct SourceTable {
  /// The names in front of the table's own, such as database and schema.
  std::vector<std::string> qualifiers;
  std::string name;
  /// What columns refer to it by: its alias, else its own name.
  std::string alias;

  bool operator==(const SourceTable&) const = default;
};

/// A column of a table, which is named by its alias.
struct SourceColumn {
  std::string table;
  std::string column;

  auto operator<=>(const SourceColumn&) const = default;
};

struct JoinEquality {
  SourceColumn left;
  SourceColumn right;

  bool operator==(const JoinEquality&) const = default;
};

/// Tables and the equalities between their columns: what a from and a join clause mean.
struct JoinGraph {
  DatabaseKind kind = DatabaseKind::unknown;
  std::vector<SourceTable> tables;
  /// Between columns of two different tables; each only once, in either direction.
  std::vector<JoinEquality> equalities;

  /// The table of that alias; null when there is none.
  const SourceTable* find(std::string_view alias) const;

  /// The table that the parts of a path in front of a column mean: by its alias, else by its name
  /// when only one table has that. Null when there is none.
  const SourceTable* table_of(const SqlPath& qualifiers) const;

  /// The column that a path means: with a table of this graph in front of it. Nothing otherwise.
  std::optional<SourceColumn> column_of(const SqlPath& path) const;

  /// The equalities between a table of `left` and a table of `right`, each with the column of
  /// `left` first.
  std::vector<JoinEquality> between(const std::set<std::string>& left,
                                    const std::set<std::string>& right) const;

  /// The tables on the shortest way from `from` to one of `targets` over the equalities, both ends
  /// included; empty when there is none.
  std::vector<std::string> way(const std::string& from, const std::set<std::string>& targets) const;

  /// Whether all tables hang together.
  bool is_connected() const;

  /// Gives a table another alias, in the equalities too.
  void rename(const std::string& alias, const std::string& new_alias);

  /// These tables and the equalities between them.
  JoinGraph part(const std::set<std::string>& aliases) const;
};

/// The meaning of a from clause and a join clause: tables joined by commas or inner joins, with
/// schemas and aliases, and a conjunction of equalities between columns in any parentheses. Nothing
/// when the clauses are anything else. An empty from clause is no table.
std::optional<JoinGraph> parse_join_graph(std::string_view from_clause,
                                          std::string_view join_clause, DatabaseKind kind);

}  // namespace importkcd
