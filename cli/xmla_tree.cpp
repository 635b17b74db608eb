#include "cli/xmla_tree.h"

#include "cli/tree_texts.h"

namespace importkcd {

TreeNode xmla_database_tree(const std::string& database, const std::vector<XmlaCube>& cubes) {
  TreeNode root{database};
  std::vector<TreeNode> nodes;
  for (const auto& cube : cubes) {
    const auto text = cube.is_virtual ? with_facts(cube.name, {"virtual"}) : cube.name;
    nodes.push_back({with_detail(text, cube.description)});
  }
  add_group(root, "Cubes", std::move(nodes));
  return root;
}

nlohmann::ordered_json xmla_database_json(const std::string& database,
                                          const std::vector<XmlaCube>& cubes) {
  auto list = nlohmann::ordered_json::array();
  for (const auto& cube : cubes) {
    list.push_back(
        {{"name", cube.name}, {"virtual", cube.is_virtual}, {"description", cube.description}});
  }
  return {{"name", database}, {"cubes", std::move(list)}};
}

}  // namespace importkcd
