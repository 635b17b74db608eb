#include "mondrian/mapping/fact_source.h"

#include <algorithm>
#include <utility>

#include "base/name_folding.h"
#include "mondrian/mapping/partition_branch.h"
#include "mondrian/mapping/schema_relations.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

bool has_slice(const OlapCube& cube, const OlapPartition& partition) {
  for (const auto& dimension : partition_dimensions(cube, partition)) {
    for (const auto& level : dimension.levels) {
      if (!level.disabled && !level.slice_value.empty()) {
        return true;
      }
    }
  }
  return false;
}

bool has_sources_of_its_own(const CubeSource& source, const OlapCube& cube,
                            const OlapPartition& partition) {
  if (partition.follows_cube ||
      (partition.fact_table == cube.fact_table && partition.from_clause == cube.from_clause &&
       partition.join_clause == cube.join_clause)) {
    return false;
  }
  const auto own =
      cube_source(source.kind, partition.fact_table, partition.from_clause, partition.join_clause);
  return !own.graph || !source.graph || own.fact != source.fact;
}

}  // namespace

FactSource::FactSource(const CubeSource& source, const OlapCube& cube, bool is_view,
                       std::string alias)
    : source_(source),
      names_(names_of(source)),
      cube_(cube),
      is_view_(is_view),
      alias_(std::move(alias)) {}

std::string FactSource::foreign_key(const SourceColumn& column, const SourceColumn& equal_to) {
  SqlToken token;
  token.kind = SqlToken::Kind::path;
  token.path = {{column.table, true}, {column.column, true}};
  const SqlText expression{token};
  return is_view_ ? view_column({column.column, expression, equal_to, {}}) : column.column;
}

ValueSource FactSource::value(const SqlText& expression, const std::string& name) {
  return level_key(expression, name, {});
}

ValueSource FactSource::level_key(const SqlText& expression, const std::string& name,
                                  const LevelName& level) {
  const auto column = plain_column(expression, names_, source_.fact.alias);
  const bool is_fact_column = column && column->table == source_.fact.alias;
  if (is_view_) {
    return {view_column({is_fact_column ? column->column : name, expression, {}, level}), {}};
  }
  if (is_fact_column) {
    return {column->column, {}};
  }
  return {{}, sql_text(source_.kind, expression, [this](const SqlPath& path) {
            auto named = names_.column_of(path);
            if (named && named->table == source_.fact.alias) {
              named->table = alias_;
            }
            return named ? std::optional(column_text(source_.kind, *named)) : std::nullopt;
          })};
}

std::string FactSource::view_column(FactColumn column) {
  auto key = sql_text(source_.kind, column.expression, [this](const SqlPath& path) {
    const auto named = names_.column_of(path);
    return named ? std::optional(column_text(source_.kind, *named)) : std::nullopt;
  });
  if (column.equal_to) {
    key += '\n' + column.equal_to->table + '\n' + column.equal_to->column;
  } else if (!column.level.level.empty()) {
    key += '\n' + column.level.dimension + '\n' + column.level.level + "\nlevel";
  }
  const auto known = known_.find(key);
  if (known != known_.end()) {
    return columns_[known->second].name;
  }
  while (std::any_of(columns_.begin(), columns_.end(),
                     [&](const FactColumn& other) { return same_name(other.name, column.name); })) {
    column.name += "_";
  }
  known_.emplace(std::move(key), columns_.size());
  columns_.push_back(std::move(column));
  return columns_.back().name;
}

std::vector<PublishedPartition> FactSource::branches(
    const std::vector<PublishedLevel>& levels) const {
  if (!is_view_) {
    return {};
  }
  std::vector<PublishedPartition> result;
  for (const auto* partition : counted_partitions(cube_)) {
    result.push_back(partition_branch(source_, cube_, *partition, columns_, levels));
  }
  if (result.empty()) {
    throw NotExpressible("it has no partition");
  }
  return result;
}

XmlElement FactSource::relation(const std::vector<PublishedPartition>& branches) const {
  if (!is_view_) {
    return table_element(source_.fact, alias_);
  }
  std::string query;
  for (const auto& branch : branches) {
    query.append(query.empty() ? "" : "\nunion all\n").append(branch.query);
  }
  return view_element(alias_, query);
}

bool cube_needs_fact_view(const CubeSource& source, const OlapCube& cube) {
  const auto partitions = counted_partitions(cube);
  return !source.graph || source.fact.qualifiers.size() > 1 || partitions.size() != 1 ||
         has_slice(cube, *partitions[0]) || has_sources_of_its_own(source, cube, *partitions[0]);
}

std::vector<const OlapPartition*> counted_partitions(const OlapCube& cube) {
  std::vector<const OlapPartition*> all;
  std::vector<const OlapPartition*> written;
  for (const auto& partition : cube.partitions) {
    all.push_back(&partition);
    if (!partition.follows_cube) {
      written.push_back(&partition);
    }
  }
  return written.empty() ? all : written;
}

}  // namespace importkcd
