#pragma once

#include <string>

#include "base/xml_element.h"
#include "mondrian/sql/join_graph.h"

namespace importkcd {

/// The element of a table under an alias. It has at most one qualifier, the schema.
XmlElement table_element(const SourceTable& table, const std::string& alias);

/// The element of an SQL view. The text is for the one database of its data source.
XmlElement view_element(const std::string& alias, const std::string& sql);

}  // namespace importkcd
