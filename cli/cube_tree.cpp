#include "cli/cube_tree.h"

#include <sstream>
#include <string>
#include <vector>

#include "cli/code_words.h"
#include "cli/tree_texts.h"
#include "model/olap_database.h"

namespace importkcd {
namespace {

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

TreeNode dimension_node(const OlapCubeDimension& dimension, OlapDatabase& database) {
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

}  // namespace

TreeNode cube_tree(const OlapCube& cube, OlapDatabase& database) {
  TreeNode root{cube_text(cube)};
  const auto source = source_text(cube.fact_table, cube.data_source);
  if (!source.empty()) {
    root.children.push_back({with_detail("Source", source)});
  }
  add_group(root, "Dimensions", nodes_of(cube.dimensions, [&](const OlapCubeDimension& dimension) {
              return dimension_node(dimension, database);
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

}  // namespace importkcd
