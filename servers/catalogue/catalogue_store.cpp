#include "servers/catalogue/catalogue_store.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "base/name_folding.h"
#include "servers/catalogue/catalogue_file.h"
#include "servers/catalogue/catalogue_reader.h"
#include "servers/catalogue/catalogue_writer.h"
#include "servers/catalogue/database_lock.h"
#include "servers/catalogue/database_rows.h"

namespace importkcd {
namespace {

template <class Object>
class CatalogueSource : public ObjectSource<Object> {
 public:
  CatalogueSource(CatalogueFile& file, CatalogueReader& reader, std::int64_t database_id)
      : file_(file), reader_(reader), database_id_(database_id) {}

  bool contains(std::string_view name) override {
    return file_.read([&] { return reader_.contains<Object>(database_id_, name); });
  }

  std::optional<Object> load(std::string_view name) override {
    return file_.read([&] { return reader_.load<Object>(database_id_, name); });
  }

  std::vector<std::string> names() override {
    return file_.read([&] { return reader_.names<Object>(database_id_); });
  }

 private:
  CatalogueFile& file_;
  CatalogueReader& reader_;
  std::int64_t database_id_;
};

class CatalogueStore : public OlapStore {
 public:
  CatalogueStore(std::string path, CatalogueAccess access, BeforeCommit before_commit)
      : own_(std::make_unique<CatalogueFile>(std::move(path), access)),
        file_(*own_),
        before_commit_(std::move(before_commit)) {}

  explicit CatalogueStore(CatalogueFile& opened) : file_(opened) { connect(); }

  void open() override {
    file_.open();
    connect();
  }

  std::vector<std::string> database_names() override {
    if (!databases_) {
      return {};
    }
    return file_.read([this] { return databases_->names(); });
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
    return file_.read([&] { return databases_->description(id); });
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
    return file_.read([&] { return reader_->dimensions_in_use(id, kind); });
  }

  void apply(std::vector<DatabaseChanges> changes) override {
    file_.write([&] {
      for (const auto& change : changes) {
        writer_->apply(change);
      }
      if (before_commit_) {
        before_commit_(*this);
      }
    });
  }

 private:
  void connect() {
    lock_.emplace(file_.lock_path());
    if (file_.is_connected()) {
      databases_.emplace(file_.connection());
      reader_.emplace(file_.connection());
      writer_.emplace(file_.connection());
    }
  }

  std::int64_t id_of(const std::string& database) {
    const auto folded_name = lower_cased(database);
    const auto id =
        databases_ ? file_.read([&] { return databases_->find(folded_name); }) : std::nullopt;
    if (!id) {
      throw ImportError("database '" + database + "' does not exist", error_source::olap_server);
    }
    return *id;
  }

  template <class Object>
  std::unique_ptr<ObjectSource<Object>> source(std::int64_t database_id) {
    return std::make_unique<CatalogueSource<Object>>(file_, *reader_, database_id);
  }

  /// Null when somebody else owns the file.
  std::unique_ptr<CatalogueFile> own_;
  CatalogueFile& file_;
  BeforeCommit before_commit_;
  std::optional<DatabaseLock> lock_;
  // Nothing of these without a connection.
  std::optional<DatabaseRows> databases_;
  std::optional<CatalogueReader> reader_;
  std::optional<CatalogueWriter> writer_;
};

}  // namespace

std::shared_ptr<OlapStore> make_catalogue_store(std::string path, CatalogueAccess access,
                                                BeforeCommit before_commit) {
  return std::make_shared<CatalogueStore>(std::move(path), access, std::move(before_commit));
}

std::unique_ptr<OlapStore> make_store_over(CatalogueFile& opened) {
  return std::make_unique<CatalogueStore>(opened);
}

}  // namespace importkcd
