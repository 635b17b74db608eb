#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "model/olap_server.h"
#include "servers/olap_store.h"
#include "servers/rehearsal_store.h"

namespace importkcd {

/// The OlapServer over any OlapStore: keeps the working copies of a run, collects what is written
/// back, and hands it to the store in finish(). It never refuses to lock a cube.
class WorkingCopyServer : public OlapServer {
 public:
  explicit WorkingCopyServer(std::shared_ptr<OlapStore> store);
  ~WorkingCopyServer() override;

  /// What is underneath; connect() opens it.
  OlapStore& store() { return *store_; }

  /// Makes this server, before it is connected, one that only rehearses: on its store, which is one
  /// that creates nothing, or on an empty one in its place. Gives what keeps the result.
  std::shared_ptr<RehearsalStore> rehearse(RehearsalBase base);

  void connect(const std::string& machine) override;
  OlapClassType class_type() const override { return OlapClassType::server; }
  std::string version() const override { return "8.0"; }
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
  bool keep_former_databases() override;
  void wait_for_held_databases(std::chrono::seconds longest,
                               const std::function<void(const std::string& name)>& tell) override;
  void finish() override;

 private:
  struct OpenDatabase;

  OpenDatabase& opened(OlapDatabase& database);
  OpenDatabase* find_opened(const std::string& name);
  bool is_stored(const std::string& name);
  bool uses_dimension(OpenDatabase& open, OlapCubeKind kind, const std::string& dimension);
  static void take_over_roles(OpenDatabase& open);
  static void drop_displaced_dimensions(OpenDatabase& open);

  std::shared_ptr<OlapStore> store_;
  bool keeps_former_ = false;
  std::chrono::seconds longest_wait_{0};
  std::function<void(const std::string& name)> tell_waiting_;
  /// The databases of this run in the order in which they were touched, removed ones included.
  std::vector<std::unique_ptr<OpenDatabase>> databases_;
};

}  // namespace importkcd
