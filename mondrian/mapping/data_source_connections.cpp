#include "mondrian/mapping/data_source_connections.h"

#include "base/name_folding.h"
#include "mondrian/not_expressible.h"

namespace importkcd {

const JdbcConnection& DataSourceConnections::of(const std::string& data_source) {
  const auto key = lower_cased(data_source);
  auto known = known_.find(key);
  if (known == known_.end()) {
    known = known_.emplace(key, make_out(data_source)).first;
  }
  if (!known->second.connection) {
    throw NotExpressible(known->second.fault);
  }
  return *known->second.connection;
}

DataSourceConnections::Known DataSourceConnections::make_out(const std::string& data_source) {
  if (data_source.empty()) {
    return {{}, "it has no data source"};
  }
  const auto* definition = database_.data_sources().find(data_source);
  if (definition == nullptr) {
    return {{}, "there is no data source '" + data_source + "'"};
  }
  try {
    return {jdbc_connection(definition->connection_string), {}};
  } catch (const NotExpressible& error) {
    return {{}, "data source '" + definition->name + "': " + error.description()};
  }
}

}  // namespace importkcd
