#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "base/xml_element.h"
#include "mondrian/mapping/cube_source.h"
#include "mondrian/mapping/level_mapping.h"
#include "mondrian/mapping/partition_branch.h"

namespace importkcd {

/// The relation that holds a cube's figures: its fact table, or a view where the table is not
/// enough: for partitions with tables or slices of their own, for values of other tables, and for
/// clauses that are taken as they stand.
///
/// Whoever maps a part of the cube asks here for the columns that it needs; branches() and
/// relation() then give the table, or the view with these columns.
class FactSource {
 public:
  /// `source` and `cube` outlive this object. `alias` is how the engine is to call the relation,
  /// which must differ from other fact relations of the schema.
  FactSource(const CubeSource& source, const OlapCube& cube, bool is_view, std::string alias);

  bool is_view() const { return is_view_; }
  const std::string& alias() const { return alias_; }

  /// A column of the fact table that equals a column of a dimension's table.
  std::string foreign_key(const SourceColumn& column, const SourceColumn& equal_to);

  /// The value of an expression of the cube. `name` is the view's column for it, unless the fact
  /// table has it as a column.
  ValueSource value(const SqlText& expression, const std::string& name);

  /// The same for the key of a level, which a partition may define in its own way.
  ValueSource level_key(const SqlText& expression, const std::string& name, const LevelName& level);

  /// The parts of the view, in its order; none for facts that are a table. `levels` are those of
  /// the cube that slices may be about. Throws NotExpressible when a partition cannot be expressed.
  std::vector<PublishedPartition> branches(const std::vector<PublishedLevel>& levels) const;

  /// The element of the table, or of the view of these parts.
  XmlElement relation(const std::vector<PublishedPartition>& branches) const;

 private:
  std::string view_column(FactColumn column);

  const CubeSource& source_;
  /// The tables that the cube's expressions may name.
  JoinGraph names_;
  const OlapCube& cube_;
  bool is_view_;
  std::string alias_;
  std::vector<FactColumn> columns_;
  /// What a column is -> position in columns_.
  std::map<std::string, std::size_t> known_;
};

/// The partitions whose rows are the cube's figures: those that a document wrote. A cube's own
/// partition that none wrote has all rows of the cube, so beside others it would count theirs
/// again; it counts only while it is alone. They live as long as the cube's collection stays as it
/// is.
std::vector<const OlapPartition*> counted_partitions(const OlapCube& cube);

/// Whether a cube's clauses and partitions need more than its fact table. Throws NotExpressible
/// when the clauses of a partition cannot be expressed.
bool cube_needs_fact_view(const CubeSource& source, const OlapCube& cube);

}  // namespace importkcd
