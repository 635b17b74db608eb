#include "mondrian/aggregation/aggregate_table.h"

#include <algorithm>
#include <set>
#include <utility>

#include "base/name_folding.h"

namespace importkcd {
namespace {

constexpr const char* count_column = "fact_count";
/// How statements call the rows of the facts where the schema does not say it.
constexpr const char* counted_alias = "counted";

/// The columns of an aggregate table that hold one level.
struct LevelColumns {
  const ShapeDimension* dimension = nullptr;
  const ShapeLevel* level = nullptr;
  /// The alias of the level's relation in the query.
  std::string alias;
  /// What the names of its columns begin with.
  std::string prefix;

  std::string key() const { return prefix + "key"; }
  /// Empty when there is none.
  std::string label() const { return level->label.empty() ? "" : prefix + "name"; }
  /// A level sorted by its name has no other column for that.
  std::string ordinal() const {
    if (level->ordinal == level->key) {
      return key();
    }
    if (level->ordinal == level->label) {
      return label();
    }
    return level->ordinal.empty() ? "" : prefix + "order";
  }
  std::string property(std::size_t position) const {
    return prefix + "property" + std::to_string(position + 1);
  }
};

/// Dimensions may share tables; in the query each has its own.
std::string alias_in_query(std::size_t dimension, const std::string& alias) {
  return "d" + std::to_string(dimension + 1) + "_" + alias;
}

std::vector<LevelColumns> kept_levels(const CubeShape& shape, const LevelCombination& levels) {
  std::vector<LevelColumns> result;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const auto& dimension = shape.dimensions[i];
    for (std::size_t j = 0; j < levels[i]; ++j) {
      const auto& level = dimension.levels[j];
      const auto alias = level.alias.empty() ? shape.facts.alias : alias_in_query(i, level.alias);
      result.push_back(
          {&dimension, &level, alias,
           "dimension" + std::to_string(i + 1) + "_level" + std::to_string(j + 1) + "_"});
    }
  }
  return result;
}

std::string column_of(DatabaseKind kind, const std::string& alias, const std::string& column) {
  return quoted_name(kind, alias) + "." + quoted_name(kind, column);
}

std::string listing(const std::vector<std::string>& texts, std::string_view separator = ", ") {
  std::string result;
  for (const auto& text : texts) {
    result.append(result.empty() ? "" : separator).append(text);
  }
  return result;
}

/// Columns of a query, each with the name that it gets.
class QueryColumns {
 public:
  explicit QueryColumns(DatabaseKind kind) : kind_(kind) {}

  void group(const std::string& text, const std::string& name) {
    add(text, name);
    groups_.push_back(text);
  }
  void add(const std::string& text, const std::string& name) {
    columns_.push_back(text + " as " + quoted_name(kind_, name));
  }

  std::string columns() const { return listing(columns_, ",\n  "); }
  std::string groups() const { return listing(groups_); }

