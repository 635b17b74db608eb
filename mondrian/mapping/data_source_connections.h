#pragma once

#include <map>
#include <optional>
#include <string>

#include "model/olap_database.h"
#include "mondrian/mapping/jdbc_connection.h"

namespace importkcd {

/// The connections of a database's data sources, each made out once.
class DataSourceConnections {
 public:
  /// `database` outlives this object.
  explicit DataSourceConnections(OlapDatabase& database) : database_(database) {}

  /// Throws NotExpressible, the data source named, when there is none of that name or its
  /// connection string means no database.
  const JdbcConnection& of(const std::string& data_source);

 private:
  struct Known {
    std::optional<JdbcConnection> connection;
    std::string fault;
  };

  Known make_out(const std::string& data_source);

  OlapDatabase& database_;
  /// Lower-cased name -> connection.
  std::map<std::string, Known> known_;
};

}  // namespace importkcd
