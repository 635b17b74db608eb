#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <random>
#include <thread>

#include "tests/servers/catalogue/catalogue_test_support.h"
#include "tests/servers/catalogue/forked_process.h"
#include "tests/support/catalogue_check.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using importkcd::testing::apply;
using importkcd::testing::changes_of;
using importkcd::testing::check_of;
using importkcd::testing::error_of;
using importkcd::testing::ForkedProcess;
using importkcd::testing::opened_store;
using importkcd::testing::state_of;
using importkcd::testing::TemporaryFolder;
using importkcd::testing::wait_to_be_killed;
using importkcd::testing::whole_state;

constexpr auto in_use = "database 'Sales' is in use by another import (OLAP server)";

class CatalogueProcesses : public ::testing::Test {
 protected:
  std::string hold_error(const std::string& database) const {
    const auto store = opened_store(path);
    return error_of([&] { store->hold(database); });
  }

  std::string check() const { return check_of(path); }

  TemporaryFolder folder;
  std::string path = folder.file("server.olap");
};

TEST_F(CatalogueProcesses, OneRunAtATimeHoldsADatabase) {
  const auto first = opened_store(path);
  const auto second = opened_store(path);
  first->hold("Sales");
  EXPECT_EQ(error_of([&] { second->hold("Sales"); }), in_use);
  EXPECT_EQ(error_of([&] { second->hold("SALES"); }),
            "database 'SALES' is in use by another import (OLAP server)");
  first->release_all();
  second->hold("Sales");
  EXPECT_EQ(error_of([&] { first->hold("Sales"); }), in_use);
}

TEST_F(CatalogueProcesses, ARunMayHoldItsDatabaseTwiceAndSeveralOfThem) {
  const auto run = opened_store(path);
  run->hold("Sales");
  run->hold("sales");
  run->hold("Other");
  EXPECT_EQ(hold_error("Sales"), in_use);
  EXPECT_EQ(hold_error("Other"), "database 'Other' is in use by another import (OLAP server)");
  EXPECT_EQ(hold_error("Third"), "nothing");
}

TEST_F(CatalogueProcesses, AStoreLetsGoAtItsEnd) {
  opened_store(path)->hold("Sales");
  EXPECT_EQ(hold_error("Sales"), "nothing");
}

TEST_F(CatalogueProcesses, AFailedHoldDisturbsNoOtherHold) {
  const auto first = opened_store(path);
  first->hold("Sales");
  const auto second = opened_store(path);
  second->hold("Other");
  EXPECT_EQ(error_of([&] { second->hold("Sales"); }), in_use);
  EXPECT_EQ(hold_error("Other"), "database 'Other' is in use by another import (OLAP server)");
}

TEST_F(CatalogueProcesses, ALookHoldsNothing) {
  const auto run = opened_store(path);
  run->hold("Sales");
  const auto reader = opened_store(path, ServerAccess::read_only);
  EXPECT_EQ(error_of([&] { reader->hold("Sales"); }), "nothing");
  run->release_all();
  reader->hold("Sales");
  EXPECT_EQ(hold_error("Sales"), "nothing");
}

TEST_F(CatalogueProcesses, ALockFileThatCannotBeOpenedIsAnError) {
  std::filesystem::create_directory(path + "-lock");
  EXPECT_EQ(hold_error("Sales"), "cannot open '" + path + "-lock': Is a directory (OLAP server)");
}

TEST_F(CatalogueProcesses, AKilledRunHoldsNothing) {
  ForkedProcess run([this](const auto& say_ready) {
    const auto store = opened_store(path);
    store->hold("Sales");
    say_ready();
    wait_to_be_killed();
  });
  ASSERT_TRUE(run.is_ready());
  EXPECT_EQ(hold_error("Sales"), in_use);
  EXPECT_EQ(hold_error("Other"), "nothing");
  run.kill();
  EXPECT_EQ(hold_error("Sales"), "nothing");
}