 private:
  DatabaseKind kind_;
  std::vector<std::string> columns_;
  std::vector<std::string> groups_;
};

void add_level(const LevelColumns& columns, DatabaseKind kind, QueryColumns& query) {
  const auto& level = *columns.level;
  query.group(column_of(kind, columns.alias, level.key), columns.key());
  if (!level.label.empty()) {
    query.group(column_of(kind, columns.alias, level.label), columns.label());
  }
  if (const auto name = columns.ordinal();
      !name.empty() && name != columns.key() && name != columns.label()) {
    query.group(column_of(kind, columns.alias, level.ordinal), name);
  }
  for (std::size_t i = 0; i < level.properties.size(); ++i) {
    query.group(column_of(kind, columns.alias, level.properties[i].second), columns.property(i));
  }
}

std::string measure_text(const ShapeMeasure& measure, const std::string& facts, DatabaseKind kind) {
  return measure.aggregator + "(" +
         (measure.expression.empty() ? column_of(kind, facts, measure.column)
                                     : measure.expression) +
         ")";
}

std::string measure_column(std::size_t position) {
  return "measure" + std::to_string(position + 1);
}

/// How many of a dimension's relations, from the first one on, hold the levels that are kept.
std::size_t relations_needed(const ShapeDimension& dimension, std::size_t levels) {
  std::size_t needed = 0;
  for (std::size_t j = 0; j < levels; ++j) {
    for (std::size_t i = 0; i < dimension.relations.size(); ++i) {
      if (dimension.relations[i].alias == dimension.levels[j].alias) {
        needed = std::max(needed, i + 1);
      }
    }
  }
  return needed;
}

std::string join_text(const CubeShape& shape, std::size_t number, std::size_t levels,
                      DatabaseKind kind) {
  const auto& dimension = shape.dimensions[number];
  std::string result;
  for (std::size_t i = 0; i < relations_needed(dimension, levels); ++i) {
    const auto& relation = dimension.relations[i];
    const auto alias = alias_in_query(number, relation.alias);
    result +=
        "\nleft join " + relation_text(relation, kind) + " " + quoted_name(kind, alias) + " on ";
    if (i == 0) {
      result += column_of(kind, shape.facts.alias, dimension.foreign_key) + " = " +
                column_of(kind, alias, dimension.primary_key);
      continue;
    }
    const auto& join = dimension.joins[i - 1];
    result += column_of(kind, alias_in_query(number, join.left_alias), join.left_column) + " = " +
              column_of(kind, alias_in_query(number, join.right_alias), join.right_column);
  }
  return result;
}

void note(std::vector<std::string>& columns, const std::string& column) {
  if (!column.empty() && std::find(columns.begin(), columns.end(), column) == columns.end()) {
    columns.push_back(column);
  }
}

void note_level(std::vector<std::string>& columns, const ShapeLevel& level) {
  note(columns, level.key);
  note(columns, level.label);
  note(columns, level.ordinal);
  for (const auto& property : level.properties) {
    note(columns, property.second);
  }
}

/// "COUNT:SUM" of the rows of a relation, as a query of its own.
std::string fingerprint_of(const ShapeRelation& relation, const std::string& alias,
                           const std::vector<std::string>& texts, DatabaseKind kind) {
  const auto values = listing(texts);
  std::string text;
  switch (kind) {
    case DatabaseKind::postgresql:
      text = "count(*) || ':' || coalesce(sum(hashtextextended(row(" + values +
             ")::text, 0)::numeric), 0)";
      break;
    case DatabaseKind::mariadb: {
      std::vector<std::string> quoted;
      quoted.reserve(texts.size());
      for (const auto& value : texts) {
        quoted.push_back("quote(" + value + ")");
      }
      text =
          "concat(count(*), ':', coalesce(sum(crc32(concat_ws(','," + listing(quoted) + "))), 0))";
      break;
    }
    default:
      text =
          "cast(count_big(*) as varchar(30)) + ':' + "
          "cast(coalesce(checksum_agg(binary_checksum(" +
          values + ")), 0) as varchar(30))";
  }
  return "(select " + text + " from " + relation_text(relation, kind) + " " +
         quoted_name(kind, alias) + ")";
}

std::vector<std::string> column_texts(DatabaseKind kind, const std::string& alias,
                                      const std::vector<std::string>& columns) {
  std::vector<std::string> result;
  result.reserve(columns.size());
  for (const auto& column : columns) {
    result.push_back(column_of(kind, alias, column));
  }
  return result;
}

/// The columns and expressions over the facts that tables can take.
std::vector<std::string> fact_texts(const CubeShape& shape, DatabaseKind kind) {
  std::vector<std::string> columns;
  for (const auto& dimension : shape.dimensions) {
    for (const auto& level : dimension.levels) {
      if (level.alias.empty()) {
        note_level(columns, level);
      } else {
        note(columns, dimension.foreign_key);
      }
    }
  }
  std::vector<std::string> expressions;
  for (const auto& measure : shape.measures) {
    note(columns, measure.column);
    note(expressions, measure.expression);
  }
  auto texts = column_texts(kind, shape.facts.alias, columns);
  texts.insert(texts.end(), expressions.begin(), expressions.end());
  return texts;
}

/// One text of several.
std::string statement_of(const std::vector<std::string>& fingerprints, DatabaseKind kind) {
  switch (kind) {
    case DatabaseKind::postgresql:
      return "select " + listing(fingerprints, " || ' ' ||\n  ");
    case DatabaseKind::mariadb:
      return "select concat_ws(' ',\n  " + listing(fingerprints, ",\n  ") + ")";
    default:
      return "select " + listing(fingerprints, " + ' ' +\n  ");
  }
}

/// The columns of one relation of a dimension that a table takes.
std::vector<std::string> columns_taken(const ShapeDimension& dimension, std::size_t position,
                                       std::size_t levels) {
  const auto& alias = dimension.relations[position].alias;
  std::vector<std::string> columns;
  if (position == 0) {
    note(columns, dimension.primary_key);
  }
  for (const auto& join : dimension.joins) {
    note(columns, join.left_alias == alias ? join.left_column : "");
    note(columns, join.right_alias == alias ? join.right_column : "");
  }
  for (std::size_t j = 0; j < levels; ++j) {
    if (dimension.levels[j].alias == alias) {
      note_level(columns, dimension.levels[j]);
    }
  }
  return columns;
}

/// Whether what holds for the columns of one dimension holds for those of the other.
bool is_read_alike(const ShapeDimension& left, const ShapeDimension& right) {
  const auto is_same = [](const ShapeRelation& one, const ShapeRelation& other) {
    return one.alias == other.alias && one.schema == other.schema && one.table == other.table &&
           one.sql == other.sql;
  };
  return left.foreign_key == right.foreign_key && left.primary_key == right.primary_key &&
         left.relations.size() == right.relations.size() && left.relations.size() <= 1 &&
         (left.relations.empty() || is_same(left.relations[0], right.relations[0]));
}

/// The dimension that a slice is about: the first one with its relation. Null for the facts.
const ShapeDimension* dimension_of_slice(const CubeShape& shape, const PublishedSlice& slice) {
  const auto found = std::find_if(
      shape.dimensions.begin(), shape.dimensions.end(), [&](const ShapeDimension& dimension) {
        return std::any_of(
            dimension.relations.begin(), dimension.relations.end(),
            [&](const ShapeRelation& relation) { return relation.alias == slice.table; });
      });
  return slice.table == shape.facts.alias || found == shape.dimensions.end() ? nullptr : &*found;
}

std::string level_path(const LevelColumns& columns) {
  const auto in_brackets = [](std::string name) {
    for (auto at = name.find(']'); at != std::string::npos; at = name.find(']', at + 2)) {
      name.insert(at, 1, ']');
    }
    return "[" + name + "]";
  };
  return in_brackets(columns.dimension->name) + "." + in_brackets(columns.level->name);
}

}  // namespace

