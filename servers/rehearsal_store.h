#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/olap_server.h"
#include "servers/database_definition.h"
#include "servers/olap_store.h"

namespace importkcd {

/// What a rehearsal begins with.
enum class RehearsalBase {
  /// What the store holds.
  stored,
  /// Nothing, whatever the store holds.
  empty,
};

/// Reads another store and stores nothing: what a run changes is kept here, and read from here from
/// then on. Holds no database, so that neither a rehearsal nor a run waits for the other.
class RehearsalStore : public OlapStore {
 public:
  /// `target` is not open yet and may be one that creates and changes nothing.
  RehearsalStore(std::shared_ptr<OlapStore> target, RehearsalBase base);

  /// The name that the run held first: that of its database; empty when it held none.
  const std::string& held_name() const { return held_name_; }

  /// The database as the target has it, and as it would be after the run; nothing when it is not
  /// there. Throw ImportError when it cannot be read.
  std::optional<DatabaseDefinition> before(const std::string& database);
  std::optional<DatabaseDefinition> after(const std::string& database);

  void open() override { target_->open(); }
  std::vector<std::string> database_names() override;
  void hold(const std::string& database) override;
  void release_all() noexcept override {}
  std::string description(const std::string& database) override;
  DatabaseSources sources(const std::string& database) override;
  std::vector<std::string> dimensions_in_use(const std::string& database,
                                             OlapCubeKind kind) override;
  void apply(std::vector<DatabaseChanges> changes) override;
  bool keeps_copies() const override { return target_->keeps_copies(); }
  std::vector<KeptCopy> kept_copies() override { return target_->kept_copies(); }
  /// Fails: there is nothing to rehearse about it.
  RestoredDatabase restore(const std::string& database) override;

 private:
  /// The databases that were changed, as they were and as they are; those that were not there, or
  /// are not any more, are missing in the one or the other.
  struct State {
    NamedCollection<DatabaseDefinition> before;
    NamedCollection<DatabaseDefinition> after;
    /// The names of both.
    NamedCollection<OlapProperty> touched;
  };

  void take_over(DatabaseChanges change);
  std::vector<std::string> base_names();
  const DatabaseDefinition* changed(const std::string& database) const;

  std::shared_ptr<OlapStore> target_;
  RehearsalBase base_;
  std::string held_name_;
  State state_;
};

/// A server that rehearses what another one would do, and the store that it works on.
struct Rehearsal {
  std::unique_ptr<OlapServer> server;
  std::shared_ptr<RehearsalStore> store;
};

/// Makes the rehearsal, not connected yet, on the server that a machine text means.
using RehearsalFactory = std::function<Rehearsal(std::string_view machine, RehearsalBase base)>;

}  // namespace importkcd
