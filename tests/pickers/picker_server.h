#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "servers/memory/memory_server.h"
#include "tests/support/forwarding_server.h"

namespace importkcd::testing {

/// What a PickerServer has and does. Unlike the product's own servers it may have databases whose
/// names differ in letter case only.
struct PickerServerState {
  std::vector<StoredObject> objects;
  /// Database name -> cubes.
  std::map<std::string, std::vector<std::pair<std::string, OlapCubeKind>>> cubes;
  /// The operation that fails ("factory", "connect", "stored_objects" or "open_database"), with
  /// this description.
  std::string failing;
  std::string failure = "The line is down";

  /// What was asked of the servers, and how many of them are there now.
  std::vector<std::string> operations;
  int alive = 0;

  void note(const std::string& operation, const std::string& object) {
    operations.push_back(operation + " " + object);
    if (operation == failing) {
      throw ImportError(failure, error_source::olap_server);
    }
  }
};

/// A server of databases with cubes, for the pickers.
class PickerServer : public ForwardingServer {
 public:
  explicit PickerServer(PickerServerState& state)
      : ForwardingServer(make_memory_server()), state_(state) {
    ++state_.alive;
  }
  PickerServer(const PickerServer&) = delete;
  PickerServer& operator=(const PickerServer&) = delete;
  ~PickerServer() override { --state_.alive; }

  void connect(const std::string& machine) override { state_.note("connect", machine); }

  std::vector<StoredObject> stored_objects() override {
    state_.note("stored_objects", "");
    return state_.objects;
  }

  OlapDatabase& open_database(const std::string& name) override {
    state_.note("open_database", name);
    auto& database = databases_[name];
    if (!database) {
      database = std::make_unique<OlapDatabase>(name, "", DatabaseSources{});
      for (const auto& [cube, kind] : state_.cubes[name]) {
        database->add_cube(cube, kind);
      }
    }
    return *database;
  }

 private:
  PickerServerState& state_;
  std::map<std::string, std::unique_ptr<OlapDatabase>> databases_;
};

/// Makes PickerServers of a state that must outlive them.
inline OlapServerFactory picker_servers(PickerServerState& state) {
  return [&state](std::string_view machine) {
    state.note("factory", std::string(machine));
    return std::make_unique<PickerServer>(state);
  };
}

}  // namespace importkcd::testing
