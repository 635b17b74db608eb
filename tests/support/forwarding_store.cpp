#include "tests/support/forwarding_store.h"

#include <utility>

namespace importkcd::testing {
namespace {

template <class T>
class ForwardingSource : public ObjectSource<T> {
 public:
  ForwardingSource(std::unique_ptr<ObjectSource<T>> target, ForwardingStore::Hook before)
      : target_(std::move(target)), before_(std::move(before)) {}

  bool contains(std::string_view name) override {
    before_();
    return target_->contains(name);
  }
  std::optional<T> load(std::string_view name) override {
    before_();
    return target_->load(name);
  }
  std::vector<std::string> names() override {
    before_();
    return target_->names();
  }

 private:
  std::unique_ptr<ObjectSource<T>> target_;
  ForwardingStore::Hook before_;
};

template <class T>
void wrap(std::unique_ptr<ObjectSource<T>>& source, const ForwardingStore::Hook& before) {
  source = std::make_unique<ForwardingSource<T>>(std::move(source), before);
}

}  // namespace

ForwardingStore::ForwardingStore(std::shared_ptr<OlapStore> target, Hook before)
    : target_(std::move(target)), before_(std::move(before)) {}

void ForwardingStore::open() {
  before_();
  target_->open();
}

std::vector<std::string> ForwardingStore::database_names() {
  before_();
  return target_->database_names();
}

void ForwardingStore::hold(const std::string& database) {
  before_();
  target_->hold(database);
}

void ForwardingStore::release_all() noexcept { target_->release_all(); }

std::string ForwardingStore::description(const std::string& database) {
  before_();
  return target_->description(database);
}

DatabaseSources ForwardingStore::sources(const std::string& database) {
  before_();
  auto result = target_->sources(database);
  wrap(result.data_sources, before_);
  wrap(result.dimensions, before_);
  wrap(result.roles, before_);
  wrap(result.cubes, before_);
  return result;
}

std::vector<std::string> ForwardingStore::dimensions_in_use(const std::string& database,
                                                            OlapCubeKind kind) {
  before_();
  return target_->dimensions_in_use(database, kind);
}

void ForwardingStore::apply(std::vector<DatabaseChanges> changes) {
  before_();
  target_->apply(std::move(changes));
}

void ForwardingStore::look_at(OlapStore& changed, const std::vector<std::string>& databases) {
  before_();
  target_->look_at(changed, databases);
}

bool ForwardingStore::keeps_copies() const { return target_->keeps_copies(); }

std::vector<KeptCopy> ForwardingStore::kept_copies() {
  before_();
  return target_->kept_copies();
}

RestoredDatabase ForwardingStore::restore(const std::string& database) {
  before_();
  return target_->restore(database);
}

}  // namespace importkcd::testing
