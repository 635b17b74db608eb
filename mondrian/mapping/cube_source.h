#pragma once

#include <optional>
#include <string>

#include "mondrian/sql/sql_expression.h"

namespace importkcd {

/// Where the figures of a cube, or of one of its partitions, come from.
struct CubeSource {
  DatabaseKind kind = DatabaseKind::unknown;
  SourceTable fact;
  /// The tables and how they belong together, the fact table included. Nothing when the clauses
  /// are no such graph; then they are taken as they stand.
  std::optional<JoinGraph> graph;
  /// The clauses as SQL of the database.
  std::string from_text;
  std::string join_text;
};

/// Throws NotExpressible, with the clause in the description, for what no SQL view could express.
CubeSource cube_source(DatabaseKind kind, const std::string& fact_table,
                       const std::string& from_clause, const std::string& join_clause);

/// The tables that the expressions of a cube may name; of clauses that are taken as they stand,
/// only the fact table is known.
JoinGraph names_of(const CubeSource& source);

/// A clause as SQL of the database, for a view that takes it as it stands. Throws NotExpressible
/// for a quote that is not closed and for the outer joins "*=" and "=*", which no database has any
/// more.
std::string clause_text(DatabaseKind kind, const std::string& clause);

/// The tables of a graph and their equalities as "A, B where A.x = B.x".
std::string from_and_where(const JoinGraph& graph, const std::string& further_condition = {});

}  // namespace importkcd
