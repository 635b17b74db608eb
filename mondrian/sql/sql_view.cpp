#include "mondrian/sql/sql_view.h"

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
  auto element = text_element("View", {});
  element.set("alias", alias);
  element.add(text_element("SQL", sql)).set("dialect", "generic");
  return element;
}

}  // namespace importkcd
