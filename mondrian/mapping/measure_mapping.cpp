#include "mondrian/mapping/measure_mapping.h"

#include <cstdint>

#include "model/vocabularies.h"
#include "mondrian/not_expressible.h"

namespace importkcd {
namespace {

std::string aggregator(OlapAggregateFunction function) {
  // The engine's words are those of the documents.
  if (const auto word = aggregate_function_word(function)) {
    return std::string(*word);
  }
  throw NotExpressible("the aggregate function of code " +
                       std::to_string(static_cast<std::int32_t>(function)) + " is not known");
}

bool counts_rows(const OlapMeasure& measure, const SqlText& expression) {
  return measure.aggregate_function == OlapAggregateFunction::count &&
         (expression.empty() || (expression.size() == 1 && is_symbol(expression[0], "*")));
}

}  // namespace

SqlText measure_expression(const OlapMeasure& measure, const CubeSource& source) {
  auto expression = parse_expression(measure.source_column);
  if (counts_rows(measure, expression)) {
    return parse_expression("1");
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
  return expression;
}

bool needs_fact_view(const SqlText& measure_expression, const CubeSource& source) {
  if (only_name(measure_expression) == nullptr && has_bare_names(measure_expression)) {
    return true;
  }
  auto tables = tables_of(measure_expression, names_of(source));
  tables.erase(source.fact.alias);
  return !tables.empty();
}

XmlElement measure_element(const OlapMeasure& measure, const SqlText& expression,
                           std::size_t number, FactSource& facts) {
  auto element = text_element("Measure", {});
  const auto value = facts.value(expression, "measure" + std::to_string(number));
  element.set("name", measure.name).set_if_any("column", value.column);
  element.set("aggregator", aggregator(measure.aggregate_function));
  element.set_if_any("formatString", measure.format);
  if (measure.internal) {
    element.set("visible", "false");
  }
  element.set_if_any("description", measure.description);
  if (!value.expression.empty()) {
    element.add(text_element("MeasureExpression", {}))
        .add(text_element("SQL", value.expression))
        .set("dialect", "generic");
  }
  return element;
}

}  // namespace importkcd
