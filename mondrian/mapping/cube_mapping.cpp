#include "mondrian/mapping/cube_mapping.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <utility>

#include "base/name_folding.h"
#include "model/vocabularies.h"
#include "mondrian/mapping/calculated_member_mapping.h"
#include "mondrian/mapping/fact_source.h"
#include "mondrian/mdx/mdx_scanner.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

/// Calls `step`; a reason that it throws gets the name of what it is about.
template <class Step>
auto about(const std::string& what, const Step& step) {
  try {
    return step();
  } catch (const NotExpressible& error) {
    throw NotExpressible(what + ": " + error.description());
  }
}

std::string aggregator(OlapAggregateFunction function) {
  // The engine's words are those of the documents.
  if (const auto word = aggregate_function_word(function)) {
    return std::string(*word);
  }
  throw NotExpressible("the aggregate function of code " +
                       std::to_string(static_cast<std::int32_t>(function)) + " is not known");
}

/// What a measure aggregates, and how.
struct MeasureSource {
  SqlText expression;
  /// Of a count: only different values count.
  bool is_distinct = false;
};

bool counts_rows(const OlapMeasure& measure, const SqlText& expression) {
  return measure.aggregate_function == OlapAggregateFunction::count &&
         (expression.empty() || (expression.size() == 1 && is_symbol(expression[0], "*")));
}

/// A count without a column, or of "*", counts rows. One of "distinct ..." counts different values,
/// which the engine must know: it cannot add such counts up.
MeasureSource measure_source(const OlapMeasure& measure, const CubeSource& source) {
  auto expression = parse_expression(measure.source_column);
  if (counts_rows(measure, expression)) {
    return {parse_expression("1")};
  }
  const bool is_distinct = measure.aggregate_function == OlapAggregateFunction::count &&
                           is_word(expression.front(), "DISTINCT");
  if (is_distinct) {
    expression.erase(expression.begin());
  }
  if (expression.empty()) {
    throw NotExpressible("it has no source column");
  }
  if (source.graph) {
    if (const auto unknown = unknown_column(expression, *source.graph); !unknown.empty()) {
      throw NotExpressible("it names " + unknown +
                           ", whose table is not in the cube's from clause");
    }
  }
  return {std::move(expression), is_distinct};
}

/// Whether the expression makes a view out of the fact table: it names other tables, or columns
/// that might be another table's.
bool measure_needs_fact_view(const SqlText& expression, const CubeSource& source) {
  if (only_name(expression) == nullptr && has_bare_names(expression)) {
    return true;
  }
  auto tables = tables_of(expression, names_of(source));
  tables.erase(source.fact.alias);
  return !tables.empty();
}

/// `number` counts the cube's measures, from 1.
XmlElement measure_element(const OlapMeasure& measure, const MeasureSource& source,
                           std::size_t number, FactSource& facts) {
  auto element = text_element("Measure", {});
  const auto value = facts.value(source.expression, "measure" + std::to_string(number));
  element.set("name", measure.name).set_if_any("column", value.column);
  element.set("aggregator",
              source.is_distinct ? "distinct-count" : aggregator(measure.aggregate_function));
  element.set_if_any("formatString", measure.format);
  if (measure.internal) {
    element.set("visible", "false");
  }
  element.set_if_any("description", measure.description);
  if (!value.expression.empty()) {
    element.add(sql_element("MeasureExpression", value.expression));
  }
  return element;
}

/// A measure with its source taken apart.
struct MeasurePlan {
  const OlapMeasure* measure = nullptr;
  MeasureSource source;
};

/// Maps one cube. All dimensions and measures are planned first, because one of them is enough to
/// make a view out of the fact table, and the elements of all differ with that.
class CubeMapper {
 public:
  CubeMapper(OlapDatabase& database, const OlapCube& cube, DataSourceConnections& connections,
             std::vector<std::string>& remarks)
      : database_(database),
        cube_(cube),
        connections_(connections),
        connection_(connections.of(cube.data_source)),
        remarks_(remarks) {
    if (cube.fact_table.empty()) {
      throw NotExpressible("it has no fact table");
    }
    source_ = cube_source(connection_.kind, cube.fact_table, cube.from_clause, cube.join_clause);
  }

  MappedCube map(RelationAliases& aliases) {
    check_partitions();
    plan_dimensions();
    plan_measures();
    const bool is_view = values_need_view() || cube_needs_fact_view(source_, cube_);
    FactSource facts(
        source_, cube_, is_view,
        is_view ? aliases.of_fact_view(source_.fact.alias) : aliases.of_table(source_.fact));
    MappedCube mapped;
    mapped.name = cube_.name;
    mapped.description = cube_.description;
    map_dimensions(facts, aliases, mapped);
    map_measures(facts, mapped);
    const auto branches = facts.branches(published_levels(mapped, facts));
    mapped.partitions = partitions_text(branches);
    mapped.fact = facts.relation(branches);
    return mapped;
  }

