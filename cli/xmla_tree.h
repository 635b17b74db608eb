#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/text_tree.h"
#include "xmla/xmla_client.h"

namespace importkcd {

/// A database that an XMLA server offers, with its cubes, as a tree for people.
TreeNode xmla_database_tree(const std::string& database, const std::vector<XmlaCube>& cubes);

/// The same for programs: `{"name": ..., "cubes": [{"name": ..., "virtual": ..., "description":
/// ...}]}`.
nlohmann::ordered_json xmla_database_json(const std::string& database,
                                          const std::vector<XmlaCube>& cubes);

}  // namespace importkcd
