#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/olap_server.h"

namespace importkcd::testing {

/// Forwards every operation to another server. Before each one it calls `before` with the
/// operation's name and the object it is for ("write_back_cube Sales"); what that throws is the
/// operation's failure. Tests derive from it to replace single operations.
class ForwardingServer : public OlapServer {
 public:
  using Hook = std::function<void(const std::string& operation)>;

  /// `after` is called at the end of every operation that `before` let through, however it ends; it
  /// throws nothing.
  explicit ForwardingServer(std::unique_ptr<OlapServer> target, Hook before = {}, Hook after = {});

  void connect(const std::string& machine) override;
  OlapClassType class_type() const override;
  std::string version() const override;
  std::vector<StoredObject> stored_objects() override;
  void hold_database(const std::string& name) override;
  OlapDatabase& open_database(const std::string& name) override;
  OlapDatabase& add_database(const std::string& name) override;
  void remove_database(const std::string& name) override;
  void write_back_database(OlapDatabase& database) override;
  void write_back_data_source(OlapDatabase& database, OlapDataSource& data_source) override;
  void write_back_dimension(OlapDatabase& database, OlapDimension& dimension) override;
  void write_back_cube(OlapDatabase& database, OlapCube& cube) override;
  void write_back_partition(OlapDatabase& database, OlapCube& cube,
                            OlapPartition& partition) override;
  void remove_object(OlapDatabase& database, OlapObjectKind kind, const std::string& name) override;
  void lock_dimension(OlapDatabase& database, const OlapDimension& dimension) override;
  void lock_levels(OlapDatabase& database, const OlapDimension& dimension) override;
  void lock_cube(OlapDatabase& database, const OlapCube& cube) override;
  void remove_first(OlapDatabase& database, OlapCube& cube, OlapCubeContent content) override;
  bool structure_is_valid(OlapDatabase& database, const OlapCube& cube) override;
  std::vector<std::string> take_messages() override;
  bool keeps_failed_runs() const override;
  bool keep_former_databases() override;
  void finish() override;

 private:
  /// Tells of an operation's end.
  class Announced;

  Announced announce(const std::string& operation, const std::string& object = {}) const;

  std::unique_ptr<OlapServer> target_;
  Hook before_;
  Hook after_;
};

/// A hook that fails the Nth operation (counted from 1) with the description "operation N failed".
ForwardingServer::Hook fail_operation(int n);

/// Throws "refused by the test": for a lock check as a refusal, otherwise as an error.
[[noreturn]] void refuse(std::string_view operation);

/// A hook that fails every operation whose text is `operation`, by refuse().
ForwardingServer::Hook fail_operation(const std::string& operation);

/// A hook that adds every operation's text to `record`, which must outlive it.
ForwardingServer::Hook record_operations(std::vector<std::string>& record);

}  // namespace importkcd::testing
