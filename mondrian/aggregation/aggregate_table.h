#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/aggregation/aggregate_records.h"
#include "mondrian/aggregation/cube_shape.h"
#include "mondrian/aggregation/level_lattice.h"
#include "mondrian/sql/sql_text.h"

namespace importkcd {

// An aggregate table of a cube: for a combination of levels the keys, names, sort keys and
// properties of these levels and all above them, the number of facts, and the measures. All
// statements are for PostgreSQL, MariaDB and SQL Server.

/// Whether aggregates can be made in this kind of database.
bool can_be_aggregated_in(DatabaseKind kind);

/// The query that gives the rows of the table. Facts without a member are kept, with NULL as key.
std::string aggregate_query(const CubeShape& shape, const LevelCombination& levels,
                            DatabaseKind kind);

/// Makes a table out of a query.
std::string create_table_statement(DatabaseKind kind, const std::string& table,
                                   const std::string& query);

/// An index for each dimension whose levels the table tells apart.
std::vector<std::string> index_statements(const CubeShape& shape, const LevelCombination& levels,
                                          DatabaseKind kind, const std::string& table);

/// Gives one row: the facts that the table counts, how many of its rows lack the key of a level,
/// and how many rows it has. A table whose facts are not those of the cube, because a dimension has
/// a member twice, or that has facts without a member would answer otherwise than the facts do.
std::string completeness_statement(const CubeShape& shape, const LevelCombination& levels,
                                   DatabaseKind kind, const std::string& table);

/// Gives one text about the facts: for each partition, or else for all of them, the number of rows,
/// a colon, and a sum over hashes of all columns that a table of the cube can take. Blanks stand
/// between them. It is the same statement for all tables of the cube, so that one reading of the
/// facts does for all.
std::string facts_fingerprint_statement(const CubeShape& shape, DatabaseKind kind);
/// Gives such a text about each table of a dimension that the levels need, and the columns of it
/// that are used. Empty when they need none.
std::string dimensions_fingerprint_statement(const CubeShape& shape, const LevelCombination& levels,
                                             DatabaseKind kind);
/// Both.
FingerprintTexts fingerprint_statements(const CubeShape& shape, const LevelCombination& levels,
                                        DatabaseKind kind);

/// The column of the table that has the value of a slice; empty when the table has none.
std::string slice_column(const CubeShape& shape, const LevelCombination& levels,
                         const PublishedSlice& slice);

/// Gives one row: for each of these conditions about rows of the table, the facts that such rows
/// count.
std::string counts_statement(DatabaseKind kind, const std::string& table,
                             const std::vector<std::string>& conditions);

/// The number of different keys of a level, and of the facts.
std::string count_members_statement(const CubeShape& shape, std::size_t dimension,
                                    std::size_t level, DatabaseKind kind);
std::string count_facts_statement(const CubeShape& shape, DatabaseKind kind);

/// The element with which the schema tells the engine of the table.
/// `rows` is how many it has, as a number's text: the engine counts them otherwise.
XmlElement aggregate_element(const CubeShape& shape, const LevelCombination& levels,
                             const std::string& table, const std::string& rows);

/// A table or view as a statement names it.
std::string relation_text(const ShapeRelation& relation, DatabaseKind kind);

}  // namespace importkcd