TEST_F(CatalogueProcesses, AKilledApplyLeavesTheStateBeforeOrAfterIt) {
  constexpr int cubes = 200;
  apply(*opened_store(path), whole_state("Sales", "0", cubes));
  std::mt19937 random(20);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the moments are to repeat
  std::uniform_int_distribution<int> moment(0, 40'000);
  for (int round = 0; round < 30; ++round) {
    const auto before = std::stoi(state_of(*opened_store(path), "Sales", cubes));
    ForkedProcess run([&](const auto& say_ready) {
      const auto store = opened_store(path);
      store->hold("Sales");
      auto changes = whole_state("Sales", std::to_string(before + 1), cubes);
      changes.removes_stored = round % 2 == 0;
      say_ready();
      apply(*store, std::move(changes));
      wait_to_be_killed();
    });
    ASSERT_TRUE(run.is_ready());
    std::this_thread::sleep_for(std::chrono::microseconds(moment(random)));
    run.kill();

    const auto looked = state_of(*opened_store(path, ServerAccess::read_only), "Sales", cubes);
    EXPECT_THAT(looked, ::testing::AnyOf(std::to_string(before), std::to_string(before + 1)));
    EXPECT_EQ(state_of(*opened_store(path), "Sales", cubes), looked);
    EXPECT_EQ(check(), "ok");
    EXPECT_EQ(hold_error("Sales"), "nothing");
  }
}

TEST_F(CatalogueProcesses, AKilledFirstOpeningLeavesAUsableFile) {
  for (int round = 0; round < 20; ++round) {
    path = folder.file("server" + std::to_string(round) + ".olap");
    ForkedProcess run([&](const auto& say_ready) {
      say_ready();
      const auto store = opened_store(path);
      wait_to_be_killed();
    });
    ASSERT_TRUE(run.is_ready());
    std::this_thread::sleep_for(std::chrono::microseconds(250 * round));
    run.kill();
    EXPECT_THAT(opened_store(path, ServerAccess::read_only_or_empty)->database_names(),
                ::testing::IsEmpty());
    apply(*opened_store(path), changes_of("Sales"));
    EXPECT_EQ(check(), "ok");
  }
}

TEST_F(CatalogueProcesses, ReadersSeeWholeStatesWhileARunStores) {
  constexpr int cubes = 20;
  apply(*opened_store(path), whole_state("Sales", "0", cubes));
  ForkedProcess run([&](const auto& say_ready) {
    for (int i = 1;; ++i) {
      auto changes = whole_state("Sales", std::to_string(i), cubes);
      changes.removes_stored = i % 2 == 0;
      apply(*opened_store(path), std::move(changes));
      if (i == 1) {
        say_ready();
      }
    }
  });
  ASSERT_TRUE(run.is_ready());
  int seen = 0;
  int states = 0;
  for (int attempts = 0; states < 20; ++attempts) {
    ASSERT_LT(attempts, 100'000) << "nothing is stored any more";
    const auto state = state_of(*opened_store(path, ServerAccess::read_only), "Sales", cubes);
    ASSERT_NE(state, "mixed");
    ASSERT_GE(std::stoi(state), seen);
    states += std::stoi(state) > seen ? 1 : 0;
    seen = std::stoi(state);
  }
}

TEST_F(CatalogueProcesses, ReadersOfACatalogueThatIsBeingMadeSeeNothingOrAWholeState) {
  constexpr int cubes = 5;
  for (int round = 0; round < 15; ++round) {
    path = folder.file("server" + std::to_string(round) + ".olap");
    ForkedProcess run([&](const auto& say_ready) {
      say_ready();
      apply(*opened_store(path), whole_state("Sales", "1", cubes));
    });
    ASSERT_TRUE(run.is_ready());
    bool seen = false;
    for (int attempts = 0; !seen; ++attempts) {
      ASSERT_LT(attempts, 100'000) << "nothing is ever stored";
      const auto store = opened_store(path, ServerAccess::read_only_or_empty);
      seen = !store->database_names().empty();
      if (seen) {
        ASSERT_EQ(state_of(*store, "Sales", cubes), "1");
      }
    }
    EXPECT_EQ(run.outcome(), "succeeded");
  }
}

TEST_F(CatalogueProcesses, RunsIntoDifferentDatabasesOfANewCatalogueAllSucceed) {
  constexpr int runs = 4;
  std::vector<std::unique_ptr<ForkedProcess>> processes;
  for (int i = 0; i < runs; ++i) {
    const auto name = "Sales " + std::to_string(i);
    processes.push_back(std::make_unique<ForkedProcess>([this, name](const auto&) {
      for (int state = 0; state < 5; ++state) {
        const auto store = opened_store(path);
        store->hold(name);
        apply(*store, whole_state(name, std::to_string(state), 20));
      }
    }));
  }
  for (const auto& process : processes) {
    EXPECT_EQ(process->outcome(), "succeeded");
  }
  for (int i = 0; i < runs; ++i) {
    EXPECT_EQ(state_of(*opened_store(path), "Sales " + std::to_string(i), 20), "4");
  }
  EXPECT_EQ(check(), "ok");
}

/// No file of this process may grow beyond that size from now on.
void limit_file_size(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(CatalogueProcesses, AFullDiskLeavesTheStateBefore) {
  apply(*opened_store(path), whole_state("Sales", "0", 20));
  ForkedProcess run([this](const auto& say_ready) {
    const auto store = opened_store(path);
    limit_file_size(200'000);
    const auto error = error_of([&] { apply(*store, whole_state("Sales", "1", 2000)); });
    if (error == "catalogue '" + path + "': disk I/O error (OLAP server)" &&
        state_of(*store, "Sales", 20) == "0") {
      say_ready();
    }
  });
  EXPECT_TRUE(run.is_ready());
  EXPECT_EQ(run.outcome(), "succeeded");
  EXPECT_EQ(state_of(*opened_store(path), "Sales", 20), "0");
  EXPECT_EQ(check(), "ok");
}

}  // namespace
}  // namespace importkcd
