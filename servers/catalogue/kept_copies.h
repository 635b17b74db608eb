#pragma once

#include <memory>
#include <string>
#include <vector>

#include "servers/catalogue/catalogue_store.h"

namespace importkcd {

/// A database that was removed to be built anew. The catalogue keeps it whole, but not among its
/// databases, until the next one of that name is removed.
struct KeptCopy {
  std::string name;
  /// When it was removed, in UTC: "2026-11-21 06:30:00".
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

/// The kept copies of one catalogue. Names are compared without regard to letter case. All
/// operations throw ImportError when they fail, and none creates a catalogue.
class KeptCopies {
 public:
  KeptCopies() = default;
  KeptCopies(const KeptCopies&) = delete;
  KeptCopies& operator=(const KeptCopies&) = delete;
  virtual ~KeptCopies() = default;

  /// All of them, the oldest first.
  virtual std::vector<KeptCopy> list() = 0;

  /// Brings a copy back as the database of its name, as one unit; a database that is there becomes
  /// the kept copy in turn, so restoring again undoes it. Fails when no copy is kept and while an
  /// import holds the database.
  virtual RestoredDatabase restore(const std::string& database) = 0;
};

/// The copies in the catalogue at `path`; `looking`, which is not read_write, says what a missing
/// file means. Every restore() calls `before_commit`, if there is one.
std::unique_ptr<KeptCopies> make_kept_copies(std::string path, CatalogueAccess looking,
                                             BeforeCommit before_commit = {});

}  // namespace importkcd
