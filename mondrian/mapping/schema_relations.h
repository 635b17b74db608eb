#pragma once

#include <map>
#include <string>

#include "base/xml_element.h"
#include "mondrian/sql/join_graph.h"

namespace importkcd {

/// The element of a table under an alias. It has at most one qualifier, the schema.
XmlElement table_element(const SourceTable& table, const std::string& alias);

/// The element of an SQL view. The text is for the one database of its data source.
XmlElement view_element(const std::string& alias, const std::string& sql);

/// An element around an SQL expression, such as the key of a level. The text is for the one
/// database of its data source.
XmlElement sql_element(const std::string& name, const std::string& expression);

/// Gives out the names of a schema's fact relations and views. The engine takes relations of one
/// name for one relation, whatever else they say.
class RelationAliases {
 public:
  /// The name of a fact table: its alias, unless another relation has that.
  std::string of_table(const SourceTable& table);
  /// The name of a view of facts, which it shares with nothing.
  std::string of_fact_view(const std::string& wanted);
  /// The name of a dimension's view, which it shares with views of the same text only.
  std::string of_dimension_view(const std::string& wanted, const std::string& sql);

 private:
  std::string give(const std::string& wanted, const std::string& separator,
                   const std::string& identity);

  /// Lower-cased name -> what has it, as text; empty for a view of facts.
  std::map<std::string, std::string> given_;
};

}  // namespace importkcd
