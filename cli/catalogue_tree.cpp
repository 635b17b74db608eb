#include "cli/catalogue_tree.h"

#include <string_view>
#include <utility>
#include <vector>

#include "base/connection_text.h"
#include "cli/code_words.h"
#include "cli/cube_tree.h"
#include "cli/tree_texts.h"

namespace importkcd {
namespace {

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

TreeNode role_node(const OlapRole& role) {
  const auto text = with_detail(role.name, role.user_list);
  return {role.description.empty() ? text : with_facts(text, {role.description})};
}

/// The nodes of those objects that `shown` picks, in the collection's order.
template <class T, class NodeOf, class Shown>
std::vector<TreeNode> nodes_of(DatabaseObjects<T>& objects, NodeOf node_of, Shown shown) {
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
std::vector<TreeNode> nodes_of(DatabaseObjects<T>& objects, NodeOf node_of) {
  return nodes_of(objects, node_of, [](const T&) { return true; });
}

std::vector<TreeNode> dimension_nodes(OlapDatabase& database, OlapDimensionKind kind) {
  return nodes_of(database.dimensions(), dimension_node,
                  [kind](const OlapDimension& dimension) { return dimension.kind == kind; });
}

}  // namespace

TreeNode database_tree(OlapDatabase& database) {
  TreeNode root{with_detail(database.name(), database.description)};
  add_group(root, "Data sources", nodes_of(database.data_sources(), data_source_node));
  add_group(root, "Shared dimensions", dimension_nodes(database, OlapDimensionKind::shared));
  add_group(root, "Virtual dimensions", dimension_nodes(database, OlapDimensionKind::is_virtual));
  add_group(root, "Roles", nodes_of(database.roles(), role_node));
  add_group(root, "Cubes", nodes_of(database.cubes(), [&](const OlapCube& cube) {
              return cube_tree(cube, database);
            }));
  return root;
}

}  // namespace importkcd
