#include "mondrian/aggregation/cube_shape.h"

#include <algorithm>

#include "base/name_folding.h"
#include "base/numbers.h"

namespace importkcd {
namespace {

std::string attribute_text(const XmlElement& element, std::string_view attribute) {
  return std::string(element.attribute(attribute));
}

ShapeRelation relation_of(const XmlElement& element) {
  ShapeRelation relation;
  relation.alias = attribute_text(element, "alias");
  if (element.name == "View") {
    relation.sql = sql_of(element);
    return relation;
  }
  relation.schema = attribute_text(element, "schema");
  relation.table = attribute_text(element, "name");
  if (relation.alias.empty()) {
    relation.alias = relation.table;
  }
  return relation;
}

bool is_relation(const XmlElement& element) {
  return element.name == "Table" || element.name == "View" || element.name == "Join";
}

/// Adds a relation, or the chain of a join: each element on the right is one, or the rest of the
/// chain.
void add_relations(const XmlElement& element, ShapeDimension& dimension) {
  if (element.name != "Join") {
    dimension.relations.push_back(relation_of(element));
    return;
  }
  dimension.joins.push_back(
      {attribute_text(element, "leftAlias"), attribute_text(element, "leftKey"),
       attribute_text(element, "rightAlias"), attribute_text(element, "rightKey")});
  for (const auto& part : element.children) {
    if (is_relation(part)) {
      add_relations(part, dimension);
    }
  }
}

/// Nothing for a level with a value that is no column.
std::optional<ShapeLevel> level_of(const XmlElement& element, const ShapeDimension& dimension) {
  for (const auto* expression : {"KeyExpression", "NameExpression", "OrdinalExpression"}) {
    if (element.child(expression) != nullptr) {
      return std::nullopt;
    }
  }
  ShapeLevel level;
  level.name = attribute_text(element, "name");
  level.alias = attribute_text(element, "table");
  if (level.alias.empty() && !dimension.relations.empty()) {
    level.alias = dimension.relations.front().alias;
  }
  level.key = attribute_text(element, "column");
  level.label = attribute_text(element, "nameColumn");
  level.ordinal = attribute_text(element, "ordinalColumn");
  level.size = exact_number<double>(element.attribute("approxRowCount")).value_or(0);
  for (const auto& property : element.children) {
    if (property.name == "Property") {
      level.properties.emplace_back(attribute_text(property, "name"),
                                    attribute_text(property, "column"));
    }
  }
  return level.key.empty() ? std::nullopt : std::optional(level);
}

/// `usage` is the element in the cube, `definition` the one with the hierarchy.
ShapeDimension dimension_of(const XmlElement& usage, const XmlElement& definition) {
  ShapeDimension dimension;
  dimension.name = attribute_text(usage, "name");
  dimension.foreign_key = attribute_text(usage, "foreignKey");
  const auto* hierarchy = definition.child("Hierarchy");
  if (hierarchy == nullptr) {
    return dimension;
  }
  dimension.has_all = hierarchy->attribute("hasAll") != "false";
  dimension.all_member = attribute_text(*hierarchy, "allMemberName");
  dimension.primary_key = attribute_text(*hierarchy, "primaryKey");
  bool is_plain = true;
  for (const auto& part : hierarchy->children) {
    if (is_relation(part)) {
      add_relations(part, dimension);
    } else if (part.name == "Level" && is_plain) {
      auto level = level_of(part, dimension);
      is_plain = level.has_value();
      if (level) {
        dimension.levels.push_back(std::move(*level));
      }
    }
  }
  // A level below another has at least as many members.
  double fewest = 0;
  for (auto& level : dimension.levels) {
    level.size = level.size > 0 ? std::max(level.size, fewest) : 0;
    fewest = std::max(level.size, fewest);
  }
  return dimension;
}

const XmlElement* shared_dimension(const XmlElement& schema, std::string_view name) {
  const auto found = std::find_if(
      schema.children.begin(), schema.children.end(), [name](const XmlElement& element) {
        return element.name == "Dimension" && same_name(element.attribute("name"), name);
      });
  return found == schema.children.end() ? nullptr : &*found;
}

bool can_be_added_up(std::string_view aggregator) {
  return aggregator == "sum" || aggregator == "count" || aggregator == "min" || aggregator == "max";
}

void add_measure(const XmlElement& element, CubeShape& shape) {
  if (!can_be_added_up(element.attribute("aggregator"))) {
    return;
  }
  ShapeMeasure measure{attribute_text(element, "name"),
                       attribute_text(element, "aggregator"),
                       attribute_text(element, "column"),
                       {}};
  if (const auto* expression = element.child("MeasureExpression")) {
    measure.expression = sql_of(*expression);
  }
  if (!measure.column.empty() || !measure.expression.empty()) {
    shape.measures.push_back(std::move(measure));
  }
}

/// What the publication says of the partitions of a cube.
std::vector<PublishedPartition> partitions_of(const XmlElement& cube) {
  const auto* annotations = cube.child("Annotations");
  if (annotations == nullptr) {
    return {};
  }
  const auto& all = annotations->children;
  const auto found = std::find_if(all.begin(), all.end(), [](const XmlElement& annotation) {
    return annotation.attribute("name") == partitions_annotation;
  });
  return found == all.end() ? std::vector<PublishedPartition>() : partitions_of_text(found->text);
}

}  // namespace

std::string sql_of(const XmlElement& element) { return std::string(element.child_text("SQL")); }

const XmlElement* cube_named(const XmlElement& schema, std::string_view name) {
  const auto found = std::find_if(
      schema.children.begin(), schema.children.end(), [name](const XmlElement& element) {
        return element.name == "Cube" && same_name(element.attribute("name"), name);
      });
  return found == schema.children.end() ? nullptr : &*found;
}

const XmlElement* facts_of(const XmlElement& cube) {
  const auto* table = cube.child("Table");
  return table != nullptr ? table : cube.child("View");
}

std::optional<CubeShape> cube_shape(const XmlElement& schema, const XmlElement& cube,
                                    std::string& reason) {
  const auto* facts = facts_of(cube);
  if (facts == nullptr) {
    reason = "it has no fact table";
    return std::nullopt;
  }
  CubeShape shape;
  shape.name = attribute_text(cube, "name");
  shape.facts = relation_of(*facts);
  shape.partitions = partitions_of(cube);
  for (const auto& part : cube.children) {
    if (part.name == "Measure") {
      add_measure(part, shape);
    } else if (part.name == "Dimension") {
      shape.dimensions.push_back(dimension_of(part, part));
    } else if (part.name == "DimensionUsage") {
      const auto* definition = shared_dimension(schema, part.attribute("source"));
      shape.dimensions.push_back(dimension_of(part, definition == nullptr ? part : *definition));
    }
  }
  for (const auto& dimension : shape.dimensions) {
    if (!dimension.has_all && dimension.levels.empty()) {
      reason = "its dimension '" + dimension.name +
               "' has no \"all\" level, and its levels are computed by expressions";
      return std::nullopt;
    }
  }
  if (shape.measures.empty()) {
    reason = "none of its measures can be added up from parts";
    return std::nullopt;
  }
  return shape;
}

}  // namespace importkcd
