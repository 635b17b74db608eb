#include "servers/catalogue/catalogue_store.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "base/name_folding.h"
#include "servers/catalogue/catalogue_file.h"
#include "servers/catalogue/catalogue_tables.h"
#include "servers/catalogue/database_lock.h"

namespace importkcd {
namespace {

/// The objects of one kind of a stored database.
template <class Object>
class CatalogueSource : public ObjectSource<Object> {
 public:
  CatalogueSource(CatalogueFile& file, CatalogueTables& tables, std::int64_t database_id)
      : file_(file), tables_(tables), database_id_(database_id) {}

  bool contains(std::string_view name) override {
    return file_.read([&] { return tables_.objects<Object>().contains(database_id_, name); });
  }

  std::optional<Object> load(std::string_view name) override {
    return file_.read([&] { return tables_.load<Object>(database_id_, name); });
  }

  std::vector<std::string> names() override {
    return file_.read([&] { return tables_.objects<Object>().names(database_id_); });
  }

 private:
  CatalogueFile& file_;
  CatalogueTables& tables_;
  std::int64_t database_id_;
};

class CatalogueStore : public OlapStore {
 public:
  CatalogueStore(std::string path, ServerAccess access, BeforeCommit before_commit)
      : file_(std::move(path), access), before_commit_(std::move(before_commit)) {}

  void open() override {
    file_.open();
    lock_.emplace(file_.lock_path());
    if (file_.is_connected()) {
      tables_.emplace(file_.connection());
    }
  }

  std::vector<std::string> database_names() override {
    if (!tables_) {
      return {};
    }
    return file_.read([this] { return tables_->databases().names(); });
  }

  void hold(const std::string& database) override {
    if (file_.is_writable()) {
      lock_->hold(database);
      file_.forget_state();
    }
  }

  void release_all() noexcept override {
    if (lock_) {
      lock_->release_all();
    }
  }

  std::string description(const std::string& database) override {
    const auto id = id_of(database);
    return file_.read([&] { return tables_->databases().description(id); });
  }

  DatabaseSources sources(const std::string& database) override {
    const auto id = id_of(database);
    DatabaseSources sources;
    sources.data_sources = source<OlapDataSource>(id);
    sources.dimensions = source<OlapDimension>(id);
    sources.roles = source<OlapRole>(id);
    sources.cubes = source<OlapCube>(id);
    return sources;
  }

  std::vector<std::string> dimensions_in_use(const std::string& database,
                                             OlapCubeKind kind) override {
    const auto id = id_of(database);
    return file_.read([&] { return tables_->dimensions_in_use(id, kind); });
  }

  void apply(std::vector<DatabaseChanges> changes) override {
    file_.write([&] {
      for (const auto& change : changes) {
        tables_->apply(change);
      }
      look_before_commit();
    });
  }

  bool keeps_copies() const override { return true; }

  std::vector<KeptCopy> kept_copies() override {
    if (!tables_) {
      return {};
    }
    return file_.read([this] { return tables_->databases().kept_copies(); });
  }

  RestoredDatabase restore(const std::string& database) override {
    file_.check_writable();
    DatabaseLock lock(file_.lock_path());
    lock.hold(database);
    std::optional<RestoredDatabase> restored;
    file_.write([&] {
      restored = tables_->databases().restore(lower_cased(database));
      if (!restored) {
        fail("no copy of database '" + database + "' is kept");
      }
      look_before_commit();
    });
    return *restored;
  }

 private:
  [[noreturn]] static void fail(const std::string& description) {
    throw ImportError(description, error_source::olap_server);
  }

  void look_before_commit() {
    if (before_commit_) {
      before_commit_(*this);
    }
  }

  std::int64_t id_of(const std::string& database) {
    const auto folded_name = lower_cased(database);
    const auto id =
        tables_ ? file_.read([&] { return tables_->databases().find(folded_name); }) : std::nullopt;
    if (!id) {
      fail("database '" + database + "' does not exist");
    }
    return *id;
  }

  template <class Object>
  std::unique_ptr<ObjectSource<Object>> source(std::int64_t database_id) {
    return std::make_unique<CatalogueSource<Object>>(file_, *tables_, database_id);
  }

  CatalogueFile file_;
  BeforeCommit before_commit_;
  std::optional<DatabaseLock> lock_;
  /// Nothing without a connection.
  std::optional<CatalogueTables> tables_;
};

}  // namespace

std::shared_ptr<OlapStore> make_catalogue_store(std::string path, ServerAccess access,
                                                BeforeCommit before_commit) {
  return std::make_shared<CatalogueStore>(std::move(path), access, std::move(before_commit));
}

}  // namespace importkcd
