#include "mondrian/mapping/schema_relations.h"

#include "base/name_folding.h"

namespace importkcd {

XmlElement table_element(const SourceTable& table, const std::string& alias) {
  auto element = text_element("Table", {});
  element.set("name", table.name);
  if (!table.qualifiers.empty()) {
    element.set("schema", table.qualifiers.back());
  }
  return element.set_if_any("alias", alias == table.name ? std::string() : alias);
}

XmlElement view_element(const std::string& alias, const std::string& sql) {
  auto element = sql_element("View", sql);
  element.set("alias", alias);
  return element;
}

XmlElement sql_element(const std::string& name, const std::string& expression) {
  auto element = text_element(name, {});
  element.add(text_element("SQL", expression)).set("dialect", "generic");
  return element;
}

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

// The engine numbers the tables of dimensions itself, with "_1" and so on.
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