bool can_be_aggregated_in(DatabaseKind kind) {
  return kind == DatabaseKind::postgresql || kind == DatabaseKind::mariadb ||
         kind == DatabaseKind::sql_server;
}

std::string relation_text(const ShapeRelation& relation, DatabaseKind kind) {
  if (relation.table.empty()) {
    return "(" + relation.sql + ")";
  }
  return (relation.schema.empty() ? "" : quoted_name(kind, relation.schema) + ".") +
         quoted_name(kind, relation.table);
}

std::string aggregate_query(const CubeShape& shape, const LevelCombination& levels,
                            DatabaseKind kind) {
  QueryColumns columns(kind);
  for (const auto& level : kept_levels(shape, levels)) {
    add_level(level, kind, columns);
  }
  columns.add("count(*)", count_column);
  for (std::size_t i = 0; i < shape.measures.size(); ++i) {
    columns.add(measure_text(shape.measures[i], shape.facts.alias, kind), measure_column(i));
  }
  std::string joins;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    joins += join_text(shape, i, levels[i], kind);
  }
  const auto groups = columns.groups();
  return "select\n  " + columns.columns() + "\nfrom " + relation_text(shape.facts, kind) + " " +
         quoted_name(kind, shape.facts.alias) + joins +
         (groups.empty() ? "" : "\ngroup by " + groups);
}

std::string create_table_statement(DatabaseKind kind, const std::string& table,
                                   const std::string& query) {
  if (kind == DatabaseKind::sql_server) {
    return "select * into " + quoted_name(kind, table) + " from (\n" + query + ") " +
           quoted_name(kind, counted_alias);
  }
  return "create table " + quoted_name(kind, table) + " as\n" + query;
}

std::vector<std::string> index_statements(const CubeShape& shape, const LevelCombination& levels,
                                          DatabaseKind kind, const std::string& table) {
  std::vector<std::string> result;
  const ShapeDimension* dimension = nullptr;
  std::vector<std::vector<std::string>> paths;
  for (const auto& level : kept_levels(shape, levels)) {
    if (level.dimension != dimension) {
      dimension = level.dimension;
      paths.emplace_back();
    }
    paths.back().push_back(quoted_name(kind, level.key()));
  }
  for (const auto& path : paths) {
    // PostgreSQL finds a name by itself: there it would have to differ from those of all tables.
    const auto name = kind == DatabaseKind::postgresql
                          ? std::string()
                          : quoted_name(kind, "by_level" + std::to_string(result.size() + 1)) + " ";
    result.push_back("create index " + name + "on " + quoted_name(kind, table) + " (" +
                     listing(path) + ")");
  }
  return result;
}

std::string completeness_statement(const CubeShape& shape, const LevelCombination& levels,
                                   DatabaseKind kind, const std::string& table) {
  std::vector<std::string> lacking;
  for (const auto& level : kept_levels(shape, levels)) {
    lacking.push_back(quoted_name(kind, level.key()) + " is null");
  }
  const auto without_member =
      lacking.empty()
          ? "0"
          : "coalesce(sum(case when " + listing(lacking, " or ") + " then 1 else 0 end), 0)";
  return "select coalesce(sum(" + quoted_name(kind, count_column) + "), 0), " + without_member +
         ", count(*) from " + quoted_name(kind, table);
}

