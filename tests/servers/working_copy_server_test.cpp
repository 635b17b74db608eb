#include "servers/working_copy_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <tuple>
#include <utility>

#include "servers/catalogue/catalogue_store.h"
#include "tests/support/forwarding_store.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {
namespace {

/// A server over a catalogue in which the cube "Sales" uses the dimension "Time", and the virtual
/// cube "All" uses "Place". Operations of its store fail while `fails` is set.
class WorkingCopy : public ::testing::Test {
 protected:
  WorkingCopy() {
    next_run();
    auto& database = server_->add_database("Shop");
    server_->write_back_database(database);
    for (const auto& [cube, kind, name] : {std::tuple{"Sales", OlapCubeKind::regular, "Time"},
                                           std::tuple{"All", OlapCubeKind::is_virtual, "Place"}}) {
      OlapDimension dimension;
      dimension.name = name;
      server_->write_back_dimension(database, database.dimensions().add(std::move(dimension)));
      auto& added = database.add_cube(cube, kind);
      database.add_cube_dimension(added, name);
      server_->write_back_cube(database, added);
    }
    server_->finish();
    next_run();
  }

  void next_run() {
    server_ = std::make_unique<WorkingCopyServer>(std::make_shared<ForwardingStore>(
        make_catalogue_store(folder_.file("server.olap"), ServerAccess::read_write), [this] {
          if (fails) {
            throw ImportError("disk on fire", error_source::olap_server);
          }
        }));
    server_->connect("anything");
  }

  OlapDatabase& open() { return server_->open_database("Shop"); }
  WorkingCopyServer& server() { return *server_; }

  bool fails = false;

 private:
  TemporaryFolder folder_;
  std::unique_ptr<WorkingCopyServer> server_;
};

TEST_F(WorkingCopy, AFailedReadOfTheDimensionsInUseLetsNoLaterLockCheckPass) {
  auto& database = open();
  const auto& time = *database.dimensions().find("Time");
  fails = true;
  EXPECT_THAT([&] { server().lock_dimension(database, time); },
              ::testing::ThrowsMessage<ImportError>(::testing::StrEq("disk on fire")));
  fails = false;
  EXPECT_THAT([&] { server().lock_dimension(database, time); },
              ::testing::ThrowsMessage<LockRefused>(
                  ::testing::StrEq("dimension 'Time' is used in a cube")));
}

TEST_F(WorkingCopy, AFailedReadForTheGuardOfTheLevelsIsRepeatedToo) {
  auto& database = open();
  const auto& place = *database.dimensions().find("Place");
  server().lock_dimension(database, place);
  fails = true;
  EXPECT_THAT([&] { server().lock_levels(database, place); },
              ::testing::ThrowsMessage<ImportError>(::testing::StrEq("disk on fire")));
  fails = false;
  EXPECT_THAT([&] { server().lock_levels(database, place); },
              ::testing::ThrowsMessage<LockRefused>(
                  ::testing::StrEq("dimension 'Place' is used in a virtual cube")));
}

TEST_F(WorkingCopy, OnlyUseIsARefusal) {
  auto& database = open();
  const auto& time = *database.dimensions().find("Time");
  fails = true;
  try {
    server().lock_dimension(database, time);
    ADD_FAILURE() << "the lock check passed";
  } catch (const LockRefused&) {
    ADD_FAILURE() << "taken for a refusal";
  } catch (const ImportError& error) {
    EXPECT_EQ(error.description(), "disk on fire");
  }
}

}  // namespace
}  // namespace importkcd::testing
