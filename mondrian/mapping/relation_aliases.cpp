#include "mondrian/mapping/relation_aliases.h"

#include "base/name_folding.h"

namespace importkcd {

std::string RelationAliases::of_table(const SourceTable& table) {
  std::string identity;
  for (const auto& qualifier : table.qualifiers) {
    identity += qualifier + '\n';
  }
  return give(table.alias, "_", identity + table.name);
}

std::string RelationAliases::of_fact_view(const std::string& wanted) {
  return give(wanted, "_", {});
}

// The engine itself numbers tables with "_1" and so on.
std::string RelationAliases::of_dimension_view(const std::string& wanted, const std::string& sql) {
  return give(wanted, "_view", "view\n" + sql);
}

std::string RelationAliases::give(const std::string& wanted, const std::string& separator,
                                  const std::string& identity) {
  auto alias = wanted;
  for (int number = 2;; ++number) {
    const auto [given, is_new] = given_.try_emplace(lower_cased(alias), identity);
    if (is_new || (!identity.empty() && given->second == identity)) {
      return alias;
    }
    alias = wanted + separator + std::to_string(number);
  }
}

}  // namespace importkcd
