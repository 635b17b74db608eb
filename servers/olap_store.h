#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/definitions.h"
#include "model/olap_database.h"

namespace importkcd {

/// How a store is opened, or the store of a server.
enum class ServerAccess {
  /// Changes and creates nothing; it is an error when there is nothing to open.
  read_only,
  /// The same, but nothing to open reads as a store without databases.
  read_only_or_empty,
  /// Changes what is there; it is an error when there is nothing to open.
  read_write_existing,
  /// Makes what is missing, for its owner only.
  read_write,
};

/// Whether a store that is opened so may change anything.
constexpr bool may_write(ServerAccess access) {
  return access == ServerAccess::read_write || access == ServerAccess::read_write_existing;
}

/// What one run changes in one database, to be applied in the order of the members.
struct DatabaseChanges {
  std::string name;
  /// The stored database of that name goes first, with all that is in it; see kept_copies().
  bool removes_stored = false;
  /// Before anything of the stored database changes, a copy of it becomes the kept one. Not where
  /// no copies are kept, nor when the database is not stored or is the kept copy itself.
  bool keeps_former = false;
  /// The database is there afterwards: it is added when it is not stored (any more). When false,
  /// nothing but the removal is to be done.
  bool exists_afterwards = false;
  /// New text of the database's description; nothing when it stays as it is.
  std::optional<std::string> description;
  /// Objects that left, private dimensions that left with their place in a cube among them. Some
  /// may not be stored.
  std::vector<std::string> removed_data_sources;
  std::vector<std::string> removed_dimensions;
  std::vector<std::string> removed_roles;
  std::vector<std::string> removed_cubes;
  /// Whole objects, each of which is added at the end or takes the place of the one of its name.
  NamedCollection<OlapDataSource> data_sources;
  NamedCollection<OlapDimension> dimensions;
  NamedCollection<OlapRole> roles;
  NamedCollection<OlapCube> cubes;
};

/// A database that was removed, or changed by a run that asked for a copy, as it was before.
struct KeptCopy {
  std::string name;
  /// When that happened, in UTC: "2026-11-21 06:30:00".
  std::string kept_since;
};

struct RestoredDatabase {
  /// What was brought back, as it was kept until then.
  KeptCopy copy;
  /// A database of that name had to make way and is the kept copy now.
  bool displaced_another = false;
  /// What a person should know about it.
  std::vector<std::string> remarks = {};
};

/// Where a WorkingCopyServer keeps databases between runs: it only loads and stores.
/// Names of databases are compared without regard to letter case. All operations throw ImportError
/// when they fail.
class OlapStore {
 public:
  OlapStore() = default;
  OlapStore(const OlapStore&) = delete;
  OlapStore& operator=(const OlapStore&) = delete;
  virtual ~OlapStore() = default;

  /// Called once, before anything else.
  virtual void open() = 0;

  /// The names of the stored databases, in the order in which they were added.
  virtual std::vector<std::string> database_names() = 0;

  /// Reserves a database name for this store object until release_all() or its end. Fails when
  /// another store object, in this process or another one, holds it; a holder that died holds
  /// nothing.
  virtual void hold(const std::string& database) = 0;
  virtual void release_all() noexcept = 0;

  /// The description of a stored database.
  virtual std::string description(const std::string& database) = 0;

  /// Readers of the objects of a stored database; they must not outlive the store.
  virtual DatabaseSources sources(const std::string& database) = 0;

  /// The names of the dimensions that the stored cubes of a kind use, in any order, each once.
  virtual std::vector<std::string> dimensions_in_use(const std::string& database,
                                                     OlapCubeKind kind) = 0;

  /// Stores all changes as one unit: after an error, or the end of the process at any moment,
  /// nothing of them is stored, and other readers never see a part of them.
  virtual void apply(std::vector<DatabaseChanges> changes) = 0;

  /// What apply() would refuse or remark about databases that `changed`, a store made of this one,
  /// holds as they would be: a rehearsal asks. Changes nothing. By default there is nothing to say.
  virtual void look_at(OlapStore& /*changed*/, const std::vector<std::string>& /*databases*/) {}

  /// Whether this kind of store keeps copies of databases.
  virtual bool keeps_copies() const = 0;

  /// The copies that are kept whole, the oldest first: of each name the one that was kept last.
  /// They count as databases nowhere else. Fails when this kind of store keeps none.
  virtual std::vector<KeptCopy> kept_copies() = 0;

  /// Brings a kept copy back as the database of its name, as one unit; a database that is there
  /// becomes the kept copy in turn, so restoring again undoes it. Fails when no copy is kept, and
  /// while a store object holds the database.
  virtual RestoredDatabase restore(const std::string& database) = 0;
};

}  // namespace importkcd
