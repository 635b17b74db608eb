#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mondrian/publication/mondrian_server.h"
#include "servers/catalogue/catalogue_store.h"
#include "servers/memory/memory_server.h"
#include "servers/working_copy_server.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// Where the servers of one test keep their databases; each server stands for one run.
class Place {
 public:
  virtual ~Place() = default;
  virtual std::unique_ptr<OlapServer> server() = 0;
};

class MemoryPlace : public Place {
 public:
  std::unique_ptr<OlapServer> server() override { return make_memory_server(storage_); }

 private:
  std::shared_ptr<MemoryStorage> storage_ = make_memory_store();
};

/// Rehearses over an empty store; its databases are held by nobody.
class RehearsalPlace : public Place {
 public:
  std::unique_ptr<OlapServer> server() override {
    return std::make_unique<WorkingCopyServer>(rehearsal_);
  }

 private:
  std::shared_ptr<RehearsalStore> rehearsal_ =
      make_memory_server()->rehearse(RehearsalBase::stored);
};

class CataloguePlace : public Place {
 public:
  std::unique_ptr<OlapServer> server() override {
    return std::make_unique<WorkingCopyServer>(
        make_catalogue_store(folder_.file("server.olap"), ServerAccess::read_write));
  }

 private:
  TemporaryFolder folder_;
};

class MondrianPlace : public Place {
 public:
  std::unique_ptr<OlapServer> server() override {
    return make_mondrian_server(folder_.file("olap"), ServerAccess::read_write);
  }

 private:
  TemporaryFolder folder_;
};

struct PlaceKind {
  std::string name;
  std::function<std::unique_ptr<Place>()> make;
};

/// What every server promises, whatever is underneath it.
class ServerContract : public ::testing::TestWithParam<PlaceKind> {
 protected:
  ServerContract() : place_(GetParam().make()) { next_run(); }

  /// Ends the current run without storing anything more and starts the next one.
  void next_run() {
    server_.reset();
    server_ = place_->server();
    server_->connect("anything");
  }

  void store() {
    server_->finish();
    next_run();
  }

  std::unique_ptr<OlapServer> another_run() {
    auto other = place_->server();
    other->connect("anything");
    return other;
  }

  OlapServer& server() { return *server_; }

  OlapDatabase& new_database(const std::string& name = "Retail") {
    auto& database = server().add_database(name);
    server().write_back_database(database);
    return database;
  }

  OlapDatabase& open(const std::string& name = "Retail") { return server().open_database(name); }

  std::vector<std::string> database_names() {
    std::vector<std::string> names;
    for (const auto& object : server().stored_objects()) {
      names.push_back(object.name);
    }
    return names;
  }

  OlapDimension& add_dimension(OlapDatabase& database, const std::string& name,
                               OlapDimensionKind kind = OlapDimensionKind::shared,
                               const std::string& owner = {}) {
    auto& dimension = database.dimensions().add_new(name);
    dimension.kind = kind;
    dimension.owner_cube = owner;
    dimension.levels.add_new("Level of " + name).member_key_column = "key";
    server().write_back_dimension(database, dimension);
    return dimension;
  }

  /// A stored database "Retail" with the dimension "Time", used by the cube "Sales".
  void store_small_database() {
    auto& database = new_database();
    add_dimension(database, "Time");
    auto& cube = database.add_cube("Sales", OlapCubeKind::regular);
    cube.fact_table = "sales";
    database.add_cube_dimension(cube, "Time");
    server().write_back_cube(database, cube);
    store();
  }

 private:
  std::unique_ptr<Place> place_;
  std::unique_ptr<OlapServer> server_;
};

/// Where databases are stored, and held while a run is at work.
inline std::vector<PlaceKind> kinds_of_storing_places() {
  return {PlaceKind{"memory", [] { return std::make_unique<MemoryPlace>(); }},
          PlaceKind{"catalogue", [] { return std::make_unique<CataloguePlace>(); }},
          PlaceKind{"mondrian", [] { return std::make_unique<MondrianPlace>(); }}};
}

inline auto storing_places() { return ::testing::ValuesIn(kinds_of_storing_places()); }

inline auto all_places() {
  auto kinds = kinds_of_storing_places();
  kinds.push_back({"rehearsal", [] { return std::make_unique<RehearsalPlace>(); }});
  return ::testing::ValuesIn(kinds);
}

inline std::string name_of_place(const ::testing::TestParamInfo<PlaceKind>& place) {
  return place.param.name;
}

}  // namespace importkcd::testing