std::string facts_fingerprint_statement(const CubeShape& shape, DatabaseKind kind) {
  std::vector<std::string> parts;
  const auto facts = fact_texts(shape, kind);
  for (const auto& partition : shape.partitions) {
    parts.push_back(fingerprint_of({shape.facts.alias, {}, {}, partition.query}, shape.facts.alias,
                                   facts, kind));
  }
  if (parts.empty()) {
    parts.push_back(fingerprint_of(shape.facts, shape.facts.alias, facts, kind));
  }
  return statement_of(parts, kind);
}

std::string dimensions_fingerprint_statement(const CubeShape& shape, const LevelCombination& levels,
                                             DatabaseKind kind) {
  std::vector<std::string> parts;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    const auto& dimension = shape.dimensions[i];
    for (std::size_t j = 0; j < relations_needed(dimension, levels[i]); ++j) {
      const auto& relation = dimension.relations[j];
      parts.push_back(fingerprint_of(
          relation, relation.alias,
          column_texts(kind, relation.alias, columns_taken(dimension, j, levels[i])), kind));
    }
  }
  return parts.empty() ? "" : statement_of(parts, kind);
}

FingerprintTexts fingerprint_statements(const CubeShape& shape, const LevelCombination& levels,
                                        DatabaseKind kind) {
  return {facts_fingerprint_statement(shape, kind),
          dimensions_fingerprint_statement(shape, levels, kind)};
}

std::string slice_column(const CubeShape& shape, const LevelCombination& levels,
                         const PublishedSlice& slice) {
  const auto* sliced = dimension_of_slice(shape, slice);
  for (const auto& columns : kept_levels(shape, levels)) {
    const auto alias = columns.level->alias.empty() ? shape.facts.alias : columns.level->alias;
    if (alias != slice.table || (sliced != nullptr && columns.dimension != sliced &&
                                 !is_read_alike(*columns.dimension, *sliced))) {
      continue;
    }
    if (columns.level->key == slice.column) {
      return columns.key();
    }
    if (columns.level->label == slice.column) {
      return columns.label();
    }
  }
  return {};
}

std::string counts_statement(DatabaseKind kind, const std::string& table,
                             const std::vector<std::string>& conditions) {
  std::vector<std::string> counts;
  counts.reserve(conditions.size());
  for (const auto& condition : conditions) {
    counts.push_back("coalesce(sum(case when " + condition + " then " +
                     quoted_name(kind, count_column) + " else 0 end), 0)");
  }
  return "select " + listing(counts) + " from " + quoted_name(kind, table);
}

std::string count_members_statement(const CubeShape& shape, std::size_t dimension,
                                    std::size_t level, DatabaseKind kind) {
  LevelCombination levels(shape.dimensions.size());
  levels[dimension] = level + 1;
  std::vector<std::string> keys;
  for (const auto& kept : kept_levels(shape, levels)) {
    keys.push_back(column_of(kind, kept.alias, kept.level->key) + " as " +
                   quoted_name(kind, kept.key()));
  }
  return "select count(*) from (select distinct " + listing(keys) + " from " +
         relation_text(shape.facts, kind) + " " + quoted_name(kind, shape.facts.alias) +
         join_text(shape, dimension, levels[dimension], kind) + ") " +
         quoted_name(kind, counted_alias);
}

std::string count_facts_statement(const CubeShape& shape, DatabaseKind kind) {
  return "select count(*) from " + relation_text(shape.facts, kind) + " " +
         quoted_name(kind, shape.facts.alias);
}

XmlElement aggregate_element(const CubeShape& shape, const LevelCombination& levels,
                             const std::string& table, const std::string& rows) {
  auto element = text_element("AggName", {});
  element.set("name", table).set_if_any("approxRowCount", rows);
  element.add(text_element("AggFactCount", {})).set("column", count_column);
  for (std::size_t i = 0; i < shape.measures.size(); ++i) {
    element.add(text_element("AggMeasure", {}))
        .set("column", measure_column(i))
        .set("name", "[Measures].[" + shape.measures[i].name + "]");
  }
  for (const auto& columns : kept_levels(shape, levels)) {
    auto& level = element.add(text_element("AggLevel", {}));
    level.set("column", columns.key()).set("name", level_path(columns));
    level.set_if_any("nameColumn", columns.label()).set_if_any("ordinalColumn", columns.ordinal());
    level.set("collapsed", "true");
    for (std::size_t i = 0; i < columns.level->properties.size(); ++i) {
      level.add(text_element("AggLevelProperty", {}))
          .set("name", columns.level->properties[i].first)
          .set("column", columns.property(i));
    }
  }
  return element;
}

}  // namespace importkcd
