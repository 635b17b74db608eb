#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/import_error.h"
#include "model/codes.h"
#include "model/olap_database.h"

namespace importkcd {

/// An entry of a server's collection of stored objects.
struct StoredObject {
  OlapClassType class_type = OlapClassType::database;
  std::string name;
};

/// The kinds of objects directly under a database.
enum class OlapObjectKind { data_source, dimension, role, cube };

/// A lock check's answer that the object may not be changed now, because it is in use. Any other
/// error of a lock check says that the server could not find out.
class LockRefused : public ImportError {
 public:
  using ImportError::ImportError;
};

/// Another run holds the database.
class DatabaseHeld : public ImportError {
 public:
  explicit DatabaseHeld(std::string_view database)
      : ImportError("database '" + std::string(database) + "' is in use by another import",
                    error_source::olap_server, FailureCause::held) {}
};

/// An OLAP server as the importer sees it.
///
/// The importer changes the working copy of a database (OlapDatabase); a write back makes the
/// object, as it stands at that moment, part of the run's result; finish() stores that result as
/// one unit. A run that ends without finish() leaves the server as it was. Every operation throws
/// ImportError when it fails. One server object serves one thread.
class OlapServer {
 public:
  OlapServer() = default;
  OlapServer(const OlapServer&) = delete;
  OlapServer& operator=(const OlapServer&) = delete;
  virtual ~OlapServer() = default;

  /// Connects to the server that `machine` names; called once, before anything else.
  virtual void connect(const std::string& machine) = 0;

  /// OlapClassType::server for a proper server.
  virtual OlapClassType class_type() const = 0;

  /// The server's version text, such as "8.0".
  virtual std::string version() const = 0;

  /// The stored objects, in the server's order; the databases among them have the class type
  /// `database`. A database that was added or removed in this run counts as such.
  virtual std::vector<StoredObject> stored_objects() = 0;

  /// Reserves a database, existing or not, for this run until finish() or the end of this object.
  /// Throws DatabaseHeld when another run holds it. Holding it twice in a run is no error.
  virtual void hold_database(const std::string& name) = 0;

  /// The working copy of a stored database, owned by the server and valid until finish(). The name
  /// is the one that stored_objects gave. Opening it again in the same run gives the same object.
  virtual OlapDatabase& open_database(const std::string& name) = 0;

  /// Adds an empty database; it exists once it was written back. Owned as open_database says.
  /// Fails on an empty name and on one that is in use.
  virtual OlapDatabase& add_database(const std::string& name) = 0;

  /// Removes a stored database with all that is in it; OlapDatabase references to it become
  /// invalid.
  virtual void remove_database(const std::string& name) = 0;

  /// Writes back the database's own properties, its roles and its virtual cubes.
  virtual void write_back_database(OlapDatabase& database) = 0;
  virtual void write_back_data_source(OlapDatabase& database, OlapDataSource& data_source) = 0;
  virtual void write_back_dimension(OlapDatabase& database, OlapDimension& dimension) = 0;

  /// Writes back a cube with all its parts. A regular cube without a partition gets its own one
  /// again, and partitions that follow the cube take over its source settings.
  virtual void write_back_cube(OlapDatabase& database, OlapCube& cube) = 0;

  /// Writes back one partition of a cube that was written back before. It no longer follows the
  /// cube.
  virtual void write_back_partition(OlapDatabase& database, OlapCube& cube,
                                    OlapPartition& partition) = 0;

  /// Removes an object from the working copy and, with finish(), from the server; a cube takes its
  /// private dimensions along. Does nothing when there is none of that name. It is the caller who
  /// sees to it that nothing refers to the object any more.
  virtual void remove_object(OlapDatabase& database, OlapObjectKind kind,
                             const std::string& name) = 0;

  /// Throws LockRefused while a regular cube of the database uses the dimension.
  virtual void lock_dimension(OlapDatabase& database, const OlapDimension& dimension) = 0;

  /// Guards a dimension's levels: refuses also while a virtual cube uses it. Partitions
  /// use only dimensions of their cube.
  virtual void lock_levels(OlapDatabase& database, const OlapDimension& dimension) = 0;

  /// Throws LockRefused when the server does not let the cube be changed now.
  virtual void lock_cube(OlapDatabase& database, const OlapCube& cube) = 0;

  /// Removes the first member of a content collection of the cube's working copy.
  virtual void remove_first(OlapDatabase& database, OlapCube& cube, OlapCubeContent content) = 0;

  /// Whether the cube has a data source, a fact table, at least one dimension and one measure, and
  /// the database has all its dimensions.
  virtual bool structure_is_valid(OlapDatabase& database, const OlapCube& cube) = 0;

  /// The messages for a person that structure_is_valid() and finish() have left since the last
  /// call, such as why a structure is not valid; each is one sentence without a line end.
  virtual std::vector<std::string> take_messages() { return {}; }

  /// Whether what a failed run wrote back may be stored. Not where people are served what is
  /// stored.
  virtual bool keeps_failed_runs() const { return true; }

  /// From now on finish() keeps a copy of each stored database that it changes, as it was before.
  /// Returns false, and changes nothing, where no copies are kept.
  virtual bool keep_former_databases() { return false; }

  /// From now on hold_database() waits so long for a database that another run holds; `tell` is
  /// called with its name when the waiting begins. Where nothing is held, nothing is waited for.
  virtual void wait_for_held_databases(
      std::chrono::seconds /*longest*/,
      const std::function<void(const std::string& name)>& /*tell*/) {}

  /// Stores everything that was written back or removed since connect() or the last finish(), all
  /// of it or nothing, and releases the held databases. Ends all OlapDatabase references. Does
  /// nothing when nothing was written back.
  virtual void finish() = 0;
};

/// Makes the unconnected server that a machine text means; throws ImportError when it means none.
using OlapServerFactory = std::function<std::unique_ptr<OlapServer>(std::string_view machine)>;

}  // namespace importkcd
