#include "cli/database_tree.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/connection_text.h"
#include "cli/code_words.h"
#include "cli/text_tree.h"
#include "model/olap_database.h"

namespace importkcd {
namespace {

std::string level_text(const OlapLevel& level) {
  std::vector<std::string> properties;
  for (const auto& property : level.member_properties) {
    properties.push_back(property.name);
  }
  const auto text =
      properties.empty() ? level.name : level.name + " [" + joined(properties, ", ") + "]";
  return level.disabled ? with_facts(text, {"disabled"}) : text;
}

/// "(All) > City > Store [Size, Manager] > Till (disabled)".
std::string level_chain(const NamedCollection<OlapLevel>& levels) {
  std::vector<std::string> texts;
  texts.reserve(levels.size());
  for (const auto& level : levels) {
    texts.push_back(level_text(level));
  }
  return joined(texts, " > ");
}

TreeNode data_source_node(const OlapDataSource& source) {
  TreeNode node{with_detail(source.name, source.description)};
  if (!source.connection_string.empty()) {
    node.children.push_back({mask_passwords(source.connection_string)});
  }
  return node;
}

TreeNode dimension_node(const OlapDimension& dimension) {
  std::vector<std::string> facts;
  if (dimension.type != OlapDimensionType::regular) {
    facts.push_back(word_for(dimension.type));
  }
  if (!dimension.data_source.empty()) {
    facts.push_back("from " + dimension.data_source);
  }
  TreeNode node{with_detail(with_facts(dimension.name, facts), dimension.description)};
  if (!dimension.levels.empty()) {
    node.children.push_back({level_chain(dimension.levels)});
  }
  return node;
}

TreeNode database_role_node(const OlapRole& role) {
  const auto text = with_detail(role.name, role.user_list);
  return {role.description.empty() ? text : with_facts(text, {role.description})};
}

/// The nodes of those objects that `shown` picks, in the collection's order.
template <class T, class NodeOf, class Shown>
std::vector<TreeNode> object_nodes(DatabaseObjects<T>& objects, NodeOf node_of, Shown shown) {
  std::vector<TreeNode> nodes;
  for (const auto& name : objects.names()) {
    const T* object = objects.find(name);
    if (object != nullptr && shown(*object)) {
      nodes.push_back(node_of(*object));
    }
  }
  return nodes;
}

template <class T, class NodeOf>
std::vector<TreeNode> object_nodes(DatabaseObjects<T>& objects, NodeOf node_of) {
  return object_nodes(objects, node_of, [](const T&) { return true; });
}

std::vector<TreeNode> dimension_nodes(OlapDatabase& database, OlapDimensionKind kind) {
  return object_nodes(database.dimensions(), dimension_node,
                      [kind](const OlapDimension& dimension) { return dimension.kind == kind; });
}

std::string row_count(double rows) {
  std::ostringstream text;
  text.precision(15);
  text << rows;
  return text.str() + (rows == 1 ? " row" : " rows");
}

/// "table from data source", as far as they are known.
std::string source_text(const std::string& fact_table, const std::string& data_source) {
  return joined({fact_table, data_source.empty() ? "" : "from " + data_source}, " ");
}

std::string cube_text(const OlapCube& cube) {
  const bool is_regular = cube.kind == OlapCubeKind::regular;
  std::vector<std::string> facts{is_regular ? word_for(cube.olap_mode) : word_for(cube.kind)};
  if (cube.estimated_rows != 0) {
    facts.push_back(row_count(cube.estimated_rows));
  }
  return with_detail(with_facts(cube.name, facts), cube.description);
}

TreeNode cube_dimension_node(const OlapCubeDimension& dimension, OlapDatabase& database) {
  const OlapDimension* definition = database.dimensions().find(dimension.name);
  const bool own = definition != nullptr && definition->kind == OlapDimensionKind::is_private;
  return {with_detail(own ? with_facts(dimension.name, {"private"}) : dimension.name,
                      level_chain(dimension.levels))};
}

TreeNode measure_node(const OlapMeasure& measure) {
  auto detail = word_for(measure.aggregate_function);
  if (!measure.source_column.empty()) {
    detail += " of " + measure.source_column;
  }
  const auto format = measure.format.empty() ? "" : "format " + measure.format;
  return {with_detail(measure.name,
                      joined({detail, format, measure.internal ? "internal" : ""}, ", "))};
}

TreeNode cube_role_node(const OlapRole& role) {
  std::vector<std::string> permissions;
  for (const auto& permission : role.permissions) {
    permissions.push_back(permission.name + " = " + permission.value);
  }
  return {with_detail(role.name, joined(permissions, ", "))};
}

TreeNode partition_node(const OlapCube& cube, const OlapPartition& partition) {
  const auto source = source_text(partition.fact_table, partition.data_source);
  TreeNode node{with_detail(partition.name, joined({source, word_for(partition.olap_mode),
                                                    partition.read_write ? "read-write" : ""},
                                                   ", "))};
  for (const auto& dimension : partition_dimensions(cube, partition)) {
    for (const auto& level : dimension.levels) {
      if (!level.slice_value.empty()) {
        node.children.push_back({dimension.name + ", " + level.name + " = " + level.slice_value});
      }
    }
  }
  return node;
}

template <class T, class NodeOf>
std::vector<TreeNode> nodes_of(const NamedCollection<T>& objects, NodeOf node_of) {
  std::vector<TreeNode> nodes;
  nodes.reserve(objects.size());
  for (const auto& object : objects) {
    nodes.push_back(node_of(object));
  }
  return nodes;
}

/// `database` tells which of the cube's dimensions are its own.
TreeNode cube_tree(const OlapCube& cube, OlapDatabase& database) {
  TreeNode root{cube_text(cube)};
  const auto source = source_text(cube.fact_table, cube.data_source);
  if (!source.empty()) {
    root.children.push_back({with_detail("Source", source)});
  }
  add_group(root, "Dimensions", nodes_of(cube.dimensions, [&](const OlapCubeDimension& dimension) {
              return cube_dimension_node(dimension, database);
            }));
  add_group(root, "Measures", nodes_of(cube.measures, measure_node));
  add_group(root, "Calculated members",
            nodes_of(cube.calculated_members, [](const OlapCalculatedMember& member) {
              return TreeNode{with_detail(member.name, member.statement)};
            }));
  add_group(root, "Roles", nodes_of(cube.roles, cube_role_node));
  add_group(root, "Partitions", nodes_of(cube.partitions, [&](const OlapPartition& partition) {
              return partition_node(cube, partition);
            }));
  return root;
}

}  // namespace

TreeNode database_tree(OlapDatabase& database) {
  TreeNode root{with_detail(database.name(), database.description)};
  add_group(root, "Data sources", object_nodes(database.data_sources(), data_source_node));
  add_group(root, "Shared dimensions", dimension_nodes(database, OlapDimensionKind::shared));
  add_group(root, "Virtual dimensions", dimension_nodes(database, OlapDimensionKind::is_virtual));
  add_group(root, "Roles", object_nodes(database.roles(), database_role_node));
  add_group(root, "Cubes", object_nodes(database.cubes(), [&](const OlapCube& cube) {
              return cube_tree(cube, database);
            }));
  return root;
}

TreeNode xmla_database_tree(const std::string& database, const std::vector<XmlaCube>& cubes,
                            const std::vector<UnservedCube>& unserved) {
  TreeNode root{database};
  std::vector<TreeNode> faults;
  faults.reserve(unserved.size());
  for (const auto& cube : unserved) {
    faults.push_back({with_detail(cube.name, cube.reason)});
  }
  std::vector<TreeNode> nodes;
  for (const auto& cube : cubes) {
    // One whose tables are missing is listed by the server all the same.
    if (std::any_of(unserved.begin(), unserved.end(),
                    [&](const UnservedCube& other) { return other.name == cube.name; })) {
      continue;
    }
    const auto text = cube.is_virtual ? with_facts(cube.name, {"virtual"}) : cube.name;
    nodes.push_back({with_detail(text, cube.description)});
  }
  add_group(root, "Cubes", std::move(nodes));
  add_group(root, "Cubes that cannot be asked", std::move(faults));
  return root;
}

}  // namespace importkcd
