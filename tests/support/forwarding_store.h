#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "servers/olap_store.h"

namespace importkcd::testing {

/// Forwards every operation to another store, the looks into a database's collections included.
/// Before each one it calls `before`; what that throws is the operation's failure.
class ForwardingStore : public OlapStore {
 public:
  using Hook = std::function<void()>;

  ForwardingStore(std::shared_ptr<OlapStore> target, Hook before);

  void open() override;
  std::vector<std::string> database_names() override;
  void hold(const std::string& database) override;
  void release_all() noexcept override;
  std::string description(const std::string& database) override;
  DatabaseSources sources(const std::string& database) override;
  std::vector<std::string> dimensions_in_use(const std::string& database,
                                             OlapCubeKind kind) override;
  void apply(std::vector<DatabaseChanges> changes) override;
  void look_at(OlapStore& changed, const std::vector<std::string>& databases) override;
  bool keeps_copies() const override;
  std::vector<KeptCopy> kept_copies() override;
  RestoredDatabase restore(const std::string& database) override;

 private:
  std::shared_ptr<OlapStore> target_;
  Hook before_;
};

}  // namespace importkcd::testing
