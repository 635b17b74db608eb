#include "servers/catalogue/kept_copies.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "servers/catalogue/catalogue_file.h"
#include "servers/catalogue/database_lock.h"
#include "servers/catalogue/database_rows.h"

namespace importkcd {
namespace {

class CatalogueKeptCopies : public KeptCopies {
 public:
  CatalogueKeptCopies(std::string path, CatalogueAccess looking, BeforeCommit before_commit)
      : path_(std::move(path)), looking_(looking), before_commit_(std::move(before_commit)) {}

  std::vector<KeptCopy> list() override {
    CatalogueFile file(path_, looking_);
    file.open();
    if (!file.is_connected()) {
      return {};
    }
    return file.read([&] { return DatabaseRows(file.connection()).kept_copies(); });
  }

  RestoredDatabase restore(const std::string& database) override {
    // A look first: a catalogue with nothing to bring back stays untouched.
    const auto copies = list();
    const bool kept = std::any_of(copies.begin(), copies.end(), [&](const KeptCopy& copy) {
      return same_name(copy.name, database);
    });
    if (!kept) {
      fail(database);
    }
    CatalogueFile file(path_, CatalogueAccess::read_write_existing);
    file.open();
    DatabaseLock lock(file.lock_path());
    lock.hold(database);
    std::optional<RestoredDatabase> restored;
    file.write([&] {
      restored = DatabaseRows(file.connection()).restore(lower_cased(database));
      if (restored && before_commit_) {
        before_commit_(*make_store_over(file));
      }
    });
    if (!restored) {
      fail(database);
    }
    return *restored;
  }

 private:
  [[noreturn]] static void fail(const std::string& database) {
    throw ImportError("no copy of database '" + database + "' is kept", error_source::olap_server);
  }

  std::string path_;
  CatalogueAccess looking_;
  BeforeCommit before_commit_;
};

}  // namespace

std::unique_ptr<KeptCopies> make_kept_copies(std::string path, CatalogueAccess looking,
                                             BeforeCommit before_commit) {
  return std::make_unique<CatalogueKeptCopies>(std::move(path), looking, std::move(before_commit));
}

}  // namespace importkcd
