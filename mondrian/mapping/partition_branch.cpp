#include "mondrian/mapping/partition_branch.h"

#include <algorithm>
#include <set>

#include "base/apostrophes.h"
#include "mondrian/mapping/level_mapping.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

bool is_decimal(const std::string& text) {
  const auto start = text.starts_with('-') ? 1U : 0U;
  const auto point = std::min(text.find('.'), text.size());
  const auto is_digits = [&](std::size_t from, std::size_t to) {
    return from < to && text.find_first_not_of("0123456789", from) >= to;
  };
  return is_digits(start, point) && (point == text.size() || is_digits(point + 1, text.size()));
}

bool is_number_type(const OlapLevel& level) {
  const auto name = column_type_name(level.column_type);
  return name == "Integer" || name == "Numeric";
}

/// Writes the query of one partition, and notes on the way which of its tables are needed.
class PartitionQuery {
 public:
  /// All of these outlive it.
  PartitionQuery(const CubeSource& of_cube, const OlapCube& cube, const OlapPartition& partition,
                 const std::vector<FactColumn>& columns, const std::vector<PublishedLevel>& levels)
      : cube_names_(names_of(of_cube)),
        cube_fact_(of_cube.fact.alias),
        cube_(cube),
        columns_(columns),
        levels_(levels),
        dimensions_(partition_dimensions(cube, partition)),
        source_(partition.follows_cube ? of_cube
                                       : cube_source(of_cube.kind, partition.fact_table,
                                                     partition.from_clause, partition.join_clause)),
        tables_{source_.fact.alias} {}

  std::string query() {
    std::string list;
    for (const auto& column : columns_) {
      list.append(list.empty() ? "" : ", ").append(value(column)).append(" as ");
      list.append(quoted_name(source_.kind, column.name));
    }
    return "select " + list + " from " + from(slices());
  }

  /// Those that query() has come by.
  const std::vector<PublishedSlice>& published_slices() const { return published_slices_; }

 private:
  std::string value(const FactColumn& column) {
    if (column.equal_to && source_.graph) {
      const auto ties = source_.graph->between({source_.fact.alias}, {column.equal_to->table});
      for (const auto& tie : ties) {
        if (same_known_name(source_.kind, tie.right.column, column.equal_to->column)) {
          return column_text(source_.kind, tie.left);
        }
      }
    }
    if (const auto* level = find_level(column.level)) {
      if (!level->slice_value.empty() || level->member_key_column != cube_key(column.level)) {
        if (!level->member_key_column.empty()) {
          return text(parse_expression(level->member_key_column));
        }
      }
    }
    return text(column.expression);
  }

  const PartitionLevelView* find_level(const LevelName& name) const {
    for (const auto& dimension : dimensions_) {
      for (const auto& level : dimension.levels) {
        if (dimension.name == name.dimension && level.name == name.level) {
          return &level;
        }
      }
    }
    return nullptr;
  }

  const OlapLevel& cube_level(const LevelName& name) const {
    return *cube_.dimensions.find(name.dimension)->levels.find(name.level);
  }

  const std::string& cube_key(const LevelName& name) const {
    return cube_level(name).member_key_column;
  }

  /// An expression of the cube or the partition over the partition's tables.
  std::string text(const SqlText& expression) {
    if (const auto* name = only_name(expression); name != nullptr && name->size() == 1) {
      return column_text(source_.kind,
                         {source_.fact.alias, known_name(source_.kind, name->front())});
    }
    if (source_.graph) {
      check_tables(expression);
    }
    return sql_text(source_.kind, expression,
                    [this](const SqlPath& path) -> std::optional<std::string> {
                      const auto column = column_of(path);
                      if (!column) {
                        return std::nullopt;
                      }
                      tables_.insert(column->table);
                      return column_text(source_.kind, *column);
                    });
  }

  /// What an expression says of the cube's fact table is meant of the partition's.
  std::optional<SourceColumn> column_of(const SqlPath& path) const {
    const auto of_cube = cube_names_.column_of(path);
    if (of_cube && of_cube->table == cube_fact_) {
      return SourceColumn{source_.fact.alias, of_cube->column};
    }
    return source_.graph ? source_.graph->column_of(path) : std::nullopt;
  }

  void check_tables(const SqlText& expression) const {
    auto known = *source_.graph;
    known.tables.push_back(*cube_names_.find(cube_fact_));
    if (const auto unknown = unknown_column(expression, known); !unknown.empty()) {
      throw NotExpressible("its from clause lacks the table of " + unknown);
    }
  }

  std::string slices() {
    std::string result;
    for (const auto& dimension : dimensions_) {
      for (const auto& level : dimension.levels) {
        if (!level.disabled && !level.slice_value.empty()) {
          result.append(result.empty() ? "" : " and ");
          result.append(slice({dimension.name, level.name}, level));
        }
      }
    }
    return result;
  }

  /// A slice names a member: by its key when that is a number, or the only name it has.
  std::string slice(const LevelName& name, const PartitionLevelView& view) {
    const auto& level = cube_level(name);
    // Slices are kept as the document writes them.
    const auto value = DecodeApostrophes(view.slice_value);
    const bool by_number = is_number_type(level) && is_decimal(value);
    const auto& key =
        view.member_key_column.empty() ? level.member_key_column : view.member_key_column;
    const bool by_name = !by_number && !level.member_name_column.empty() &&
                         level.member_name_column != level.member_key_column;
    const auto& expression = by_name ? level.member_name_column : key;
    const auto sliced = text(parse_expression(expression));
    if (const auto column = published_column(name, by_name, sliced)) {
      published_slices_.push_back({column->first, column->second, value, by_number});
    }
    return sliced + " = " + (by_number ? value : sql_string(value));
  }

