#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include "tests/mondrian/publication/publication_fixture.h"
#include "tests/servers/catalogue/forked_process.h"
#include "tests/support/faulty_vfs.h"

namespace {

/// How many renames still succeed; negative for all.
std::atomic<int> renames_left = -1;
/// Whether the process ends at the next one, which otherwise is refused.
std::atomic<bool> die_there = false;

}  // namespace

/// Takes the place of the C library's.
extern "C" int rename(const char* from, const char* to) noexcept {
  if (renames_left == 0) {
    if (die_there) {
      kill(getpid(), SIGKILL);
    }
    errno = EROFS;
    return -1;
  }
  if (renames_left > 0) {
    --renames_left;
  }
  return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0U));
}

namespace importkcd::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// "Retail" is served with the cube "Old"; runs build it anew, with "New" elsewhere.
class KilledPublications : public PublicationTest {
 protected:
  KilledPublications() { publish("Retail", "jdbc:postgresql:dw", "Old"); }

  void build_anew(const std::string& address = "jdbc:postgresql:elsewhere",
                  const std::string& cube = "New") const {
    const auto server = open();
    server->remove_database("Retail");
    write_back(*server, "Retail", address, cube);
    server->finish();
  }

  std::vector<std::string> stored_cubes() const {
    const auto server = open(ServerAccess::read_only);
    return server->open_database("Retail").cubes().names();
  }

  void expect_new() const {
    EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"New\">"));
    EXPECT_THAT(read_file(path("datasources.xml")), HasSubstr("jdbc:postgresql:elsewhere"));
    EXPECT_THAT(served_files(), ElementsAre("datasources.xml", "schemas/Retail.xml"));
  }
};

TEST_F(KilledPublications, ADeathAmongTheRenamesIsMendedByTheNextOpening) {
  for (const int renames : {0, 1}) {
    publish("Other " + std::to_string(renames));
    remove("Other " + std::to_string(renames));
    build_anew("jdbc:postgresql:dw", "Old");
    ForkedProcess run([&](const auto& /*ready*/) {
      die_there = true;
      renames_left = renames;
      build_anew();
    });
    EXPECT_EQ(run.outcome(), "ended by signal 9");
    // Every file is whole, the older one or the newer one.
    EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("</Schema>"));
    EXPECT_THAT(read_file(path("datasources.xml")), HasSubstr("</DataSources>"));
    open();
    expect_new();
  }
}

TEST_F(KilledPublications, ARefusedRenameFailsTheRunAndIsMendedByTheNextOpening) {
  renames_left = 0;
  const auto error = error_of([&] { build_anew(); });
  renames_left = -1;
  EXPECT_THAT(error, StartsWith("cannot write '"));
  EXPECT_THAT(error, HasSubstr("/schemas/Retail.xml': Read-only file system"));
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"Old\">"));
  open();
  expect_new();
}

TEST_F(KilledPublications, AnotherRunMendsItToo) {
  renames_left = 1;
  EXPECT_NE(error_of([&] { build_anew(); }), "none");
  renames_left = -1;
  publish("Stock");
  EXPECT_THAT(read_file(path("schemas/Retail.xml")), HasSubstr("<Cube name=\"New\">"));
  EXPECT_THAT(read_file(path("datasources.xml")),
              Not(HasSubstr("'jdbc:postgresql:dw';JdbcDrivers=org.postgresql.Driver;JdbcUser")));
  EXPECT_THAT(served_files(),
              ElementsAre("datasources.xml", "schemas/Retail.xml", "schemas/Stock.xml"));
}

TEST_F(KilledPublications, AFailureToStoreLeavesWhatIsServed) {
  FaultyVfs files;
  const auto before = served();
  for (int number = 1;; ++number) {
    const auto server = open();
    server->remove_database("Retail");
    write_back(*server, "Retail", "jdbc:postgresql:elsewhere", "New");
    files.fail_operation(number, FileFault::full);
    const auto error = error_of([&] { server->finish(); });
    const bool failed = files.failed() > 0;
    files.heal();
    if (error == "none") {
      EXPECT_GT(number, 1);
      EXPECT_THAT(stored_cubes(), ElementsAre("New"));
      break;
    }
    ASSERT_TRUE(failed) << error;
    EXPECT_EQ(served(), before) << number;
    EXPECT_THAT(stored_cubes(), ElementsAre("Old")) << number;
  }
  expect_new();
}

TEST_F(KilledPublications, ADeathWhileStoringLeavesServedWhatIsStored) {
  FaultyVfs files;
  for (int number = 1;; ++number) {
    ForkedProcess run([&](const auto& /*ready*/) {
      const auto server = open();
      server->remove_database("Retail");
      write_back(*server, "Retail", "jdbc:postgresql:elsewhere", "New");
      files.fail_operation(number, FileFault::kill);
      server->finish();
    });
    const auto outcome = run.outcome();
    open();
    const auto stored = stored_cubes();
    ASSERT_THAT(stored, ::testing::SizeIs(1));
    EXPECT_THAT(read_file(path("schemas/Retail.xml")),
                HasSubstr("<Cube name=\"" + stored.front() + "\">"));
    EXPECT_THAT(served_files(), ElementsAre("datasources.xml", "schemas/Retail.xml"));
    if (outcome == "succeeded") {
      EXPECT_GT(number, 1);
      EXPECT_THAT(stored, ElementsAre("New"));
      break;
    }
    ASSERT_EQ(outcome, "ended by signal 9");
  }
}

TEST_F(KilledPublications, ManyRunsAtOnceAllArePublished) {
  constexpr int runs = 6;
  std::vector<std::unique_ptr<ForkedProcess>> processes;
  processes.reserve(runs);
  for (int i = 0; i < runs; ++i) {
    processes.push_back(std::make_unique<ForkedProcess>(
        [&, i](const auto& /*ready*/) { publish("Database " + std::to_string(i)); }));
  }
  for (const auto& process : processes) {
    EXPECT_EQ(process->outcome(), "succeeded");
  }
  EXPECT_THAT(catalogues(), ::testing::SizeIs(runs + 1));
  EXPECT_THAT(served_files(), ::testing::SizeIs(runs + 2));
}

}  // namespace
}  // namespace importkcd::testing