 private:
  void check_connection(const std::string& data_source) {
    if (!data_source.empty() && !(connections_.of(data_source) == connection_)) {
      throw NotExpressible("its data source '" + data_source +
                           "' is another database than the cube's, '" + cube_.data_source + "'");
    }
  }

  void check_partitions() {
    for (const auto& partition : cube_.partitions) {
      if (!partition.follows_cube) {
        about("partition '" + partition.name + "'",
              [&] { check_connection(partition.data_source); });
      }
    }
    if (counted_partitions(cube_).size() < cube_.partitions.size()) {
      remarks_.push_back("Cube '" + cube_.name +
                         "' is published without its own partition: no document wrote it, and "
                         "beside the partitions that one wrote it would count their rows twice");
    }
  }

  void plan_dimensions() {
    for (const auto& used : cube_.dimensions) {
      about("dimension '" + used.name + "'", [&] { plan(used); });
    }
    if (dimensions_.empty()) {
      throw NotExpressible("it has no dimension");
    }
  }

  void plan(const OlapCubeDimension& used) {
    const auto* definition = database_.dimensions().find(used.name);
    if (definition == nullptr) {
      throw NotExpressible("the database does not have it");
    }
    if (same_name(used.name, measures_dimension)) {
      throw NotExpressible("the engine keeps this name for the measures");
    }
    check_connection(definition->data_source);
    dimensions_.push_back(plan_dimension(*definition, used.levels, source_));
  }

  void plan_measures() {
    for (const auto& measure : cube_.measures) {
      if (measure.source_column.empty() &&
          measure.aggregate_function != OlapAggregateFunction::count) {
        remarks_.push_back("Cube '" + cube_.name + "' is published without its measure '" +
                           measure.name + "': it has no source column");
        continue;
      }
      measures_.push_back(about("measure '" + measure.name + "'", [&] {
        return MeasurePlan{&measure, measure_source(measure, source_)};
      }));
    }
    if (measures_.empty()) {
      // The reason, not what follows from it.
      throw NotExpressible(cube_.measures.empty() ? "it has no measure"
                                                  : "none of its measures has a source column");
    }
  }

  bool values_need_view() const {
    return std::any_of(dimensions_.begin(), dimensions_.end(),
                       [this](const DimensionPlan& plan) {
                         return dimension_needs_fact_view(plan, source_);
                       }) ||
           std::any_of(measures_.begin(), measures_.end(), [this](const MeasurePlan& plan) {
             return measure_needs_fact_view(plan.source.expression, source_);
           });
  }

  void map_dimensions(FactSource& facts, RelationAliases& aliases, MappedCube& mapped) {
    for (const auto& plan : dimensions_) {
      const auto& name = plan.dimension->name;
      mapped.dimensions.push_back({name, about("dimension '" + name + "'", [&] {
                                     return map_dimension(plan, mapped.dimensions.size() + 1,
                                                          source_, facts, aliases);
                                   })});
    }
  }

  /// The levels whose relations the engine calls as the schema does: where dimensions have one of
  /// the same name, it gives all but the first one's another.
  std::vector<PublishedLevel> published_levels(const MappedCube& mapped,
                                               const FactSource& facts) const {
    std::vector<PublishedLevel> result;
    std::set<std::string> taken{lower_cased(facts.alias())};
    for (std::size_t i = 0; i < dimensions_.size(); ++i) {
      const auto& dimension = mapped.dimensions[i].mapped;
      for (std::size_t j = 0; j < dimension.levels.size(); ++j) {
        const auto& values = dimension.levels[j];
        if (dimension.relations.empty()) {
          result.push_back({&dimensions_[i], &dimensions_[i].levels[j], facts.alias(), values});
          continue;
        }
        const auto& relation = values.table.empty() ? dimension.relations.front() : values.table;
        if (!taken.contains(lower_cased(relation))) {
          result.push_back({&dimensions_[i], &dimensions_[i].levels[j], relation, values});
        }
      }
      for (const auto& relation : dimension.relations) {
        taken.insert(lower_cased(relation));
      }
    }
    return result;
  }

  void map_measures(FactSource& facts, MappedCube& mapped) {
    std::vector<std::string> names;
    for (const auto& plan : measures_) {
      names.push_back(plan.measure->name);
      mapped.measures.push_back(measure_element(*plan.measure, plan.source, names.size(), facts));
    }
    mapped.calculated_members = map_calculated_members(cube_, names, remarks_);
  }

  OlapDatabase& database_;
  const OlapCube& cube_;
  DataSourceConnections& connections_;
  const JdbcConnection& connection_;
  std::vector<std::string>& remarks_;
  CubeSource source_;
  std::vector<DimensionPlan> dimensions_;
  std::vector<MeasurePlan> measures_;
};

}  // namespace

MappedCube map_cube(OlapDatabase& database, const OlapCube& cube,
                    DataSourceConnections& connections, RelationAliases& aliases,
                    std::vector<std::string>& remarks) {
  return about("Cube '" + cube.name + "' cannot be published",
               [&] { return CubeMapper(database, cube, connections, remarks).map(aliases); });
}

}  // namespace importkcd
