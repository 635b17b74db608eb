#pragma once

#include <string>
#include <vector>

#include "base/xml_element.h"
#include "model/definitions.h"
#include "model/olap_database.h"
#include "mondrian/mapping/jdbc_connection.h"

namespace importkcd {

/// A catalogue of the engine: the cubes of a database that read from one data warehouse.
struct PublishedCatalogue {
  /// The database's name; with several catalogues the data source's name follows it.
  std::string name;
  JdbcConnection connection;
  /// Names of regular cubes, in the database's order. Some may turn out to be inexpressible.
  std::vector<std::string> cubes;
  std::vector<std::string> virtual_cubes;
  /// The data source that its connection was found with; others may mean the same one.
  std::string warehouse;
  /// The data source that tells this catalogue from others of its database; empty for the only one.
  std::string data_source;
};

/// Collects which roles may see which cubes of a schema.
class RoleGrants {
 public:
  /// A role of the database; it sees nothing until a cube names it. Its user list, as the document
  /// has it, becomes an annotation, for `kcd serve --grants from-documents`.
  void add_role(const std::string& name, const std::string& user_list = {});

  /// The roles of a published cube. A role that the database does not have is added. Permission to
  /// read, with or without writing, grants the cube; anything else grants nothing.
  void add_cube(const OlapCube& cube);

  /// One element per role, in the order in which they were added.
  std::vector<XmlElement> elements() const;

 private:
  struct Granted {
    std::string name;
    std::string user_list{};
    std::vector<std::string> cubes{};
  };

  NamedCollection<Granted> roles_;
};

/// The schema of one catalogue of a database. Cubes that cannot be expressed are left out; why, and
/// what else was left out, is added to `remarks`, one sentence each. Throws ImportError when the
/// definitions cannot be read.
XmlElement schema_element(OlapDatabase& database, const PublishedCatalogue& catalogue,
                          std::vector<std::string>& remarks);

}  // namespace importkcd
