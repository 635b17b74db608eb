#pragma once

#include <map>
#include <string>

#include "mondrian/sql/join_graph.h"

namespace importkcd {

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