  /// The table and column of the schema with the value that a slice by name or by key is about.
  /// Nothing when another value might stand there for some fact.
  std::optional<std::pair<std::string, std::string>> published_column(const LevelName& name,
                                                                      bool by_name,
                                                                      const std::string& sliced) {
    const auto found = std::find_if(levels_.begin(), levels_.end(), [&](const auto& level) {
      return level.dimension->dimension->name == name.dimension &&
             level.level->level->name == name.level;
    });
    if (found == levels_.end()) {
      return std::nullopt;
    }
    const auto& column = (by_name ? found->values.name : found->values.key).column;
    if (column.empty() || !has_sliced_value(*found, by_name, column, sliced)) {
      return std::nullopt;
    }
    return std::pair(found->relation, column);
  }

  bool has_sliced_value(const PublishedLevel& level, bool by_name, const std::string& column,
                        const std::string& sliced) {
    const auto& plan = *level.dimension;
    if (plan.place != DimensionPlan::Place::own_tables) {
      return std::any_of(columns_.begin(), columns_.end(), [&](const FactColumn& one) {
        return one.name == column && value(one) == sliced;
      });
    }
    if (!plan.graph || !source_.graph) {
      return false;
    }
    const auto meant = plain_column(by_name ? level.level->name : level.level->key, *plan.graph,
                                    default_table(*plan.graph));
    if (!meant) {
      return false;
    }
    return is_key_of_facts(plan, *meant, sliced) ||
           (column_text(source_.kind, *meant) == sliced && is_reached_alike(plan, meant->table));
  }

  /// Whether a slice is about the partition's own column that ties the dimension, and the schema's
  /// column is the key that it equals.
  bool is_key_of_facts(const DimensionPlan& plan, const SourceColumn& meant,
                       const std::string& sliced) {
    return meant == plan.primary_key &&
           std::any_of(columns_.begin(), columns_.end(), [&](const FactColumn& one) {
             return one.equal_to == plan.primary_key &&
                    plain_column(one.expression, cube_names_, {}) == plan.foreign_key &&
                    value(one) == sliced;
           });
  }

  /// Whether the partition reaches a table of a dimension as the engine does: by the equality with
  /// the dimension's key, and from there over the dimension's own ones.
  bool is_reached_alike(const DimensionPlan& plan, const std::string& table) const {
    const auto& graph = *source_.graph;
    const auto& fact = source_.fact.alias;
    const auto way = plan.graph->way(plan.primary_key.table, {table});
    auto from_fact = way;
    from_fact.insert(from_fact.begin(), fact);
    if (way.empty() || graph.way(fact, {table}) != from_fact) {
      return false;
    }
    for (std::size_t i = 0; i < way.size(); ++i) {
      const auto* here = graph.find(way[i]);
      if (here == nullptr || *here != *plan.graph->find(way[i])) {
        return false;
      }
      const auto next = way.begin() + static_cast<std::ptrdiff_t>(i) + 1;
      if (next != way.end() &&
          graph.between({way[i]}, {*next}) != plan.graph->between({way[i]}, {*next})) {
        return false;
      }
    }
    const auto ties = graph.between({fact}, {plan.primary_key.table});
    return std::any_of(ties.begin(), ties.end(), [&](const JoinEquality& tie) {
      return same_known_name(source_.kind, tie.right.column, plan.primary_key.column);
    });
  }

  std::string from(const std::string& condition) const {
    if (source_.graph) {
      return from_and_where(source_.graph->part(connected_tables()), condition);
    }
    auto result = source_.from_text;
    if (!source_.join_text.empty()) {
      result += " where (" + source_.join_text + ")";
    }
    if (!condition.empty()) {
      result += (source_.join_text.empty() ? " where " : " and ") + condition;
    }
    return result;
  }

  /// The tables in use and those between them and the fact table.
  std::set<std::string> connected_tables() const {
    std::set<std::string> result = tables_;
    for (const auto& table : tables_) {
      const auto way = source_.graph->way(source_.fact.alias, {table});
      if (way.empty()) {
        throw NotExpressible("its join clause does not tie the table '" + table +
                             "' to its fact table");
      }
      result.insert(way.begin(), way.end());
    }
    return result;
  }

  JoinGraph cube_names_;
  std::string cube_fact_;
  const OlapCube& cube_;
  const std::vector<FactColumn>& columns_;
  const std::vector<PublishedLevel>& levels_;
  std::vector<PartitionDimensionView> dimensions_;
  CubeSource source_;
  std::set<std::string> tables_;
  std::vector<PublishedSlice> published_slices_;
};

}  // namespace

PublishedPartition partition_branch(const CubeSource& of_cube, const OlapCube& cube,
                                    const OlapPartition& partition,
                                    const std::vector<FactColumn>& columns,
                                    const std::vector<PublishedLevel>& levels) {
  try {
    PartitionQuery part(of_cube, cube, partition, columns, levels);
    const auto query = part.query();
    return {partition.name, query, part.published_slices()};
  } catch (const NotExpressible& error) {
    throw NotExpressible("partition '" + partition.name + "': " + error.description());
  }
}

}  // namespace importkcd
