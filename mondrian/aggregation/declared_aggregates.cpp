#include "mondrian/aggregation/declared_aggregates.h"

#include <algorithm>
#include <utility>

#include "base/name_folding.h"
#include "base/text.h"
#include "mondrian/aggregation/aggregate_table.h"

namespace importkcd {
namespace {

/// As texts come back from a file, where line ends are line feeds.
std::string with_line_feeds(const std::string& text) {
  return replaced(replaced(text, "\r\n", "\n"), "\r", "\n");
}

/// How many levels of the dimension there are down to the named one; 0 when it has none of that
/// name.
std::size_t depth_of(const ShapeDimension& dimension, const std::string& level) {
  for (std::size_t i = 0; i < dimension.levels.size(); ++i) {
    if (same_name(dimension.levels[i].name, level)) {
      return i + 1;
    }
  }
  return 0;
}

std::optional<LevelCombination> combination_of(const CubeShape& shape,
                                               const AggregateRecord& record) {
  LevelCombination levels(shape.dimensions.size());
  for (const auto& [name, level] : record.levels) {
    const auto found =
        std::find_if(shape.dimensions.begin(), shape.dimensions.end(),
                     [&name = name](const auto& one) { return same_name(one.name, name); });
    const auto depth = found == shape.dimensions.end() ? 0 : depth_of(*found, level);
    if (depth == 0) {
      return std::nullopt;
    }
    levels[static_cast<std::size_t>(found - shape.dimensions.begin())] = depth;
  }
  return levels;
}

/// The facts of the cube as a table that aggregates can belong to.
XmlElement& facts_table(XmlElement& cube, const FactsViewRecord* view) {
  auto& facts = *std::find_if(cube.children.begin(), cube.children.end(), [](const auto& part) {
    return part.name == "Table" || part.name == "View";
  });
  if (facts.name == "View") {
    const std::string alias(facts.attribute("alias"));
    facts = text_element("Table", {});
    facts.set("name", view->view).set("alias", alias);
  }
  return facts;
}

}  // namespace

bool same_recorded_text(const std::string& recorded, const std::string& text) {
  return with_line_feeds(recorded) == with_line_feeds(text);
}

std::optional<CubeShape> shape_to_build_on(const XmlElement& schema, const XmlElement& cube,
                                           const FactsViewRecord* view) {
  std::string ignored;
  auto shape = cube_shape(schema, cube, ignored);
  if (shape && shape->facts.table.empty()) {
    if (view == nullptr || !same_recorded_text(view->query, shape->facts.sql)) {
      return std::nullopt;
    }
    shape->facts.table = view->view;
    shape->facts.sql.clear();
  }
  return shape;
}

std::optional<AggregateDefinition> definition_today(const XmlElement& schema,
                                                    const AggregateRecords& records,
                                                    const AggregateRecord& record) {
  const auto* cube = cube_named(schema, record.cube);
  if (cube == nullptr) {
    return std::nullopt;
  }
  auto shape = shape_to_build_on(schema, *cube, records.view_of(record.database, record.cube));
  auto levels = shape ? combination_of(*shape, record) : std::nullopt;
  if (!levels) {
    return std::nullopt;
  }
  return AggregateDefinition{std::move(*shape), std::move(*levels)};
}

bool is_as_defined(const XmlElement& schema, const AggregateRecords& records,
                   const AggregateRecord& record, DatabaseKind kind) {
  const auto today = definition_today(schema, records, record);
  return today && record.is_finished() &&
         same_recorded_text(record.query, aggregate_query(today->shape, today->levels, kind));
}

void declare_aggregates(XmlElement& schema, const std::string& database, DatabaseKind kind,
                        const AggregateRecords& records, std::vector<std::string>& remarks) {
  if (!can_be_aggregated_in(kind)) {
    return;
  }
  // All are compared with the schema as it was before any is declared.
  const auto plain = schema;
  for (const auto& record : records.tables) {
    if (!same_name(record.database, database) || !record.is_finished()) {
      continue;
    }
    const auto cube =
        std::find_if(schema.children.begin(), schema.children.end(), [&](const auto& element) {
          return element.name == "Cube" && same_name(element.attribute("name"), record.cube);
        });
    if (cube == schema.children.end()) {
      continue;
    }
    if (!is_as_defined(plain, records, record, kind)) {
      remarks.push_back("Cube '" + record.cube + "' is published without its aggregate table '" +
                        record.table +
                        "': the cube has changed since it was built; 'kcd aggregate refresh' "
                        "builds it anew");
      continue;
    }
    const auto today = definition_today(plain, records, record);
    facts_table(*cube, records.view_of(record.database, record.cube))
        .add(aggregate_element(today->shape, today->levels, record.table, record.rows));
  }
}

}  // namespace importkcd
